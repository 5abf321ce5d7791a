// foundation/build_log.h: what one build of a wrapper did, in a file of its own, and why it failed. Any thread.
//
// The file lies beside the application's log: `build-<time>-<process>.log`, the last twenty are kept. Its entries
// are of the form of platform/log.h. Failures to write are not told.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/annotations.h"
#include "platform/log.h"
#include "platform/process.h"
#include "platform/result.h"

namespace morvane {

class BuildLog {
  public:
    static constexpr int keptFiles = 20;
    /// Bytes of the end of a program's standard error that are kept.
    static constexpr std::size_t keptErrors = 2048;

    /// Begins the log of the creation that the calling thread runs; older logs than the last ones go. From here on
    /// it is `current()` on that thread, and `last()` also when the creation is over.
    static std::shared_ptr<BuildLog> begin(const std::string& wrapper);
    /// Of the creation that runs on the calling thread; null elsewhere.
    [[nodiscard]] static std::shared_ptr<BuildLog> current();
    /// Of the last creation of this process; null before the first.
    [[nodiscard]] static std::shared_ptr<BuildLog> last();
    /// The newest file, of whatever process; nothing when none is there.
    [[nodiscard]] static std::optional<std::string> newestFile();

    BuildLog(const std::string& wrapper, const std::string& path);

    /// The stage before it has ended, with its time.
    void stage(const std::string& name);
    void program(const ProcessRequest& request, const Result<ProcessResult>& result,
                 std::chrono::milliseconds time);
    /// `failure` is empty for a success.
    void download(const std::string& url, std::uint64_t bytes, const std::string& failure);
    void errorShown(const std::string& text);
    /// The last entry.
    enum class Ending { built, failed, cancelled };
    void ended(Ending ending);

    [[nodiscard]] std::string path() const { return log_.path(); }
    /// What failed, why, what to do, and where the log is, in one line. Nothing unless it has ended as failed.
    [[nodiscard]] std::optional<std::string> failure() const;

  private:
    using Clock = std::chrono::steady_clock;
    void endStage() MV_REQUIRES(mutex_);

    const std::string wrapper_;
    Log log_;
    const Clock::time_point begin_ = Clock::now();
    mutable Mutex mutex_;
    std::string stage_ MV_GUARDED_BY(mutex_);
    Clock::time_point stageBegin_ MV_GUARDED_BY(mutex_);
    /// Of the running stage, the last of each kind: what was told explains best, what a program said comes next.
    std::string told_ MV_GUARDED_BY(mutex_), programFailure_ MV_GUARDED_BY(mutex_),
        downloadFailure_ MV_GUARDED_BY(mutex_);
    bool hasFailed_ MV_GUARDED_BY(mutex_) = false;
};

}  // namespace morvane
