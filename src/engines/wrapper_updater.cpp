#include "engines/wrapper_updater.h"

#include <algorithm>
#include <string_view>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/property_list.h"
#include "wrapper/banner.h"
#include "wrapper/registry.h"
#include "wrapper/wrapper.h"

namespace morvane::WrapperUpdater {
namespace {

using files::Kind;

/// What an update leaves in the wrapper until it is finished. `overrides` holds the registry blocks from the
/// moment at which they were read: Wine's own update of the prefix may drop them from the registry.
constexpr const char* journalFile = "/Contents/.morvane-update.plist";
constexpr const char* versionKey = "Version before";
constexpr const char* overridesKey = "Registry";

constexpr const char* bundleVersion = "CFBundleVersion";
constexpr const char* frameworks = "/Contents/Frameworks";
constexpr const char* engineName = "ckwine.bundle";
constexpr std::string_view passingEnding = "ElCapitanFix.app";

constexpr const char* overridesHeader = R"([Software\\Wine\\DllOverrides])";
constexpr const char* exeOverridesPattern = R"([Software\\Wine\\AppDefaults\\*\\DllOverrides])";
constexpr const char* openGlHeader = R"([Software\\Wine\\Opengl])";
constexpr const char* direct3dHeader = R"([Software\\Wine\\Direct3D])";

bool exists(const std::string& path) {
    return files::kindOf(path) != Kind::none;
}

std::optional<Dictionary> dictionaryAt(const std::string& path) {
    auto value = property_lists::read(path);
    auto* dictionary = value ? value->as<Dictionary>() : nullptr;
    if (dictionary == nullptr) return std::nullopt;
    return std::move(*dictionary);
}

bool write(const Dictionary& dictionary, const std::string& path) {
    const auto written = property_lists::write(path, dictionary);
    if (!written)
        MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {written.error().why}));
    return written.has_value();
}

/// Dangling links included, which nobody looks behind.
bool removeWhole(const std::string& path) {
    if (files::kindOf(path) == Kind::link) return files::remove(path).has_value();
    return MVFileManager::removeItemAtPath(path);
}

std::string arriving(const std::string& path) {
    return path + ".new";
}
std::string leaving(const std::string& path) {
    return path + ".old";
}

/// Puts what lies under the arriving name in the place of the old. A kill in between leaves the old one under
/// the leaving name.
bool swapIn(const std::string& path) {
    if (exists(path) && !MVFileManager::moveItemAtPath(path, leaving(path))) return false;
    if (!MVFileManager::moveItemAtPath(arriving(path), path)) {
        static_cast<void>(files::move(leaving(path), path));
        return false;
    }
    return removeWhole(leaving(path));
}

/// Removes the path and copies the source in its place, in an order in which one of both is always there.
bool replaceByCopy(const std::string& source, const std::string& path) {
    if (!exists(path) && exists(leaving(path)) && !MVFileManager::moveItemAtPath(leaving(path), path))
        return false;
    if (!removeWhole(arriving(path)) || !removeWhole(leaving(path))) return false;
    if (MVFileManager::copyItemAtPath(source, arriving(path))) return swapIn(path);
    removeWhole(arriving(path));
    return false;
}

std::string withoutApp(const std::string& wrapper) {
    return wrapper.ends_with(".app") ? wrapper.substr(0, wrapper.size() - 4) : wrapper;
}

class Update {
  public:
    Update(std::string wrapper, std::string version, const StatusBlock& status)
        : wrapper_(std::move(wrapper)),
          version_(std::move(version)),
          master_(files::join(layout::masterFolder(), version_ + ".app")),
          status_(status) {}

    void run() {
        if (!begin()) return;
        status_(localized("Step 1 of 9: Copying most recent binaries"));
        copyFromMaster("/Contents/MacOS");
        status_(localized("Step 2 of 9: Updating Info.plist values"));
        check(updateSettings());
        status_(localized("Step 3 of 9: Copying newest Caskery.app"));
        copyFromMaster("/Caskery.app");
        addHollinBannerAtFile(wrapper_);
        status_(localized("Step 4 of 9: Updating Frameworks folder"));
        check(updateFrameworks());
        status_(localized("Step 5 of 9: Updating nib files"));
        for (const char* name : {"main.nib", "MainMenu.nib"}) {
            copyFromMaster(std::string(layout::resources) + "/English.lproj/" + name);
        }
        status_(localized("Step 6 of 9: Backuping important registry informations"));
        check(saveOverrides());
        status_(localized("Step 7 of 9: Reinstalling engine"));
        runLauncher(wrapper_, "CKS-InstallICE");
        status_(localized("Step 8 of 9: Updating wine and wineserver binaries"));
        if (!refreshPrefix()) return;
        status_(localized("Step 9 of 9: Restoring important registries"));
        NSUtilities::saveUserOverrides(overrides_, wrapper_);
        end();
    }

  private:
    void check(bool succeeded) { isComplete_ = isComplete_ && succeeded; }

