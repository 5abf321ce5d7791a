#include "engines/caskery_engine.h"

#include <algorithm>
#include <array>
#include <random>

#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

// Where the pieces of "CK9Wine1.7.50" and "CK9WineCXG17.0.1" begin.
constexpr std::size_t wineStart = 3, versionStart = 7, afterCx = 9, afterCxg = 10;

/// In the order in which they are tried.
constexpr std::array<std::string_view, 29> archiveExtensions{
    "xz",  "wim",  "arj",  "chm",   "cramfs",   "dmg",  "fat", "hfs", "lzh",   "lzma",
    "mbr", "nsis", "ntfs", "rar",   "squashfs", "udf",  "vhd", "xar", "z",     "7z",
    "zip", "cab",  "gzip", "bzip2", "tar",      "cpio", "rpm", "deb", "tar.7z"};

int ordered(std::strong_ordering order) {
    return std::is_lt(order) ? -1 : std::is_gt(order) ? 1 : 0;
}

/// The one for which it is true comes first.
int trueFirst(bool first, bool second) {
    return first == second ? 0 : first ? -1 : 1;
}

bool beginsNumeric(std::string_view version) {
    return !version.empty() && version.front() >= '1' && version.front() <= '9';
}

std::string_view from(std::string_view text, std::size_t index) {
    return text.substr(std::min(index, text.size()));
}

std::string pieceAt(const std::vector<std::string>& pieces, std::size_t index) {
    return index < pieces.size() ? pieces[index] : "";
}

/// The order of names that hold no number after "Wine", both of CrossOver: CrossOver Games last.
int crossOverOrder(std::string_view first, std::string_view second) {
    const auto isGames = [](std::string_view name) { return from(name, afterCx).starts_with('G'); };
    if (isGames(first) != isGames(second)) return trueFirst(!isGames(first), !isGames(second));
    const std::size_t start = isGames(first) ? afterCxg : afterCx;
    return NSCaskeryEngine::versioningOrderOfFirstString(from(first, start), from(second, start));
}

/// Asks the site for the list. The query only defeats caches.
std::vector<std::string> downloadedCatalogue() {
    const std::string& site = host().sites.caskery;
    if (!NSUtilities::isWebsiteOfUrlAvailable(site)) return {};
    std::random_device random;
    const std::string number = std::to_string(random() & 0x7FFFFFFF);
    std::optional<std::string> text =
        NSUtilities::stringWithContentsOfURL(site + "Engines/EngineList.txt?" + number);
    if (!text) return {};
    while (text->ends_with('\n')) text->pop_back();
    // A page (an error page, a login page of a hotel) is no list: its lines must not be offered as engines,
    // and the list is asked for again next time.
    if (text->empty() || MVString::trimmed(*text).starts_with('<')) return {};
    return MVString::split(*text, "\n");
}

void fillCatalogue(Cache<std::vector<std::string>>& catalogue) MV_REQUIRES(catalogue.mutex) {
    if (catalogue.value.empty()) catalogue.value = downloadedCatalogue();
}

/// The engine name of an archive in the engine folder, or nothing. Two extensions are dropped whatever they
/// are, since official archives end in ".tar.7z".
std::optional<std::string> engineOfArchive(const std::string& fileName) {
    if (!fileName.starts_with("CK")) return std::nullopt;
    const std::string_view rest = from(fileName, wineStart);
    if (!rest.starts_with("Wine") || rest.size() < 5) return std::nullopt;
    const std::string name = files::withoutExtension(files::withoutExtension(fileName));
    if (from(name, versionStart).empty()) return std::nullopt;
    return name;
}

std::vector<std::string> localEngines() {
    // A fresh home has no engine folder, which is nothing to report.
    if (!MVFileManager::directoryExistsAtPath(layout::enginesFolder())) return {};
    std::vector<std::string> engines;
    for (const std::string& entry : MVFileManager::contentsOfDirectoryAtPath(layout::enginesFolder())) {
        if (auto engine = engineOfArchive(entry)) engines.push_back(std::move(*engine));
    }
    return engines;
}

}  // namespace

std::vector<std::string> NSCaskeryEngine::getListOfAvailableEnginesOnline() {
    auto& catalogue = host().engineCatalogue;
    const MutexLock lock(catalogue.mutex);
    fillCatalogue(catalogue);
    return catalogue.value;
}

std::vector<std::string> NSCaskeryEngine::getListOfAvailableEngines() {
    const std::vector<std::string> local =
        localEngines();  // before the lock: it may have to tell of a failure
    std::vector<std::string> engines;
    {
        auto& catalogue = host().engineCatalogue;
        const MutexLock lock(catalogue.mutex);
        fillCatalogue(catalogue);
        // Local names join a catalogue that is there. Without one they must not pass for it: it would never
        // be asked for again.
        std::vector<std::string>& list = catalogue.value.empty() ? engines : catalogue.value;
        for (const std::string& engine : local) {
            if (std::ranges::find(list, engine) == list.end()) list.push_back(engine);
        }
        if (&list != &engines) engines = list;
    }
    std::ranges::stable_sort(engines, [](const std::string& first, const std::string& second) {
        return engineOrder(first, second) < 0;
    });
    return engines;
}

int NSCaskeryEngine::versioningOrderOfFirstString(std::string_view first, std::string_view second) {
    const std::vector<std::string> firstPieces = MVString::split(first, ".");
    const std::vector<std::string> secondPieces = MVString::split(second, ".");
    for (std::size_t index = 0; index < std::min(firstPieces.size(), secondPieces.size()); ++index) {
        const std::int64_t firstNumber = MVString::initialIntValue(firstPieces[index]);
        const std::int64_t secondNumber = MVString::initialIntValue(secondPieces[index]);
        if (firstNumber != secondNumber) return firstNumber < secondNumber ? 1 : -1;
    }
    if (firstPieces.size() != secondPieces.size()) return ordered(secondPieces.size() <=> firstPieces.size());
    return ordered(second.size() <=> first.size());
}

