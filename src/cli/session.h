// cli/session.h: one run of the command: the machine, the terminal, the embedded site, Ctrl-C.
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "cli/answers.h"
#include "cli/console.h"
#include "cli/terminal_interface.h"
#include "foundation/progress_view.h"
#include "front/embedded_sites.h"
#include "platform/host.h"
#include "platform/result.h"

namespace morvane {
class WrapperCreation;
}  // namespace morvane

namespace morvane::cli {

enum ExitCode : int { done = 0, failed = 1, usage = 2, unanswered = 4, cancelled = 130 };

class Session {
  public:
    /// Blocks SIGINT, SIGTERM and SIGHUP for the process: from here on they are requests. To be made before
    /// any thread.
    Session(Output output, Answers answers);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] Console& console() { return console_; }
    [[nodiscard]] const std::shared_ptr<NSProgressView>& progress() const { return progress_; }

    /// From here on, what goes to the log is said as well.
    void showLog();
    /// Starts the embedded download site and the embedded catalogue, each unless another one is configured.
    /// Before `onWorker`.
    void provideSite();
    /// Runs the work on a worker and the main queue here until everything that it started has ended. The
    /// work's result is the exit code, unless a question stayed unanswered or the user cancelled.
    int onWorker(const std::function<int()>& work);
    /// The same with a creation, whose cancellation the user may ask for.
    int withCreation(const std::function<int(const std::shared_ptr<WrapperCreation>&)>& work);
    /// Runs the work here, then the main queue, until everything that was started has ended. The work's
    /// result is the exit code, as above; also a failure when an error was shown.
    int untilIdle(const std::function<int()>& work);
    /// For a command that serves: the work begins it and returns `done`, then Ctrl-C or a termination signal
    /// is what ends it, and is no failure. Main thread.
    int untilAskedToEnd(const std::function<int()>& begin);
    /// The exit code of the command whose work had this one: a failure when its output got lost.
    int ending(int result);
    /// The exit code of work that gave nothing: a failure where one was told; else the user has declined.
    int endedWithoutResult();
    /// Says what went wrong; the exit code of a failure.
    int fail(const std::string& message);
    int fail(const Failure& failure) { return fail(failure.message()); }

  private:
    void watchSignals();
    void handleSignal(int signal);
    void cancelAfterAsking();
    /// Serves the main queue until the predicate holds. Something was thrown that no caller waits for: who
    /// still waits for this thread gets no answer any more, and false.
    bool serveUntil(const std::function<bool()>& ended);
    void runUntilNoWorkIsLeft();
    /// Keeps the first exception.
    void keep(const std::exception_ptr& exception);
    [[nodiscard]] std::exception_ptr kept();
    /// The exit code of work that has ended.
    int outcome(int result);

    Console console_;
    Answers answers_;
    TerminalInterface interface_;
    std::unique_ptr<Host> host_;
    std::shared_ptr<NSProgressView> progress_;
    std::unique_ptr<EmbeddedSites> sites_;
    std::atomic<bool> cancelled_ = false;
    std::atomic<bool> failureTold_ = false;
    std::mutex mutex_;
    std::exception_ptr exception_;        // the first that was thrown, wherever
    std::atomic<bool> stranded_ = false;  // the main thread has thrown something that nobody waits for
    std::unique_ptr<Cancellation::Interrupter> cancelling_;
    std::atomic<bool> ending_ = false;
    std::atomic<bool> serving_ = false;
    std::atomic<bool> askedToEnd_ = false;
    std::thread signalWatcher_;
};

}  // namespace morvane::cli