    /// What the master wrapper lacks is told, and the wrapper keeps its own; that is nothing to repair.
    void copyFromMaster(const std::string& item) {
        const bool isThere = exists(master_ + item);
        check(replaceByCopy(master_ + item, wrapper_ + item) || !isThere);
    }

    bool begin() {
        const std::string tool = Wrapper(master_).tool();
        if (!MVFileManager::regularFileExistsAtPath(tool) || !dictionaryAt(master_ + layout::infoPlist)) {
            MVAlert::showAlertErrorMessage(localized(
                "The master wrapper %@ is missing or damaged. The wrapper was not updated.", {version_}));
            return false;
        }
        const auto place = backInItsPlace(wrapper_);
        if (!place) {
            MVAlert::showAlertErrorMessage(place.error().message());
            return false;
        }
        wrapper_ = *place;
        journal_ = dictionaryAt(wrapper_ + journalFile).value_or(Dictionary());
        if (!journal_.contains(versionKey)) {
            const auto settings = dictionaryAt(wrapper_ + layout::infoPlist);
            const auto* before = settings ? settings->get<std::string>(bundleVersion) : nullptr;
            journal_.set(versionKey, before != nullptr ? *before : "");
        }
        if (!write(journal_, wrapper_ + journalFile)) return false;
        putFrameworksBack();
        return true;
    }

    /// What failed is tried again by the next update. The registry is the user's again, unless blocks could
    /// not be written back.
    void end() {
        const bool isRestored = hasOverrides();
        if (isComplete_ && isRestored) {
            removeWhole(wrapper_ + journalFile);
            return;
        }
        if (isRestored) journal_.erase(overridesKey);
        write(journal_, wrapper_ + journalFile);
    }

    [[nodiscard]] std::string registryFile() const {
        return NSUtilities::getPathForRegistryFile("user", wrapper_);
    }
    /// Whether the registry has every key that was saved.
    [[nodiscard]] bool hasOverrides() const {
        if (overrides_.empty()) return true;
        const auto text = files::read(registryFile());
        if (!text) return false;
        return std::ranges::all_of(overrides_, [&](const Value& override) {
            const auto* block = override.as<std::string>();
            return block == nullptr || MVString::contains(*text, block->substr(0, block->find(']') + 1));
        });
    }

    /// The wrapper's values win. Its settings are worth more than an update: what can't be read is not
    /// written over.
    [[nodiscard]] bool updateSettings() const {
        const std::string path = wrapper_ + layout::infoPlist;
        auto own = dictionaryAt(path);
        if (!own && exists(path)) {
            MVAlert::showAlertErrorMessage(
                localized("The settings of the wrapper can't be read and stay as they are: %@", {path}));
            return false;
        }
        if (!own) own.emplace();
        own->set(bundleVersion, MVString::replacedAll(version_, "-", " "));
        Dictionary merged = dictionaryAt(master_ + layout::infoPlist).value_or(Dictionary());
        for (const auto& [key, value] : *own) merged.set(key, value);
        return write(merged, path);
    }

    [[nodiscard]] static std::string engineIn(const std::string& folder) {
        return files::join(folder, engineName);
    }
    /// Takes up where a killed step 4 stopped. The engine of the wrapper is in one of three folders then, and
    /// the new folder holds it only when it is complete itself.
    void putFrameworksBack() const {
        const std::string place = wrapper_ + frameworks;
        if (!exists(place)) {
            const bool isComplete = exists(engineIn(arriving(place)));
            const std::string& folder = isComplete ? arriving(place) : leaving(place);
            if (exists(folder)) MVFileManager::moveItemAtPath(folder, place);
        }
        for (const std::string& folder : {arriving(place), leaving(place)}) {
            if (!exists(engineIn(place)) && exists(engineIn(folder)))
                MVFileManager::moveItemAtPath(engineIn(folder), engineIn(place));
        }
    }

    /// The new folder is made whole beside the old one before the engine goes into it.
    [[nodiscard]] bool updateFrameworks() const {
        const std::string place = wrapper_ + frameworks, fresh = arriving(place);
        // Should the engine not have been put back, nothing that holds one may go.
        const bool hadEngine = exists(engineIn(place));
        if (!hadEngine && (exists(engineIn(fresh)) || exists(engineIn(leaving(place))))) return false;
        if (!removeWhole(fresh) || !removeWhole(leaving(place))) return false;
        const bool isCopied =
            MVFileManager::copyItemAtPath(master_ + frameworks, fresh) && removeWhole(engineIn(fresh));
        // A wrapper without any engine, which the failing move tells, gets its tools all the same.
        const bool isMoved = isCopied && MVFileManager::moveItemAtPath(engineIn(place), engineIn(fresh));
        if (!isCopied || (hadEngine && !isMoved)) {
            removeWhole(fresh);
            return false;
        }
        if (swapIn(place)) return hadEngine;
        putFrameworksBack();
        return false;
    }

