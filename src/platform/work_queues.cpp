#include "platform/work_queues.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

namespace morvane {

namespace {

void describeThread(const std::string& label, Priority priority) {
    const std::size_t longest = 15;  // the kernel's limit
    const std::string name = label.size() > longest ? label.substr(label.size() - longest) : label;
    pthread_setname_np(pthread_self(), name.c_str());
    const int niceness = priority == Priority::low ? 5 : priority == Priority::background ? 10 : 0;
    // On Linux niceness belongs to the thread. A refusal leaves the work at the ordinary priority.
    if (niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), niceness);
}

}  // namespace

WorkQueues::~WorkQueues() {
    joinAll();
}

void WorkQueues::setExceptionHandler(std::function<void(std::exception_ptr)> handler) {
    exceptionHandler_ = std::move(handler);
}

void WorkQueues::run(const std::function<void()>& work) const {
    if (!exceptionHandler_) return work();
    try {
        work();
    } catch (...) {
        exceptionHandler_(std::current_exception());
    }
}

void WorkQueues::start(const std::string& label, Priority priority, std::function<void()> work) {
    MutexLock lock(mutex_);
    reapFinished();
    Worker& worker = workers_.emplace_back();
    worker.thread = std::thread([this, &worker, label, priority, work = std::move(work)]() mutable {
        describeThread(label, priority);
        run(work);
        work = nullptr;  // what the work holds is gone before anybody sees it finished
        MutexLock finished(mutex_);
        worker.finished = true;
    });
}

void WorkQueues::reapFinished() {
    std::erase_if(workers_, [](Worker& worker) {
        if (!worker.finished) return false;
        worker.thread.join();
        return true;
    });
}

void WorkQueues::joinAll() {
    for (;;) {
        std::list<Worker> waitedFor;
        {
            MutexLock lock(mutex_);
            if (workers_.empty()) return;
            // Spliced, not copied: the thread writes to its own node.
            waitedFor.splice(waitedFor.end(), workers_, workers_.begin());
        }
        waitedFor.front().thread.join();
    }
}

bool WorkQueues::busy() {
    MutexLock lock(mutex_);
    for (const Worker& worker : workers_) {
        if (!worker.finished) return true;
    }
    return false;
}

}  // namespace morvane
