#include "library/catalogue_line.h"

#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/apps_array.h"
#include "library/catalogue_addresses.h"
#include "library/name_order.h"
#include "platform/host.h"

namespace morvane {

namespace {

/// A page that only looks like a list has thousands of lines that are none.
constexpr int mostLineAlerts = 10;

std::string portFolder(const CatalogueLine& line, bool isNamedAfterGame) {
    const std::string& base = host().sites.catalogue;
    const std::string folder = base + "ckis/" + line.creator + "/";
    if (!isNamedAfterGame) return folder + std::to_string(line.id) + "/";
    const std::string country =
        line.country == "--" ? "" : MVString::stringToWebStructure(" (" + line.country + ")");
    return folder + MVString::stringToWebStructure(line.name) + country + "/";
}

/// A portal or a proxy answers with a page of its own in the catalogue's place.
bool isPage(std::string_view answer) {
    if (MVString::contains(answer, " || ")) return false;
    const std::string start = MVString::lowercased(MVString::trimmed(answer.substr(0, 100)));
    return start.starts_with("<!doctype") || start.starts_with("<html");
}

/// Nothing when the catalogue does not answer.
std::optional<std::vector<CatalogueLine>> requestedLines() {
    const std::string developer = std::to_string(settings::get(settings::developerMode));
    const auto answer =
        catalogue::answerOf(host().sites.catalogue + "ckis/listPorts.php?developer=" + developer +
                            "&country=" + NSUtilities::getCountryCode());
    if (!answer || !MVString::isValidUtf8(*answer) || isPage(*answer)) return std::nullopt;
    std::vector<CatalogueLine> lines;
    int alerts = 0;
    for (const std::string& piece : MVString::split(*answer, "<br>")) {
        if (!MVString::contains(piece, " || ")) continue;
        if (auto line = generateDictionaryForPortListLine(piece)) {
            lines.push_back(std::move(*line));
        } else if (alerts++ < mostLineAlerts) {
            MVAlert::showAlertErrorMessage(
                localized("Error while loading server apps list! Please, press the %@ button.",
                          {localized("Refresh List")}));
        }
    }
    sortByName(lines);
    return lines;
}

}  // namespace

std::optional<CatalogueLine> generateDictionaryForPortListLine(std::string_view text) {
    const auto fields = MVString::split(text, " || ");
    if (fields.size() < 6 || !MVString::isValidUtf8(text)) return std::nullopt;
    CatalogueLine line;
    // Lines may stand on lines of their own.
    line.id = MVString::initialIntValue(MVString::trimmed(fields[0]));
    line.creator = fields[1];
    line.name = fields[2];
    line.isFree = MVString::initialIntValue(fields[3]) != 0;
    line.isNew = MVString::initialIntValue(fields[4]) != 0;
    line.country = fields[5];
    line.path = portFolder(line, fields.size() > 6 && fields[6] == "0");
    if (fields.size() > 7) line.dependencyID = MVString::initialIntValue(fields[7]);
    if (fields.size() > 8) line.isNative = MVString::initialIntValue(fields[8]) != 0;
    return line;
}

Result<std::optional<CatalogueLine>> requestedLineOfID(std::int64_t id) {
    const auto answer = catalogue::answerOf(catalogue::briefDescriptionAddress(std::to_string(id)));
    if (!answer || isPage(*answer)) return Failure{catalogue::unreachable()};
    auto line = generateDictionaryForPortListLine(MVString::split(*answer, "<br>").front());
    // Whatever text came instead has no line of that ID.
    return line && line->id == id ? std::move(line) : std::nullopt;
}

void NSAppsArray::loadServerAppsBlock(Completion completion) {
    using Lines = std::optional<std::vector<CatalogueLine>>;
    if (completion) afterCatalogue_.push_back(std::move(completion));
    if (catalogueState_ == CatalogueState::loading) return;
    const auto finish = [this, alive = alive_](Lines lines) {
        MVThread::dispatchBlockInMainQueue([this, alive, lines = std::move(lines)]() mutable {
            if (!*alive) return;
            catalogueState_ = lines ? CatalogueState::loaded : CatalogueState::unreachable;
            if (lines) server_ = std::move(*lines);
            for (const Completion& each : std::exchange(afterCatalogue_, {})) each();
        });
    };
    if (!server_.empty()) return finish(server_);
    catalogueState_ = CatalogueState::loading;
    MVThread::dispatchQueueWithName("app.morvane.loadServerApps", Priority::normal, [finish] {
        const bool reachable = NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue);
        finish(reachable ? requestedLines() : std::nullopt);
    });
}

}  // namespace morvane
