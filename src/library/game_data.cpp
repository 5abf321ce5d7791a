#include "library/game_data.h"

#include <sys/stat.h>

#include "library/game_data.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "library/catalogue_addresses.h"
#include "library/description_view.h"
#include "library/icon_cache.h"
#include "library/trailer_pages.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/styled_text.h"
#include "platform/utf8.h"
#include "ports/port_data.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"

namespace morvane {

namespace {

/// Places of the description answer's fields.
enum Field : std::size_t {
    descriptionField = 6,
    trailerField = 7,
    genresField = 8,
    sourcesField = 9,
    ratingsField = 11,
    nativeField = 12,
    crossOverField = 13,
    fieldCount = 14
};

std::optional<std::int64_t> integerReading(const Value* value) {
    if (value == nullptr) return std::nullopt;
    if (const auto* number = value->as<std::int64_t>()) return *number;
    if (const auto* flag = value->as<bool>()) return *flag ? 1 : 0;
    return std::nullopt;
}

/// Without its last characters; what is shorter is empty.
std::string withoutLast(std::string text, int characters) {
    for (; characters > 0 && !text.empty(); --characters) {
        while (text.size() > 1 && utf8::continues(text.back())) text.pop_back();
        text.pop_back();
    }
    return text;
}

std::string withoutQuotes(std::string text) {
    std::erase(text, '"');
    return text;
}

/// Links of a stranger's text that may be followed. Anything else could open files or run programs.
bool isSafeLink(std::string_view link) {
    const std::string scheme = MVString::lowercased(link.substr(0, link.find(':')));
    return scheme == "http" || scheme == "https" || scheme == "mvid" || scheme == "morvane";
}

double descriptionFontSize() {
    // 0: the platform's own size.
    return static_cast<double>(settings::find(settings::descriptionFontSize).value_or(0));
}

const char* helvetica(bool bold, bool italic) {
    if (bold) return italic ? "Helvetica-BoldOblique" : "Helvetica-Bold";
    return italic ? "Helvetica-Oblique" : "Helvetica";
}

/// The description file of an item, else the description that it was built from; nothing without either.
std::optional<std::string> descriptionFileOf(const std::string& path) {
    for (const char* name : {layout::descriptionCkii, layout::backupCki}) {
        if (MVFileManager::fileExistsAtPath(path + name)) return path + name;
    }
    return std::nullopt;
}

/// What is another once the file is changed or replaced; empty for none.
std::string stateOf(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return "";
    std::string state;
    for (const auto part :
         {static_cast<std::int64_t>(status.st_ino), static_cast<std::int64_t>(status.st_size),
          static_cast<std::int64_t>(status.st_mtim.tv_sec),
          static_cast<std::int64_t>(status.st_mtim.tv_nsec)}) {
        state += std::to_string(part) + ' ';
    }
    return state;
}

std::optional<std::string> sourceOf(const std::string& wrapper) {
    const std::string file = wrapper + layout::backupCki;
    if (!MVFileManager::fileExistsAtPath(file)) return std::nullopt;
    const auto loaded = NSUtilities::loadArchivedObjectFromFile(file, "CKI");
    if (!loaded) return std::nullopt;
    const auto* source = loaded->as<Dictionary>()->get<std::string>("Source");
    return source != nullptr ? std::optional(*source) : std::nullopt;
}

/// Bold and italic only, in Helvetica of the user's size; justified and white is how a page draws it.
StyledText getRepairedDescription(const StyledText& description) {
    StyledText repaired{.text = description.text, .runs = {}};
    const double size = descriptionFontSize();
    for (const StyledRun& run : description.runs) {
        StyledRun plain{.length = run.length,
                        .bold = run.bold,
                        .italic = run.italic,
                        .font = helvetica(run.bold, run.italic),
                        .fontSize = size,
                        .link = isSafeLink(run.link) ? run.link : "",
                        .white = true};
        StyledRun* const last = repaired.runs.empty() ? nullptr : &repaired.runs.back();
        if (last != nullptr && last->font == plain.font && last->link == plain.link) {
            last->length += plain.length;
        } else {
            repaired.runs.push_back(std::move(plain));
        }
    }
    return repaired;
}

}  // namespace

// ---- Catalogue entries

std::shared_ptr<NSGameData> NSGameData::initWithDictionary(const std::optional<CatalogueLine>& line) {
    if (!line) return nullptr;
    const auto answer = catalogue::answerOf(host().sites.catalogue +
                                            "ckis/portDescription.php?id=" + std::to_string(line->id));
    return initWithDescription(*line, answer && MVString::isValidUtf8(*answer) ? *answer : "");
}

std::shared_ptr<NSGameData> NSGameData::initWithDescription(const CatalogueLine& line,
                                                            std::string_view answer) {
    auto entry = std::make_shared<NSGameData>();
    entry->isGameInTheServer = true;
    entry->gameID = line.id;
    entry->gameName = line.name;
    entry->gamePath = line.path;
    // A number that does not fit stays one that no game has.
    entry->gameDependencyID = static_cast<std::int32_t>(
        std::min<std::int64_t>(line.dependencyID.value_or(0), std::numeric_limits<std::int32_t>::max()));
    entry->isGameNative = line.isNative.value_or(false);
    entry->isGameFree = line.isFree;
    entry->readDescription(answer);
    return entry;
}

void NSGameData::readDescription(std::string_view answer) {
    const std::vector<std::string> fields = MVString::split(answer, " || ");
    if (fields.size() < fieldCount) {
        gameDescription = getRepairedDescription(styledTextFromHtml(localized(
            "The selected game seems to be corrupted. Tell us about it in the tab \"Contact Us\".")));
        return;
    }
    gameDescription = getRepairedDescription(styledTextFromHtml(fields[descriptionField]));
    trailer = withoutQuotes(fields[trailerField]);
    if (const std::string genres = withoutLast(fields[genresField], 1); !genres.empty()) {
        gameGenresList = MVString::split(genres, ",");
    }
    descriptionDictionary.emplace();
    for (const std::string& item : MVString::split(withoutLast(fields[sourcesField], 2), ";;")) {
        const std::vector<std::string> parts = MVString::split(item, "=>");
        if (parts.size() < 2) continue;
        gameSourcesList.push_back(parts[0] == "Gog" ? "GOG" : parts[0]);
        descriptionDictionary->set(parts[0] + " Link", parts[1]);
    }
    if (gameSourcesList.empty()) gameSourcesList = {"Other"};
    ratings.clear();
    ratings.setRatingsWithString(withoutLast(fields[ratingsField], 2));
    isGameNative = NSUtilities::booleanValue(fields[nativeField]);
    crossoverAlternative = withoutQuotes(fields[crossOverField]);
    descriptionDictionary->set("ID", gameID);
    descriptionDictionary->set("Description", *gameDescription);
    descriptionDictionary->set("Trailer", *trailer);
    descriptionDictionary->set("CrossOverLink", crossoverAlternative);
}

std::shared_ptr<NSGameData> entry_buffer::entryOf(std::int64_t id) {
    auto& buffer = host().serverAppsBuffer;
    const MutexLock guard(buffer.mutex);
    const auto entry = buffer.value.find(id);
    return entry != buffer.value.end() ? entry->second : nullptr;
}

void entry_buffer::keep(std::int64_t id, std::shared_ptr<NSGameData> entry) {
    if (!entry->descriptionDictionary) return;
    auto& buffer = host().serverAppsBuffer;
    const MutexLock guard(buffer.mutex);
    buffer.value[id] = std::move(entry);
}

void entry_buffer::clear() {
    auto& buffer = host().serverAppsBuffer;
    const MutexLock guard(buffer.mutex);
    buffer.value.clear();
}

// ---- Local items

std::shared_ptr<NSGameData> NSGameData::initWithPath(const std::string& path) {
    if (!MVFileManager::fileExistsAtPath(path)) return nullptr;
    auto item = std::make_shared<NSGameData>();
    item->gameID = 1;
    item->gamePath = path;
    item->isCustomEXE = LibraryItem::liesInBundle(path);
    item->isBoxerGame = LibraryItem::isBoxerName(path);
    item->gameName = files::withoutExtension(files::lastComponent(path));
    if (!item->isBoxerGame) {
        item->isGameNative = !item->isCustomEXE && !Wrapper(path).runsPrograms();
        const auto name = bundleNameOf(path);
        if (name && !name->empty()) item->gameName = *name;
    }
    item->readDescriptionFile();
    item->gameSourcesList = {sourceOf(item->isCustomEXE ? files::parent(path) : path).value_or("Local")};
    return item;
}

void NSGameData::readDescriptionFile() {
    const auto file = descriptionFileOf(gamePath);
    if (!file) return;
    auto loaded = NSUtilities::loadArchivedObjectFromFile(*file, "CKII");
    if (!loaded) return MVAlert::showAlertErrorMessage(loaded.error().message());
    auto* dictionary = loaded->as<Dictionary>();
    if (dictionary == nullptr) {
        return MVAlert::showAlertErrorMessage(
            localized("An unknown error occured while loading the description."));
    }
    if (const auto* text = dictionary->get<StyledText>("Description")) {
        gameDescription = getRepairedDescription(*text);
    }
    if (const auto* link = dictionary->get<std::string>("Trailer")) trailer = *link;
    if (const auto* link = dictionary->get<std::string>("CrossOverLink")) crossoverAlternative = *link;
    gameID = integerReading(dictionary->find("ID")).value_or(gameID);
    descriptionDictionary = std::move(*dictionary);
}

std::int64_t NSGameData::getIdentifierOfGameAtPath(const std::string& wrapper) {
    constexpr std::int64_t unknown = 1;
    const auto file = descriptionFileOf(wrapper);
    if (!file) return unknown;
    // A library is looked through for a game whenever a button is titled.
    const std::string state = stateOf(*file);
    auto& known = host().gameIdentifiers;
    {
        const MutexLock guard(known.mutex);
        const auto found = known.value.find(*file);
        if (found != known.value.end() && found->second.first == state) return found->second.second;
    }
    const auto loaded = NSUtilities::loadArchivedObjectFromFile(*file, "CKII");
    const auto* dictionary = loaded ? loaded->as<Dictionary>() : nullptr;
    const std::int64_t id =
        dictionary != nullptr ? integerReading(dictionary->find("ID")).value_or(unknown) : unknown;
    const MutexLock guard(known.mutex);
    known.value[*file] = {state, id};
    return id;
}

// ---- Description

// ---- Ratings

// ---- Icon

std::optional<ImageData> NSGameData::gameImage() {
    {
        const MutexLock guard(mutex_);
        if (image_) return image_;
    }
    auto image = loadImage();
    const MutexLock guard(mutex_);
    if (!image_) image_ = std::move(image);
    return image_;
}

std::optional<ImageData> NSGameData::loadImage() const {
    if (isGameInTheServer) {
        auto bytes = NSUtilities::safeDataWithContentsOfURL(gamePath + "Icon.png");
        return icon_cache::imageFromBytes(std::move(bytes).value_or("")).value_or(ImageData{});
    }
    auto icon = icon_cache::localIcon(gamePath);
    return isBoxerGame ? icon.value_or(ImageData{}) : icon;
}

std::string NSGameData::trailerHTMLwithSize(double width, double height) const {
    return trailerPageFromLink(trailer.value_or(""), width, height);
}

}  // namespace morvane
