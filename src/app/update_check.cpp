#include "app/update_check.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/help_tab.h"
#include "app/settings_by_name.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"
#include "platform/http.h"

namespace morvane::update_check {
namespace {

struct Release {
    std::string version, link;
};

/// The numbers of "1.2.3", without zeros at the end; nothing for any other text.
std::optional<std::vector<std::int64_t>> numbersOf(const std::string& version) {
    constexpr std::size_t mostNumbers = 5, mostDigits = 9;
    std::vector<std::int64_t> numbers;
    for (const std::string& part : MVString::split(version, ".")) {
        const bool isNumber = !part.empty() && part.size() <= mostDigits &&
                              part.find_first_not_of("0123456789") == std::string::npos;
        if (!isNumber || numbers.size() == mostNumbers) return std::nullopt;
        numbers.push_back(MVString::initialIntValue(part));
    }
    while (!numbers.empty() && numbers.back() == 0) numbers.pop_back();
    return numbers;
}

bool isNewerThanThis(const std::string& version) {
    const auto offered = numbersOf(version), own = numbersOf(applicationVersion());
    return offered && own && *own < *offered;
}

/// Whatever page comes in place of the file is none.
std::optional<Release> releaseIn(const std::string& answer) {
    constexpr std::size_t longestLink = 2048;
    const auto lines = MVString::split(answer, "\n");
    if (lines.size() < 2) return std::nullopt;
    Release release{.version = MVString::trimmed(lines[0]), .link = MVString::trimmed(lines[1])};
    const bool isLink = release.link.size() <= longestLink && isWebLink(release.link) &&
                        std::ranges::all_of(release.link, [](unsigned char character) {
                            return character > ' ' && character < 0x7f;
                        });
    return isLink && numbersOf(release.version) ? std::optional(release) : std::nullopt;
}

bool isWanted() {
    return settings::get(settings::automaticUpdates);
}

void tellOf(const Release& release) {
    Dialog dialog;
    dialog.title = localized("Software Update");
    dialog.text =
        localized("%@ %@ is available. It is to be had at %@", {"Morvane", release.version, release.link});
    dialog.buttons = {localized("Visit Page"), localized("Cancel")};
    if (MVAlert::showDialog(dialog).button != 0) return;
    MVThread::dispatchBlockInMainQueue([link = release.link] { host().userInterface.openLink(link); });
}

}  // namespace

void lookForUpdate() {
    if (!isWanted()) return;
    MVThread::dispatchQueueWithName("app.morvane.lookForUpdate", Priority::low, [] {
        // A catalogue that can't be reached is not asked, and may be later today.
        if (!NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue)) return;
        if (!settings::isFirstOfDay(settings::lastUpdateCheck)) return;
        const auto release = releaseIn(catalogue::answerOf(catalogue::versionAddress()).value_or(""));
        // The user may have switched it off meanwhile.
        if (release && isNewerThanThis(release->version) && isWanted()) tellOf(*release);
    });
}

}  // namespace morvane::update_check