    /// Reads the blocks, unless an earlier attempt has read them before Wine's tools ran.
    [[nodiscard]] bool saveOverrides() {
        if (const auto* saved = journal_.get<Array>(overridesKey)) {
            overrides_ = *saved;
            return true;
        }
        // Without a registry there is nothing to keep, and one made of these blocks alone would pass for a
        // prefix that has been created. One that can't be read now (which is told) may be readable when the
        // blocks are written back, and must not lose its own to empty ones.
        if (!exists(registryFile())) return true;
        if (!MVString::stringWithContentsOfFile(registryFile(), Encoding::ascii)) return false;
        const auto add = [this](const char* header, const std::string& lines) {
            overrides_.emplace_back(std::string(header) + "\n" + lines);
        };
        add(overridesHeader, getWrapperDLLsOverrideFromWrapper(wrapper_));
        for (const std::string& block : getExesDLLsOverridesFromWrapper(wrapper_))
            overrides_.emplace_back(block);
        add(openGlHeader, getOpenGLConfigurationsFromWrapper(wrapper_));
        add(direct3dHeader, getDirect3DConfigurationsFromWrapper(wrapper_));
        journal_.set(overridesKey, overrides_);
        return write(journal_, wrapper_ + journalFile);
    }

    static void runLauncher(const std::string& wrapper, const char* command) {
        MVTask::ignoreEnding(MVTask::runProgram(Wrapper(wrapper).launcher(), "/",
                                                std::vector<std::string>{command}, Wait::yes));
    }

    /// False when the wrapper could not be moved back.
    [[nodiscard]] bool refreshPrefix() {
        const std::string away = passingName(wrapper_);
        if (!MVFileManager::moveItemAtPath(wrapper_, away)) {
            // The prefix is refreshed all the same.
            runLauncher(wrapper_, "CKS-wineboot");
            return true;
        }
        try {
            runLauncher(away, "CKS-wineboot");
        } catch (...) {
            static_cast<void>(files::move(away, wrapper_));
            throw;
        }
        const auto moved = files::move(away, wrapper_);
        if (moved) return true;
        MVAlert::showAlertErrorMessage(localized("Error while moving file: %@", {moved.error().why}));
        MVAlert::showAlertErrorMessage(
            localized("The wrapper is at %@ now. Update it again to have it moved back.", {away}));
        return false;
    }

    std::string wrapper_;
    const std::string version_, master_;
    const StatusBlock& status_;
    Dictionary journal_;
    Array overrides_;
    bool isComplete_ = true;
};

}  // namespace

bool updateOldCaskeryWrapperAtPath(const std::string& wrapper, const std::string& version,
                                   const StatusBlock& status) {
    Update(wrapper, version, status).run();
    return true;
}

std::string getWrapperDLLsOverrideFromWrapper(const std::string& wrapper) {
    return NSUtilities::getRegistry(overridesHeader, "user", wrapper);
}

std::vector<std::string> getExesDLLsOverridesFromWrapper(const std::string& wrapper) {
    return NSUtilities::getRegistriesWithGramar(exeOverridesPattern, "user", wrapper);
}

std::string getOpenGLConfigurationsFromWrapper(const std::string& wrapper) {
    return NSUtilities::getRegistry(openGlHeader, "user", wrapper);
}

std::string getDirect3DConfigurationsFromWrapper(const std::string& wrapper) {
    return NSUtilities::getRegistry(direct3dHeader, "user", wrapper);
}

std::optional<std::string> versionBeforeUnfinishedUpdate(const std::string& wrapper) {
    const auto journal = dictionaryAt(wrapper + journalFile);
    const auto* version = journal ? journal->get<std::string>(versionKey) : nullptr;
    if (version == nullptr) return std::nullopt;
    return *version;
}

bool needsRepair(const std::string& wrapper) {
    return exists(wrapper + journalFile) || !exists(wrapper + layout::engine);
}

std::string passingName(const std::string& wrapper) {
    return withoutApp(wrapper) + std::string(passingEnding);
}

std::optional<std::string> leftAwayAt(const std::string& path) {
    std::string away = path.ends_with(passingEnding) ? path : passingName(path);
    return exists(away + journalFile) ? std::optional(std::move(away)) : std::nullopt;
}

Result<std::string> backInItsPlace(const std::string& path) {
    std::string wrapper = path;
    // Only a wrapper that was being updated is there by accident: a game may have such a name.
    if (path.ends_with(passingEnding) && exists(path + journalFile)) {
        wrapper = path.substr(0, path.size() - passingEnding.size()) + ".app";
    }
    const std::string away = passingName(wrapper);
    if (!exists(away)) return wrapper;
    if (exists(wrapper)) {
        return Failure{localized("Both %@ and %@ are there.", {wrapper, away}), "",
                       localized("Move the one away that is not your game, and update the wrapper again.")};
    }
    if (const auto done = files::move(away, wrapper); !done) {
        return Failure{localized("Error while moving file"), done.error().why};
    }
    return wrapper;
}

}  // namespace morvane::WrapperUpdater
