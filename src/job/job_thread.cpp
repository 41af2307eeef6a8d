#include "job/job_thread.h"

#include <thread>
#include <utility>

#include "job/job_progress.h"

namespace {

std::thread jobThread;

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
    jobThread = std::thread(std::move(body));
}

void JoinJobThread() noexcept {
    if (jobThread.joinable()) {
        jobThread.join();
    }
}
