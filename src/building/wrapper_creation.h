// building/wrapper_creation.h: from a port description to a wrapper that starts.
//
// One object serves one installation after the other; `host().creation` lets only one run in the whole
// application. Stages run on the creation's worker thread, block it, and tell the user of their failures
// themselves; a false result stops the pipeline. A cancellation unwinds them as `Cancelled`, which only the
// entry operations catch.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "building/configuration_stages.h"
#include "foundation/download.h"
#include "platform/private_folder.h"
#include "platform/result.h"
#include "ports/port_data.h"
#include "wrapper/port_manager.h"

namespace morvane {

enum class Trust { no, yes };
/// What becomes of files that are there already.
enum class Replacing { no, ask, yes };

enum class InstallerNow { no, yes };

/// What the blank-port panel holds (class `NSCustomPortView`).
struct NSCustomPortView {
    std::string engine;
    unsigned DRMs = 0;  ///< bits of `drm`
    MacDriver macDriver = MacDriver::no;
    /// Without one, a wrapper that no client goes into asks for no installer and no program, and starts
    /// Wine's file explorer.
    InstallerNow installer = InstallerNow::yes;
};

/// Where the master wrapper of a build comes from.
struct MasterWrapperSource {
    enum class Kind { onDisk, download, archive, none } kind = Kind::none;
    std::string place;  ///< its path, the link of the archive, or the archive's path
};

enum class ExtractedEngine { failure = 0, installed = 1, alreadyThere = 2 };

class WrapperCreation : public Download {
  public:
    /// Called on the creation's thread: whether it failed, and the wrapper's path.
    using CompletionHandler = std::function<void(bool failed, const std::string& wrapper)>;

    /// Asks the site for the newest master wrapper (at most once per process), so not on the main thread.
    explicit WrapperCreation(std::shared_ptr<NSProgressView> progressWindow);

    // Entry (entry.cpp, agreement.cpp)
    /// Any thread; asks, then goes on in the background, where this object is used until the handler has
    /// returned. Where nobody can be asked later, answers that will be missing end it first, as they do in
    /// `installCKI` with trust.
    void createPortFromCKIFile(const std::string& file, CompletionHandler handler);
    /// 0 for success, -1 for failure. With `Replacing::yes` what lies in the wrapper's place steps aside
    /// while the wrapper is built, and is gone when it is there; after a failure it is put back, or the user
    /// is told where it is.
    int installCKI(const std::string& file, const std::string& wrapper, Trust trust,
                   Replacing replacing = Replacing::no);
    [[nodiscard]] bool shouldInstallPortData(const std::optional<Result<NSPortData>>& port, Trust trust);
    /// Why no wrapper can be built from what was loaded, or made at the place: what the user is told.
    [[nodiscard]] static std::optional<std::string> flawOfPort(const std::optional<Result<NSPortData>>& port);
    [[nodiscard]] static std::optional<std::string> flawOfPlace(const std::string& wrapper);
    /// The first of the user's apps folders. An older form of the setting is a single text.
    [[nodiscard]] static std::string folderForNewPorts();
    /// Lines, or empty when there is nothing to ask.
    [[nodiscard]] static std::string requirementsListForPortData(const NSPortData& port);
    /// As `createPortFromCKIFile`. Asks the site for the engines, so better not on the main thread.
    void createBlankPortWithCompletionHandler(CompletionHandler handler);
    int createBlankWrapperAtPath(const std::string& wrapper, const NSCustomPortView& view);
    /// The port that this builds; nothing when it cannot be described.
    [[nodiscard]] static std::optional<NSPortData> portOfBlank(const std::string& wrapper,
                                                               const NSCustomPortView& view);
    /// Any thread; asked every time.
    [[nodiscard]] static bool doYouAgreeWithTheLicenseAgreement();
    /// Main thread.
    [[nodiscard]] static bool agreement();
    /// Main thread: asks, then requests the cancellation. False when the user went on.
    bool cancelWrapperCreation();
    /// The same without the question; any thread, never blocks.
    void requestCancellation();
    /// What a cancelled creation is reported with.
    [[nodiscard]] static std::string cancellationReport();
    /// Ends the creation; false.
    bool errorWithMessage(const std::optional<std::string>& message);

