#include "foundation/network.h"

#include "foundation/build_log.h"
#include "foundation/computer_information.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/folders.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/utf8.h"

namespace morvane::NSUtilities {

namespace {

HttpResponse fetch(const std::string& url, const std::optional<std::string>& body) {
    HttpRequest request;
    request.url = url;
    request.body = body;
    HttpResponse response = http::fetch(request, host().creation.runsHere() ? &host().creation : nullptr);
    // What is posted may be a message of the user's: only the address is kept.
    host().log.write(response.error.empty() && response.status < 400 ? Log::Level::info : Log::Level::warning,
                     std::string(body ? "post: " : "get: ") + url + ": status " +
                         std::to_string(response.status) + ", " + std::to_string(response.body.size()) +
                         " bytes" + (response.error.empty() ? "" : ", " + response.error));
    const std::string status = response.status < 400 ? "" : "status " + std::to_string(response.status);
    if (const auto build = BuildLog::current()) {
        build->download(url, response.body.size(), response.error.empty() ? status : response.error);
    }
    return response;
}

/// Each character outside ASCII becomes one "?".
std::string lossyAscii(std::string_view text) {
    std::string ascii;
    for (char character : text) {
        if (!utf8::continues(character))
            ascii += static_cast<unsigned char>(character) < 0x80 ? character : '?';
    }
    return ascii;
}

std::string sumOf(const std::string& path, const std::string& kind) {
    // "SHA1(path)= digest" and a line break; paths may hold spaces, the digest never does.
    const std::string output =
        MVTask::outputOf(MVTask::runProgram("openssl", "/", {{kind, path}}, Wait::yes));
    const std::size_t space = output.rfind(' ');
    if (space == std::string::npos) return "";
    return getFragmentAfter(std::nullopt, "\n", std::string_view(output).substr(space + 1));
}

}  // namespace

std::string getCountryCode() {
    const std::string code = localeCountryCode();
    return code.empty() ? "--" : code;
}

bool isUsingClassicLibraryLayout() {
    return settings::get(settings::useOldLibrary);
}

bool isUsingFnKeysFunctions() {
    // Read by a narrower rule than other booleans: neither a sign nor a zero may stand before what decides.
    const std::string answer = MVString::trimmed(MVTask::outputOf(MVTask::runTerminalCommand(
        "defaults read -g com.apple.keyboard.fnState -bool", std::nullopt, Wait::yes)));
    return !answer.empty() &&
           std::string_view("YyTt123456789").find(answer.front()) != std::string_view::npos;
}

bool isWebsiteAvailable(const std::string& hostName) {
    return host().isReachable(hostName);
}

bool isWebsiteOfUrlAvailable(const std::string& url) {
    const auto parts = parseUrl(url);
    return parts && isWebsiteAvailable(parts->host);
}

std::optional<std::string> launchURL(const std::string& url, const std::string& postString) {
    const HttpResponse response = fetch(url, lossyAscii(postString));
    if (response.status >= 200 && response.status <= 299) {
        if (response.body.empty() || !MVString::isValidUtf8(response.body)) return std::nullopt;
        return response.body;
    }
    if (response.error.empty()) return std::nullopt;
    return response.error;
}

std::optional<std::string> launchURLWithPostValues(
    const std::string& url, const std::vector<std::pair<std::string, std::string>>& postValues) {
    std::vector<std::string> pairs;
    for (const auto& [key, value] : postValues) {
        pairs.push_back(key + "=" + MVString::stringToWebStructure(value));
    }
    return launchURL(url, MVString::joined(pairs, "&"));
}

void showNotificationMessage(const std::string& message, const std::string& title, const std::string& info,
                             const std::optional<ImageData>& icon) {
    Notification notification{.title = title,
                              .message = message,
                              .info = info,
                              .actionTitle = localized("Play"),
                              .image = std::nullopt};
    // Only the systems before 10.9 cannot show a picture; one without such a version can.
    const bool showsPictures = NSComputerInformation::macOsVersion().empty() ||
                               NSComputerInformation::isSystemMacOsEqualOrSuperiorTo("10.9");
    if (showsPictures) notification.image = icon;
    host().mainQueue.post([notification] { host().userInterface.notify(notification); });
}

std::string getFileSHA1CheckSum(const std::string& path) {
    return sumOf(path, "sha1");
}

std::string getFileSHA256CheckSum(const std::string& path) {
    return sumOf(path, "sha256");
}

std::optional<std::string> safeDataWithContentsOfURL(const std::string& url) {
    HttpResponse response = fetch(url, std::nullopt);
    if (!response.error.empty()) return std::nullopt;
    return std::move(response.body);
}

std::optional<std::string> stringWithContentsOfURL(const std::string& url) {
    auto bytes = safeDataWithContentsOfURL(url);
    if (!bytes || !MVString::isValidUtf8(*bytes)) return std::nullopt;
    return bytes;
}

}  // namespace morvane::NSUtilities
