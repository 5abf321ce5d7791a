// platform/download_parts.h: the cache of parts: bodies of downloads on their way, and whole ones that may be needed
// again. Any thread; a `DownloadPart` one at a time.
//
// A transfer that breaks, is cancelled or killed leaves its part, and the next one for the same link goes on where it
// stopped, unless the server's file is another one. That is known by the mark that the server gives (an entity tag, or
// a time of change that is old enough); a file without one is fetched anew. One part is filled by one process: a
// second one for the same link fills another.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/http.h"
#include "platform/result.h"

namespace morvane {

/// The body of one link, as far as it is there.
class DownloadPart {
  public:
    /// Takes up what there is of the link. The folder is made at the first byte, for this user alone.
    DownloadPart(const std::string& folder, std::string link);
    /// Keeps what the next transfer can go on with, and removes everything else.
    ~DownloadPart();
    DownloadPart(DownloadPart&&) noexcept;
    DownloadPart& operator=(DownloadPart&&) noexcept;

    /// What to send along for the rest only; none for a link of which nothing is there.
    [[nodiscard]] std::vector<std::string> requestHeaders() const;
    /// Before the first byte: what is there is gone on with, or goes. A failure when the answer fits neither:
    /// `startAnew`, and ask again.
    [[nodiscard]] Result<> begin(const HttpHead& head);
    [[nodiscard]] bool mustStartAnew() const;
    /// Forgets what is there.
    void startAnew();
    /// Adds bytes. More than the disk has room for is refused (`FreeRoom`); other parts go first. After a failure
    /// nothing more is added, and the part goes with the object.
    [[nodiscard]] Result<> append(std::string_view bytes);
    /// The first failure of `append`.
    [[nodiscard]] const Result<>& soFar() const;

    /// Whether the server gives a mark by which the next transfer knows it again; without one it is not kept.
    [[nodiscard]] bool isKnownAgain() const;
    [[nodiscard]] std::uint64_t size() const;                      ///< bytes that are there
    [[nodiscard]] std::optional<std::uint64_t> wholeSize() const;  ///< of the body, where the server told it

    enum class Keep { no, untilForgotten };
    /// Puts what is there at the place, at once; what lies there is replaced, a file's permissions are kept. A whole
    /// one that is kept shares its bytes with the place where it can, and is not used again once somebody has
    /// written into it. To be called once.
    [[nodiscard]] Result<> putAt(const std::string& place, Keep keep);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

namespace download_parts {

/// A part that nobody has added to for so long goes.
inline constexpr std::chrono::hours longestKept{24 * 14};
/// Beyond so many bytes in all, the parts that have waited longest go.
inline constexpr std::uint64_t largestSum = std::uint64_t{32} << 30;

/// Removes the link's part, unless it is being filled. Harmless without one.
void forget(const std::string& folder, const std::string& link);
/// Removes what is too old, and what is too much; never what is being filled.
void prune(const std::string& folder, std::uint64_t mostBytes = largestSum);

}  // namespace download_parts
}  // namespace morvane
