// Engines packed for the generations 5 to 7 have their programs in another folder than a wrapper of today
// looks in.

#include <array>
#include <string_view>

#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

constexpr std::array<std::string_view, 3> oldGenerations{"CK5", "CK6", "CK7"};
constexpr std::array<const char*, 3> parts{"bin", "lib", "share"};
constexpr const char* bundleName = "ckwine.bundle";
constexpr const char* oldBundleName = "CaskeryEngine.bundle";

// Where a name like "CK7Wine1.2.5" has the second and the third number of its version.
constexpr std::size_t minorAt = 9, microAt = 11;

/// The one digit at that place; 0 where there is none.
int digitAt(std::string_view name, std::size_t place) {
    const bool isDigit = place < name.size() && name[place] >= '0' && name[place] <= '9';
    return isDigit ? name[place] - '0' : 0;
}

bool isWorthConverting(const std::string& name) {
    if (name == "CK7Wine1.2.2ICE") return false;
    return digitAt(name, minorAt) > 2 || digitAt(name, microAt) > 4;
}

/// A link in the place of a folder would have the packer, or a removal, work on what lies elsewhere.
bool isRealFolder(const std::string& path) {
    return files::kindOf(path) == files::Kind::folder;
}

bool hasParts(const std::string& folder) {
    if (!isRealFolder(folder)) return false;
    for (const char* part : parts) {
        if (!isRealFolder(files::join(folder, part))) return false;
    }
    return true;
}

/// Unpacks both layers of "<engine>.tar.7z", the inner one into a fresh folder of that path.
bool unpacked(const std::string& archive, const std::string& engine, const std::string& folder) {
    const std::string outer = folder + ".packed";
    if (!MVFileManager::createDirectoryAtPath(outer, IntermediateFolders::no) ||
        !MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::no)) {
        return false;
    }
    const auto tar = archives::unpackedTar(archive, {engine + ".tar"}, outer);
    const bool isWhole = tar && archives::unpackTar(*tar, folder);
    return MVFileManager::removeItemAtPath(outer) && isWhole;
}

/// Whether the archive can be unpacked and holds an engine as a wrapper of today needs it.
bool isGoodArchive(const std::string& archive, const std::string& engine, const std::string& folder) {
    const bool isWhole = unpacked(archive, engine, folder);
    const std::string bundle = files::join(folder, bundleName);
    const bool isGood =
        isWhole && hasParts(bundle) && files::kindOf(files::join(bundle, "version")) == files::Kind::file;
    MVFileManager::removeItemAtPath(folder);
    return isGood;
}

/// One conversion. It works in a folder of its own: what an archive holds beside the expected can't overwrite
/// what lies in the engine folder, where the new archive appears whole.
class Conversion {
  public:
    Conversion(std::string oldName, std::string newName, std::string folder)
        : oldName_(std::move(oldName)), newName_(std::move(newName)), folder_(std::move(folder)) {}

    [[nodiscard]] std::string archiveOf(const std::string& engine) const {
        return files::join(layout::enginesFolder(), engine + ".tar.7z");
    }
    /// What other tools, which convert in the engine folder itself, leave there when they are killed.
    void removeLeftovers() const {
        for (const std::string& name :
             {oldName_ + ".tar", newName_ + ".tar", std::string(bundleName), std::string(oldBundleName)}) {
            MVFileManager::removeItemAtPath(files::join(layout::enginesFolder(), name));
        }
    }
    /// Makes the new archive. One of that name that can be used is taken as it is: a conversion that was killed at its end has made it, or the user has brought it.
    [[nodiscard]] Result<> run() const {
        const std::string target = archiveOf(newName_);
        const bool hasTarget = MVFileManager::regularFileExistsAtPath(target);
        if (hasTarget && isGoodArchive(target, newName_, files::join(folder_, "present"))) return {};
        const std::string work = files::join(folder_, "old");
        if (!unpacked(archiveOf(oldName_), oldName_, work))
            return Failure{oldName_, localized("it can't be unpacked")};
        const std::string old = files::join(work, oldBundleName), wine = files::join(old, "Wine");
        if (!isRealFolder(old) || !hasParts(wine)) {
            return Failure{oldName_, localized("it holds no \"%@\" with the folders bin, lib and share",
                                               {files::join(oldBundleName, "Wine")})};
        }
        const std::string packed = files::join(folder_, newName_ + ".tar.7z");
        if (!rearranged(wine) || !MVFileManager::removeItemAtPath(work) || !pack() ||
            !isGoodArchive(packed, newName_, files::join(folder_, "new"))) {
            return Failure{oldName_, localized("the new archive can't be packed")};
        }
        if ((hasTarget && !MVFileManager::removeItemAtPath(target)) ||
            !MVFileManager::moveItemAtPath(packed, target)) {
            return Failure{oldName_, localized("the new archive can't be stored")};
        }
        return {};
    }

