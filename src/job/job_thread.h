#pragma once

#include <functional>

// The one slot for the job thread. There is never more than one such thread; it is joined, never
// detached. Window thread only.

// Whether the slot holds a thread that has not been joined yet, ended or not.
[[nodiscard]] bool JobThreadExists();

// Whether a job may be started: the slot is empty and the record is not marked as running.
[[nodiscard]] bool CanStartJob();

// Whether the slot holds the thread of a job that has ended and can be joined.
[[nodiscard]] bool JobAwaitsCollection();

// Starts the thread; the slot must be empty. Until `body` has ended, the system does not go to
// sleep by itself; the display may turn off. If the thread cannot be created, the program ends:
// noexcept, because no exception may leave a window procedure.
void StartJobThread(std::function<void()> body) noexcept;

// Joins the thread and empties the slot; does nothing when it is empty. Blocks until the job has
// ended.
void JoinJobThread() noexcept;
