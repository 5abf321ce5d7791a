// foundation/formats.h: sizes, times and fragments of texts. Any thread, no state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace morvane {

enum class DecimalMeasureSystem { no, yes };

namespace NSUtilities {

/// From the start without a start marker; empty when it does not occur.
[[nodiscard]] std::string getFragmentAfter(const std::optional<std::string_view>& start,
                                           const std::optional<std::string_view>& end, std::string_view text);
/// Bytes left and bytes per second: "Time out: 1h 2m 5s", or " ∞" below 1.
[[nodiscard]] std::string timeNeededToDownload(std::int64_t bytes, std::int64_t speed);
/// "1.5Kb": at most one decimal, truncated.
[[nodiscard]] std::string humanReadableSizeForBytes(std::int64_t bytes, DecimalMeasureSystem decimal);
/// A black page with the message in its middle; the message stands as it is.
[[nodiscard]] std::string errorHTMLWithMessage(std::string_view message);
/// The reading of a text as a boolean: after blanks, a sign and zeros, it begins with Y, y, T, t or 1 to 9.
[[nodiscard]] bool booleanValue(std::string_view text);

}  // namespace NSUtilities
}  // namespace morvane