  private:
    /// Makes the new bundle out of the parts of the old one.
    [[nodiscard]] bool rearranged(const std::string& wine) const {
        const std::string bundle = files::join(folder_, bundleName);
        if (!MVFileManager::createDirectoryAtPath(bundle, IntermediateFolders::yes)) return false;
        for (const char* part : parts) {
            if (!MVFileManager::moveItemAtPath(files::join(wine, part), files::join(bundle, part)))
                return false;
        }
        return MVString::writeToFile(newName_ + "\n", files::join(bundle, "version"), files::Atomically::no,
                                     Encoding::utf8);
    }

    /// Packs the new bundle, which goes as soon as it is in its archive: unpacked engines are large.
    [[nodiscard]] bool pack() const {
        const auto tar = MVTask::getPathOfProgram("tar");
        const std::string tarName = newName_ + ".tar";
        return tar &&
               archives::endedWell(*tar, folder_, {"-cf", files::join(folder_, tarName), bundleName}) &&
               MVFileManager::removeItemAtPath(files::join(folder_, bundleName)) &&
               archives::endedWell(archives::archiveTool("7za"), folder_,
                                   {"a", "-mx9", tarName + ".7z", tarName}) &&
               MVFileManager::removeItemAtPath(files::join(folder_, tarName));
    }

    const std::string oldName_, newName_, folder_;
};

/// Names come from ports. The archive itself may be a link to another disk, so that its name is checked
/// without the extension.
bool staysInEnginesFolder(const std::string& engine) {
    const auto place =
        pathInside(layout::enginesFolder(), engine, Levels::one, localized("the engine's name"));
    if (!place) MVAlert::showAlertErrorMessage(place.error().message());
    return place.has_value();
}

}  // namespace

std::optional<std::string> NSCaskeryEngine::nameAfterConversion() const {
    for (const std::string_view generation : oldGenerations) {
        if (engine.starts_with(generation)) return "CK8" + engine.substr(generation.size());
    }
    return std::nullopt;
}

Dialog NSCaskeryEngine::conversionDialog() {
    return MVAlert::booleanDialog(
        localized("Your engine is CK5/CK6/CK7.\nWould you like to convert it into a CK8 Engine?"),
        "Convert Old Engine", true);
}

bool NSCaskeryEngine::offersConversion() const {
    return nameAfterConversion() && isWorthConverting(engine) &&
           MVFileManager::regularFileExistsAtPath(files::join(layout::enginesFolder(), engine + ".tar.7z"));
}

void NSCaskeryEngine::convertOldEngine() {
    const auto newName = nameAfterConversion();
    if (!newName || !offersConversion() || !staysInEnginesFolder(engine) || !staysInEnginesFolder(*newName))
        return;
    if (!MVAlert::isAnsweredYes(conversionDialog()) || !archives::archiveToolWorks("7za")) return;
    const archives::UnpackingFolder folder;
    if (folder.path.empty()) return;
    const Conversion conversion(engine, *newName, folder.path);
    conversion.removeLeftovers();
    if (const auto converted = conversion.run(); !converted) {
        MVAlert::showAlertErrorMessage(
            localized("The engine %@ couldn't be converted: %@. Its archive stays as it is.",
                      {engine, converted.error().reason()}));
        return;
    }
    MVFileManager::removeItemAtPath(conversion.archiveOf(engine));
    engine = *newName;
}

}  // namespace morvane