    // Master wrapper (master_wrapper.cpp)
    std::optional<std::string> newestCaskery;
    std::optional<std::string> currentCaskery;
    /// How often `updateCaskery` downloads and unpacks before it gives up on an archive that never yields its
    /// wrapper.
    static constexpr int masterWrapperPasses = 3;
    /// Blocks on the network until an answer is known; a site that says nothing for some seconds leaves it
    /// unknown until the next call.
    [[nodiscard]] static std::optional<std::string> getNewestCaskeryVersion();
    [[nodiscard]] static std::optional<std::string> getCurrentCaskeryVersion();
    [[nodiscard]] MasterWrapperSource masterWrapperSource() const;
    /// True when the current master wrapper is on disk afterwards.
    bool updateCaskery();
    bool copyingMasterWrapperToPath(const std::string& wrapper);
    /// With the progress line "Downloading %@...".
    bool downloadFileToPath(const std::string& url, const std::string& path, const std::string& type);

    // Engine (engine_preparation.cpp)
    bool prepareEngine(const std::string& engine, std::optional<std::string> customLink);
    [[nodiscard]] static std::string localPathForOfficialEngine(const std::string& engine);
    bool downloadOfficialEngine(const std::string& engine);
    /// True always.
    bool getLocalCustomEngine(const std::string& engine);
    ExtractedEngine extractEngine(const std::string& engine, const std::string& wrapper);
    [[nodiscard]] static std::optional<std::string> getCaskeryWrapperEngineFromPath(
        const std::string& wrapper);

    // Creation (creation.cpp)
    bool buildPortAt(const std::string& wrapper, const NSPortData& port);
    bool createWrapperAt(const std::string& wrapper, const std::string& engine);
    /// What a new wrapper is called while its prefix is created, in a folder where it is alone. A wrapper that
    /// was there before stays in its place, and so does one for which no such folder can be had.
    [[nodiscard]] static std::string temporaryNameFor(const std::string& wrapper);

    // Configuration (configuration.cpp, settings_writers.cpp, registry_writers.cpp)
    /// True.
    bool configureWrapperAt(const std::string& wrapper, const NSPortData& port);
    bool saveCloseSafely(bool closeSafely, const std::string& wrapper);
    bool saveCompany(const std::optional<std::string>& company, const std::string& wrapper);
    bool saveMacDriver(bool use, const std::string& wrapper);
    bool saveDirect3DBoost(bool use, const std::string& wrapper);
    bool saveDecorateWindow(bool decorate, const std::string& wrapper);
    /// An empty list keeps the default links.
    bool saveDrives(const std::optional<std::vector<DriveEntry>>& drives, const std::string& wrapper);
    bool saveExtensions(const std::optional<std::vector<ExtensionEntry>>& extensions, NSPortManager& port);
    bool saveOverridesForPortData(const NSPortData& data, NSPortManager& port);
    /// False when the size is not known.
    bool settingVideoCardMemorySizeAtPort(const NSPortManager& port);
    bool removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(const std::string& wrapper);

