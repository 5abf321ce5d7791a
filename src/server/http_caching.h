// server/http_caching.h: what a client may keep of an answer, and whether what it has kept is still right. Any
// thread. Not for other folders.
#pragma once

#include <cstddef>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/annotations.h"

struct stat;

namespace morvane {

struct HttpQuery;

/// What tells one state of an answer from another.
struct Validators {
    std::string tag = {};                     ///< quoted, strong; empty: none
    std::optional<std::time_t> changed = {};  ///< not after this second; nothing while that may be now
};

/// By the bytes: the same in every process.
[[nodiscard]] std::string entityTagOf(std::string_view bytes);
/// By the file's identity, size and time of change; its contents are not read.
[[nodiscard]] Validators validatorsOf(const struct stat& file, std::time_t now);

/// "Sun, 06 Nov 1994 08:49:37 GMT".
[[nodiscard]] std::string httpDate(std::time_t time);
/// Nothing for any other text.
[[nodiscard]] std::optional<std::time_t> timeOfHttpDate(const std::string& text);

/// Whether the client of a GET or a HEAD has this state already, so that 304 is the answer. Tags come before
/// dates.
[[nodiscard]] bool isKept(const HttpQuery& query, const Validators& validators);
/// Whether the range that is asked for is one of this state: no "If-Range", or the tag in it.
[[nodiscard]] bool mayBePart(const HttpQuery& query, const Validators& validators);

/// When each text that is made for every request became what it is: at the latest when it was first made so.
/// A bounded number of addresses; what is forgotten counts as changed anew.
class ChangeTimes {
  public:
    explicit ChangeTimes(std::size_t most) : most_(most) {}
    /// Nothing while a second text of the same date would be possible.
    [[nodiscard]] std::optional<std::time_t> of(const std::string& address, const std::string& tag,
                                                std::time_t now);

  private:
    struct State {
        std::string tag;
        std::time_t since;
    };
    const std::size_t most_;
    Mutex mutex_;
    std::map<std::string, State> states_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
