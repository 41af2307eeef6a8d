#include "job/job_thread.h"

#include <thread>
#include <utility>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

namespace {

std::thread jobThread;

// Keeps the system awake while the object exists; the display may turn off. Must be destroyed on
// the thread that created it. A download can outlast the system's idle timeout.
class SystemAwake {
public:
    SystemAwake() {
        ::SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    }
    ~SystemAwake() {
        ::SetThreadExecutionState(ES_CONTINUOUS);
    }
    SystemAwake(const SystemAwake&) = delete;
    SystemAwake& operator=(const SystemAwake&) = delete;
};

}  // namespace

bool JobThreadExists() {
    return jobThread.joinable();
}

bool CanStartJob() {
    return !JobThreadExists() && !jobProgress.running;
}

bool JobAwaitsCollection() {
    return JobThreadExists() && !jobProgress.running;
}

void StartJobThread(std::function<void()> body) noexcept {
    jobThread = std::thread([body = std::move(body)] {
        const SystemAwake awake;
        body();
    });
}

void JoinJobThread() noexcept {
    if (jobThread.joinable()) {
        jobThread.join();
    }
}