int NSCaskeryEngine::alphabeticalOrderOfFirstString(std::string_view first, std::string_view second) {
    // The bytes of UTF-8, compared without sign, stand in the order of the characters' codes.
    return ordered(first.compare(second) <=> 0);
}

int NSCaskeryEngine::engineOrder(std::string_view first, std::string_view second) {
    const bool firstIsEngine = first.starts_with("CK"), secondIsEngine = second.starts_with("CK");
    if (!firstIsEngine || !secondIsEngine) {
        return firstIsEngine == secondIsEngine ? alphabeticalOrderOfFirstString(first, second)
                                               : trueFirst(firstIsEngine, secondIsEngine);
    }
    const bool firstIsLong = first.size() > versionStart, secondIsLong = second.size() > versionStart;
    if (!firstIsLong || !secondIsLong) {
        return firstIsLong == secondIsLong ? alphabeticalOrderOfFirstString(first, second)
                                           : trueFirst(firstIsLong, secondIsLong);
    }
    const bool firstIsWine = from(first, wineStart).starts_with("Wine");
    const bool secondIsWine = from(second, wineStart).starts_with("Wine");
    if (!firstIsWine || !secondIsWine) {
        return firstIsWine == secondIsWine ? alphabeticalOrderOfFirstString(first, second)
                                           : trueFirst(firstIsWine, secondIsWine);
    }

    const std::string_view firstVersion = from(first, versionStart),
                           secondVersion = from(second, versionStart);
    const bool firstNumeric = beginsNumeric(firstVersion), secondNumeric = beginsNumeric(secondVersion);
    if (firstNumeric && secondNumeric) return versioningOrderOfFirstString(firstVersion, secondVersion);
    if (firstNumeric != secondNumeric) return trueFirst(firstNumeric, secondNumeric);

    const bool firstIsCx = firstVersion.starts_with("CX"), secondIsCx = secondVersion.starts_with("CX");
    if (firstIsCx && secondIsCx) return crossOverOrder(first, second);
    if (firstIsCx != secondIsCx) return trueFirst(firstIsCx, secondIsCx);
    return alphabeticalOrderOfFirstString(firstVersion, secondVersion);
}

bool NSCaskeryEngine::isEngineVcrun2012Compatible(std::string_view name) {
    const std::vector<std::string> pieces = MVString::split(name, "Wine");
    if (pieces.size() < 2) return false;
    const std::vector<std::string> version = MVString::split(pieces[1], ".");
    if (version[0].starts_with("CXG")) return false;
    if (version[0].starts_with("CX")) return version[0].substr(2) == "14";

    if (MVString::initialIntValue(version[0]) > 1) return true;
    const std::int64_t second = MVString::initialIntValue(MVString::split(pieceAt(version, 1), "-")[0]);
    return second > 7 || (second == 7 && MVString::initialIntValue(pieceAt(version, 2)) > 39);
}

std::optional<std::string> NSCaskeryEngine::localPathForEngine(const std::string& name) {
    // The name may come from a port. It is checked without an extension: the archive itself may well be a
    // link to another disk.
    const auto stem = pathInside(layout::enginesFolder(), name, Levels::one, "the engine's name");
    if (!stem) return std::nullopt;
    for (const std::string_view extension : archiveExtensions) {
        std::string path = *stem + "." + std::string(extension);
        if (MVFileManager::regularFileExistsAtPath(path)) return path;
    }
    return std::nullopt;
}

int NSCaskeryEngine::getCaskeryMostRecentGenerationOfEngine() const {
    std::string_view name = engine;
    if (name.starts_with("CK")) name = from(name, wineStart);
    if (name.starts_with("Wine")) name.remove_prefix(4);
    const std::vector<std::string> version = MVString::split(name, ".");
    if (version.size() < 2) return 9;

    const std::string& major = version[0];
    if (major.starts_with("CXG")) return 8;
    const std::int64_t minor = MVString::initialIntValue(version[1]);
    if (major.starts_with("CX")) {
        const std::int64_t crossOver = MVString::initialIntValue(from(major, 2));
        if (crossOver < 11 || (crossOver == 11 && minor < 2)) return 8;
    }
    if (major != "1") return 9;
    if (minor >= 1 && minor <= 3) return 8;
    if (minor == 5 && MVString::initialIntValue(pieceAt(version, 2)) < 2) return 8;
    if (minor == 4 && version.size() == 2 && !version[1].starts_with("4N")) return 8;
    return 9;
}

NSCaskeryEngine& NSCaskeryEngine::updateToMostRecentVersionForPortType(std::string_view portType) {
    std::string version;
    if (portType.starts_with("CXEx")) {
        const std::string word = getMiddleWord(portType);
        version = word.empty() ? engine : MVString::replacedAll(engine, word, "");
    } else {
        if (!MVString::contains(engine, "Wine")) return *this;
        version = NSUtilities::getFragmentAfter("Wine", std::nullopt, engine);
    }
    const int generation = NSCaskeryEngine(version).getCaskeryMostRecentGenerationOfEngine();
    engine = filled("CK%dWine%@", {std::to_string(generation), version});
    return *this;
}

std::string NSCaskeryEngine::getMiddleWord(std::string_view text) {
    const std::vector<std::string> words = MVString::split(text, " ");
    return words.size() >= 3 ? words[1] : words[0];
}

}  // namespace morvane
