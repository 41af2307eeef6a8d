#pragma once

#include <functional>

// The one slot for the job thread. There is never more than one such thread; it is joined, never
// detached. Window thread only.

// Whether the slot holds a thread, ended or not, that nobody has collected yet.
[[nodiscard]] bool JobThreadExists();

// Whether a job may be started: no thread is left in the slot and none is marked as running.
[[nodiscard]] bool CanStartJob();

// Whether a thread waits in the slot for its collection: its job has ended.
[[nodiscard]] bool JobAwaitsCollection();

// Starts the thread. Only after CanStartJob(): the slot must be empty. The system does not go to
// sleep by itself until the body has ended, however it ends; the display may turn off. When the
// system cannot create a thread, the program ends: noexcept, for no exception may travel through a
// window procedure.
void StartJobThread(std::function<void()> body) noexcept;

// Waits for the thread and empties the slot; nothing happens when it is empty. Blocks until the
// job has ended.
void JoinJobThread() noexcept;
