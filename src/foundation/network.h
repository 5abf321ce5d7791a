// foundation/network.h: network and system helpers. Any thread; the POST and the checksum block.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/value.h"

namespace morvane::NSUtilities {

/// "--" when the user's locale has none.
[[nodiscard]] std::string getCountryCode();
[[nodiscard]] bool isUsingClassicLibraryLayout();
/// Whether F1 to F12 act as standard function keys.
[[nodiscard]] bool isUsingFnKeysFunctions();
/// Quick, without a connection.
[[nodiscard]] bool isWebsiteAvailable(const std::string& host);
/// The same for the host of an address; false when it has none.
[[nodiscard]] bool isWebsiteOfUrlAvailable(const std::string& url);
/// The answer of a status from 200 to 299 when it is UTF-8 and not empty; otherwise the transport error's
/// description when there was one, else nothing.
[[nodiscard]] std::optional<std::string> launchURL(const std::string& url, const std::string& postString);
/// The pairs joined as a form, values escaped, in order.
[[nodiscard]] std::optional<std::string> launchURLWithPostValues(
    const std::string& url, const std::vector<std::pair<std::string, std::string>>& postValues);
/// With the action "Play".
void showNotificationMessage(const std::string& message, const std::string& title, const std::string& info,
                             const std::optional<ImageData>& icon);
/// Lower-case hexadecimal; what the tool printed last, or empty, when it failed.
[[nodiscard]] std::string getFileSHA1CheckSum(const std::string& path);
/// The same with SHA-256.
[[nodiscard]] std::string getFileSHA256CheckSum(const std::string& path);
/// The bytes at an address (a GET), or nothing when the transfer failed. The status is not looked at.
[[nodiscard]] std::optional<std::string> safeDataWithContentsOfURL(const std::string& url);
/// The text at an address (a GET), or nothing when the transfer failed or it is not UTF-8. The status is not
/// looked at.
[[nodiscard]] std::optional<std::string> stringWithContentsOfURL(const std::string& url);

}  // namespace morvane::NSUtilities