    // Windows components (winetricks.cpp; winetricks_script.cpp; winetricks_files.cpp)
    /// Replaces the wrapper's verb script and the shared copy by a fresh one, patched. False when there was
    /// none to be had anywhere; true when there was no way to ask. A port that needs the script is warned
    /// then.
    enum class NeedsVerbs { no, yes };
    bool updateWinetricksListAtFile(const std::string& wrapper, NeedsVerbs needsVerbs);
    /// At least 50 bytes of UTF-8 that are no error page.
    [[nodiscard]] static bool isWinetrickFileContentValid(const std::optional<std::string>& bytes);
    static void setWinetricksSilent(Silence silent, const std::string& wrapper);
    /// Components, each with its graphics conditions, and engine changes, in order. True.
    bool installWinetricks(const std::vector<std::string>& requests, const NSPortManager& port);
    /// Fetches what the component, and all that it calls, will download.
    void manuallyDownloadWinetrick(const std::string& component, const std::string& wrapper);
    /// The ordinary downloads in a component's text.
    void downloadWDownloadWinetrick(const std::string& component, const std::string& raw);
    /// The first manual download in a component's text.
    void downloadWDownloadManualWinetrick(const std::string& component, const std::string& raw);
    /// The downloads of a helper function, out of the whole script.
    void downloadHelperWinetrick(const std::string& helper, const std::string& raw);
    void downloadFileFromMorvaneWebsiteToWinetrick(const std::string& file, const std::string& component);
    /// Deletes a file whose sum is another one. The completion gets whether it is to be downloaded again,
    /// which the user decides unless `WithoutAsking::yes`.
    enum class WithoutAsking { no, yes };
    static void compareSHA1Checksum(const std::string& expected, const std::string& file,
                                    WithoutAsking promptingErrorDialog,
                                    const std::function<void(bool again)>& completion);
    /// The component's folder of the download cache, made if needed, with "/" at its end; nothing for a name
    /// that is no folder's name, which is reported.
    [[nodiscard]] static std::optional<std::string> localFolderForWinetrick(const std::string& component);
    /// Prepares the engine of a request's words: its name and, in quotes, a link.
    void verifyingWinetrickThatChangesEngine(const std::vector<std::string>& words);
    /// Puts the prepared engine into the wrapper and brings the prefix up to date.
    void changeEngineTo(const std::string& engine, const std::string& wrapper);

    // Extra files (extra_files.cpp)
    /// True.
    bool downloadExtraFiles(const std::vector<ExtraFileEntry>& entries, const NSPortManager& port);

    // Store clients (store_clients.cpp)
    /// The proof is relative to drive C. False when the user goes on without the client.
    bool installDRM(const std::string& client, const std::string& url, const std::string& flags,
                    const std::string& neededFile, const std::vector<std::string>& winetricks,
                    const NSPortManager& port);
    /// The same result; the registry of Origin and Uplay is edited after a successful installation only.
    bool installSteamAtPort(const NSPortManager& port);
    bool installOriginAtPort(const NSPortManager& port);
    bool installUplayAtPort(const NSPortManager& port);
    bool installGOGGalaxyAtPort(const NSPortManager& port);

    // Installer (installation.cpp)
    /// True.
    bool installApp(const std::optional<std::string>& installerName, const std::optional<std::string>& source,
                    const NSPortManager& port);
    /// The installer that needs no question: on a disc, or in the folder of downloads.
    [[nodiscard]] static std::optional<std::string> foundInstaller(
        const std::optional<std::string>& installerName, const std::optional<std::string>& source);
    /// True.
    bool runInstaller(const std::string& installer, const std::string& flags, const NSPortManager& port);
    /// Main thread.
    static void keepWindowInFrontForAppOfTimer(const std::string& wrapper);
    [[nodiscard]] static std::vector<std::string> desktopFolderBeforeExtraction();
    /// Of the new entries, the shortcuts only.
    static void removeAllFromDesktopFolderAfterExtractionExcept(const std::vector<std::string>& names);
    static void removeUselessDesktopFilesCreatedOnBlock(const std::function<void()>& work);
    [[nodiscard]] static bool relativePathsAreInExes(const std::vector<ExeEntry>& exes);

