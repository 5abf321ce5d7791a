// platform/log.h: what happened, for whoever looks for a cause: programs, transfers, what no dialog says. Any
// thread.
//
// One line an entry: time (UTC), level, process, text; "\xNN" stands for what would break a line or reach a
// terminal. Several processes may write to one file. A failure to write is not told: nothing depends on it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/annotations.h"

namespace morvane {

class Log {
  public:
    enum class Level { detail, info, warning };

    static constexpr std::uint64_t largestFile = std::uint64_t{1} << 20;  ///< bytes; then a new one begins
    static constexpr int keptFiles = 3;               ///< older ones: "<file>.1" to "<file>.3"
    static constexpr std::size_t longestText = 4096;  ///< bytes of an entry; the rest is cut off

    /// Neither the file nor its folder need exist; they are made, for this user only, with the first entry.
    explicit Log(std::string path);

    void write(Level level, std::string_view text);
    /// Each entry goes to the function as well, as it stands in the file; it is called by one thread at a
    /// time and must not log.
    void mirrorTo(std::function<void(const std::string& line)> mirror);

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    void append(const std::string& line) MV_REQUIRES(mutex_);

    const std::string path_;
    Mutex mutex_;
    std::function<void(const std::string&)> mirror_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
