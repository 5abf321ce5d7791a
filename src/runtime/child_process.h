// runtime/child_process.h: the launcher's children. One thread.
//
// Unlike the application's runner, a child here never holds our standard output (Wine's services inherit it
// and would keep the caller waiting), lives in a session of its own (a Ctrl-C in the terminal must not kill a
// game before it was asked to end), and is waited for together with the signals that ask us to stop.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace morvane::runtime {

enum class ChildOutput {
    log,
    /// On to our own standard output while the child is waited for. Through a pipe: a service that outlives
    /// the child and has its output holds the pipe, not ours.
    passedOn,
};

struct ChildRequest {
    std::string program;
    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment;
    std::string runFolder;  ///< empty: inherited
    std::string log;        ///< output and errors are added to this file; empty: nowhere
    ChildOutput output = ChildOutput::log;
    bool endsGroup = false;  ///< `kill` ends what the program has started in its process group as well
};

enum class Ending { exited, askedToStop, timeOut };

/// SIGTERM, SIGINT and SIGHUP as something to wait for: blocked while it lives.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// The number of the signal that came, taken from the queue; 0 when none did.
    int take();

  private:
    int descriptor_ = -1;
};

class Child {
  public:
    /// Nothing when the program could not be started.
    [[nodiscard]] static std::optional<Child> start(const ChildRequest& request);
    Child(Child&& other) noexcept;
    Child& operator=(Child&&) = delete;
    ~Child();

    /// Waits for the end of the program, or (with `signals`) for a signal, whichever comes first.
    Ending wait(const StopSignals* signals, std::optional<std::chrono::milliseconds> limit);
    /// 0 to 255, as a shell counts; only after `exited`.
    [[nodiscard]] int status() const { return status_; }
    void kill();

  private:
    Child(pid_t number, int descriptor, int output, bool endsGroup)
        : number_(number), descriptor_(descriptor), output_(output), endsGroup_(endsGroup) {}
    void passOutputOn();

    pid_t number_;
    int descriptor_;
    int output_;  ///< of the pipe; -1 without
    bool endsGroup_;
    int status_ = 0;
};

}  // namespace morvane::runtime