    // Main program and archives (main_program.cpp, archives.cpp)
    std::optional<std::string> confirmMainExePathForPort(NSPortManager& port,
                                                         const std::optional<std::string>& source);
    [[nodiscard]] static std::optional<std::string> mainExePathFromPort(const NSPortManager& port);
    /// Store what they find.
    static std::optional<std::string> alternateMainExePathForPort(NSPortManager& port);
    static std::optional<std::string> alternateMainExePathForGOGPort(NSPortManager& port);
    [[nodiscard]] static std::optional<std::string> completeWindowsPath(const std::string& windowsPath,
                                                                        const std::string& wrapper);
    /// The archive may lie anywhere. The entries of the folder that were not there before; the archive itself
    /// when its kind is not known. What is to be replaced without a question lies in a wrapper, where a patch
    /// is meant to replace it.
    static std::vector<std::string> extractFileToFolder(const std::string& archive,
                                                        const std::optional<std::string>& folder,
                                                        Replacing replacing = Replacing::yes);
    static std::vector<std::string> extractFile(const std::string& archive);
    /// The same into a fresh folder beside the archive, named after it: for the user's own folders, where an
    /// archive may hold files of any name.
    static std::vector<std::string> extractFileApart(const std::string& archive);
    /// The archive extensions of both tools, for file panels.
    [[nodiscard]] static std::vector<std::string> archiveExtensions();

    // Launch targets and menu (launch_targets.cpp, wrapper_menu.cpp)
    /// True.
    bool saveEXEs(const std::vector<ExeEntry>& exes, NSPortManager& port);
    /// Whether the player is asked for that program, after the installation.
    [[nodiscard]] static bool isProgramToChoose(const ExeEntry& exe);
    /// The wrapper is the one that holds the target's programs.
    void setMainExeDataAtPort(NSPortManager& target, const ExeEntry& exe, const std::string& wrapper);
    static void setScreenOptionsAtPort(NSPortManager& target, const ExeEntry& exe);
    static void createAliasToCustomEXE(const std::string& application, const std::string& wrapper);
    /// True.
    bool saveCaskeryWrapperMenuForPort(const NSPortData& data, const std::string& wrapper);

  private:
    /// What an installation and a blank wrapper have in common: one at a time, the panel, the build, the
    /// failure ending, the cancellation. `portData` gives nothing after it has ended the creation with an
    /// error; `finish` runs after a successful build of a wrapper that was not there before.
    int runCreation(const std::string& wrapper, const std::function<std::optional<NSPortData>()>& portData,
                    const std::function<void()>& finish, Replacing replacing);
    /// False after it has ended the creation, because an answer will be missing.
    bool canAnswerFor(const std::optional<Result<NSPortData>>& port, const std::string& wrapper, Trust trust);
    /// After a cancellation: stops what runs in the wrapper, and removes what this run has made of it.
    void stopAndRemove(const std::string& wrapper) const;
    enum class UnpackedMasterWrapper { failed, broken, done };
    /// One unpacking of the archive in the master folder; broken when the user wants it downloaded again.
    UnpackedMasterWrapper unpackMasterWrapper(const std::string& version);
    /// The step of `createWrapperAt` that runs the wrapper's own tool, at the temporary path where there is
    /// one.
    bool createPrefixOf(const std::string& wrapper);
    /// When the wrapper can't go back to its place.
    void keepOrRemove(const std::string& place, const std::string& wrapper);
    void runStage(ConfigurationStage stage, const NSPortData& port, NSPortManager& settings);
    /// The stage of the settings files, and of what needs nothing but the port's own values.
    void configureData(const NSPortData& port, NSPortManager& settings);
    void setMessage(const std::string& message) const;
    void setSubtitle(const std::string& subtitle) const;

    /// Where the wrapper that this run has made lies now; nothing before it is made, and when it was there
    /// already.
    std::optional<std::string> ownWrapper_;
    /// The temporary path, from the moment at which this run has moved its wrapper there.
    std::optional<std::string> usedTemporaryPath_;
    /// Holds the temporary path.
    std::optional<files::PrivateFolder> passing_;
};

/// The menu list of a port: an entry of the same title is replaced, the new one comes last.
/// `addMenuItemDictionaryOfMenu:withName:andCommand:`.
void addMenuItemDictionaryOfMenu(std::vector<MenuEntry>& menu, const std::string& type,
                                 const std::string& name, const std::string& command);
void addAppMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                      const std::string& command);
void addHelpMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                       const std::string& command);

}  // namespace morvane
