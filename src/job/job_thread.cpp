#include "job/job_thread.h"

#include <thread>
#include <utility>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

namespace {

std::thread jobThread;

// Keeps the system from going to sleep as long as the object lives, for this thread's sake; the
// display may turn off. A download takes longer than many computers wait for their user.
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
