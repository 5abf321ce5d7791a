#include "building/build_plan.h"

#include "building/build.h"
#include "building/build_record.h"
#include "building/configuration_stages.h"
#include "building/engine_extraction.h"
#include "building/extra_files.h"
#include "building/foreseen_questions.h"
#include "building/installation.h"
#include "building/launch_targets.h"
#include "building/master_wrapper.h"
#include "building/plan_components.h"
#include "building/plan_draft.h"
#include "building/port_checks.h"
#include "building/program_check.h"
#include "building/store_clients.h"
#include "building/winetricks_lists.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "wrapper/program_header.h"
#include "wrapper/saved_games.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

/// What a fresh prefix takes with this machine's Wine, measured: 178 to 184 MB a wrapper.
constexpr std::uint64_t bytesOfPrefix = 185'000'000;

/// The innermost folder of the path that exists.
std::string existing(std::string folder) {
    while (folder.size() > 1 && !MVFileManager::directoryExistsAtPath(folder)) folder = files::parent(folder);
    return folder;
}

class Planner {
  public:
    Planner(const Build& build, const NSPortData& port, std::string wrapper, AskForSizes asking)
        : build_(build),
          port_(port),
          wrapper_(std::move(wrapper)),
          draft_(asking),
          components_(draft_, wrapper_) {}

    void addOpening(Place place) {
        draft_.begin(localized("Before anything is made"));
        draft_.ask(
            {.shown = building::agreementDialog(""), .answer = localized("I Agree"), .othersEnd = true});
        draft_.ask({.shown = building::foreignPortDialog(""),
                    .answer = localized("Install it anyway"),
                    .othersEnd = true});
        if (place == Place::proposed) {
            const std::string name = files::withoutExtension(files::lastComponent(wrapper_));
            draft_.ask({.shown = building::placePanel(name), .answer = wrapper_});
        }
    }
    /// A blank wrapper's: its place is known, and nobody else has described it.
    void addAgreement() {
        draft_.begin(localized("Before anything is made"));
        draft_.ask(
            {.shown = building::agreementDialog(""), .answer = localized("I Agree"), .othersEnd = true});
    }
    void addSignature() {
        draft_.begin(localized("Before anything is made"));
        if (port_.isSigned()) return;
        draft_.ask({.shown = building::unsignedPortDialog(), .answer = localized("Yes"), .othersEnd = true});
    }
    /// Of the wrapper that lies in the place. Belongs to the stage that is open.
    void addSavedGames() {
        const Wrapper replaced(wrapper_);
        const auto there = BuildRecord::of(replaced);
        const bool goesOn =
            there && !there->isFinished && there->port == port_.recipe && !port_.recipe.empty();
        draft_.ask({.shown = building::unfinishedDialog(replaced.name()),
                    .answer = localized("Yes"),
                    .isAsked = goesOn});
        draft_.ask({.shown = saved_games::offerDialog(replaced.name()),
                    .answer = localized("Yes"),
                    .isAsked = saved_games::hasAny(replaced)});
    }
    /// Belongs to the stage that is open.
    void addRequirements() {
        const std::string requirements = requirementsListForPortData(port_);
        draft_.ask({.shown = building::requirementsDialog(requirements),
                    .answer = localized("Yes"),
                    .othersEnd = true,
                    .isAsked = !requirements.empty()});
        if (!requirements.empty()) draft_.stage().supplies = MVString::split(requirements, "\n");
    }

    BuildPlan finished() {
        addMasterWrapper();
        addEngine();
        addCreation();
        for (const ConfigurationStage stage : configurationStages(port_)) addConfiguration(stage);
        draft_.plan.spaceFree = files::freeSpace(existing(files::parent(wrapper_)));
        if (!draft_.plan.obstacle && draft_.asksServers()) {
            if (const auto installer = building::checkInstaller(port_, wrapper_); !installer)
                draft_.plan.obstacle = installer.error().message();
        }
        return std::move(draft_.plan);
    }

  private:
    void addMasterWrapper() {
        draft_.begin(localized("Master wrapper"));
        const MasterWrapperSource source = masterWrapperSource(build_);
        switch (source.kind) {
            using enum MasterWrapperSource::Kind;
            case onDisk:
                draft_.stage().present.push_back(source.place);
                draft_.plan.spaceNeeded += MVFileManager::sizeOfDirectoryAtPath(source.place);
                break;
            case download:
                draft_.download(localized("master wrapper %@", {build_.newestCaskery.value_or("")}),
                                source.place);
                break;
            case archive:
                draft_.stage().present.push_back(source.place);
                break;
            case none:
                draft_.plan.obstacle = localized("Caskery Master Wrapper download failed!");
        }
    }

    void addEngine() {
        draft_.begin(localized("Engine"));
        planEngine(draft_, port_.engine.value_or(""), port_.engineCustomLink);
    }

    void addCreation() {
        PlannedStage& creation = draft_.begin(localized("Wrapper"));
        if (MVFileManager::directoryExistsAtPath(wrapper_)) {
            creation.present.push_back(wrapper_);
            return;
        }
        creation.actions = {localized("Copying the master wrapper to %@", {wrapper_}),
                            localized("Unpacking the engine"), localized("Creating drive C")};
        draft_.plan.spaceNeeded += bytesOfPrefix;
    }

    void addConfiguration(ConfigurationStage which) {
        const std::string line = progressLineOf(which);
        switch (which) {
            using enum ConfigurationStage;
            case data:
                draft_.begin(line);
                return;
            case drives:
                draft_.begin(line);
                for (const DriveEntry& drive : port_.drives.value_or(std::vector<DriveEntry>{})) {
                    draft_.stage().actions.push_back(
                        localized("Drive %@ leads to %@", {drive.name, drive.place}));
                }
                return;
            case extensions:
                draft_.begin(line);
                for (const ExtensionEntry& each :
                     port_.supportedExtensions.value_or(std::vector<ExtensionEntry>{})) {
                    draft_.stage().actions.push_back(
                        localized("Files ending in .%@ open with %@", {each.app, each.func}));
                }
                return;
            case verbScript:
                draft_.begin(line);
                components_.findScript();
                return;
            case verbsBefore:
                draft_.begin(line);
                components_.addRequests(winetricksBeforeAppFromList(port_.winetricks));
                return;
            case verbsAfter:
                draft_.begin(line);
                components_.addRequests(winetricksAfterAppFromList(port_.winetricks));
                return;
            case overrides:
                draft_.begin(localized("Overriding registries..."));
                for (const Value& each : port_.overrides) {
                    const auto* text = each.as<std::string>();
                    if (text != nullptr) draft_.stage().actions.push_back(text->substr(0, text->find('\n')));
                }
                return;
            case programs:
                draft_.begin(line);
                return addPrograms();
            case steam:
                return components_.addClient(store_clients::steam());
            case origin:
                return components_.addClient(store_clients::origin());
            case uplay:
                return components_.addClient(store_clients::uplay());
            case gogGalaxy:
                // Its link is asked for on GOG's page.
                if (draft_.asksServers()) components_.addClient(store_clients::gogGalaxy());
                return;
            case extraFilesBefore:
                return addExtraFiles(line, port_.extraFilesBeforeInstaller);
            case extraFilesAfter:
                return addExtraFiles(line, port_.extraFilesAfterInstaller);
            case installer:
                draft_.begin(line);
                addInstaller();
                return;
            case functionKeys:
                draft_.begin(line);
                return;
            case mainProgram:
                draft_.begin(localized("Finding the main program"));
                return;
        }
    }

    void addExtraFiles(const std::string& title, const std::vector<ExtraFileEntry>& entries) {
        draft_.begin(title);
        for (const ExtraFileEntry& entry : entries) {
            const std::string name = extra_files::fileNameOf(entry);
            if (extra_files::isDownloaded(entry)) {
                draft_.download(localized("extra file %@", {name}), *entry.origin);
            } else {
                draft_.ask({.shown = building::extraFilePanel(entry), .answer = entry.origin.value_or("")});
                draft_.stage().supplies.push_back(entry.origin.value_or(""));
            }
            if (entry.autorun) draft_.stage().actions.push_back(localized("Running %@...", {name}));
        }
    }

    void addInstaller() {
        const std::string name = building::installerNameIn(port_.originalInstallerName);
        const auto installer = foundInstaller(port_.originalInstallerName, port_.source);
        if (installer) {
            draft_.stage().present.push_back(*installer);
            draft_.stage().actions.push_back(localized("Running %@...", {*installer}));
            if (machineOf(*installer) == Machine::x86) {
                draft_.stage().actions.push_back(
                    localized("It is a 32-bit program, which the engine must run"));
            }
            return;
        }
        ForeseenQuestion without{.shown = building::noInstallerDialog(), .answer = localized("Yes")};
        const std::string what = name.empty() ? localized("the game's installer") : name;
        draft_.ask({.shown = building::installerPanel(name),
                    .answer = what,
                    .check =
                        [engine = port_.engine.value_or(""), wrapper = wrapper_](const std::string& path) {
                            return building::checkProgramForEngine(
                                path, building::engineForWrapper(engine, Wrapper(wrapper)));
                        },
                    .branches = {{"", {std::move(without)}}}});
        draft_.stage().supplies.push_back(what);
    }

    void addPrograms() {
        for (const ExeEntry& exe : port_.exes) {
            draft_.stage().actions.push_back(exe.name + ": " + exe.path);
            if (!isProgramToChoose(exe)) continue;
            draft_.ask({.shown = building::programPanel(exe.name, ""),
                        .answer = localized("the program's path on the wrapper's drive C"),
                        .isMadeByTheWork = true});
        }
    }

    const Build& build_;
    const NSPortData& port_;
    const std::string wrapper_;
    PlanDraft draft_;
    PlannedComponents components_;
};

}  // namespace

BuildPlan planOfBuild(const Build& build, const std::optional<Result<NSPortData>>& port,
                      const std::string& wrapper, Place place) {
    if (const auto checked = checkPort(port); !checked) return {.obstacle = checked.error().message()};
    if (place == Place::chosen) {
        if (const auto checked = checkPlace(wrapper); !checked)
            return {.obstacle = checked.error().message()};
    }
    Planner planner(build, **port, wrapper, AskForSizes::yes);
    planner.addOpening(place);
    planner.addRequirements();
    planner.addSavedGames();
    return planner.finished();
}

std::vector<ForeseenQuestion> questionsOf(const BuildPlan& plan) {
    std::vector<ForeseenQuestion> questions;
    for (const PlannedStage& stage : plan.stages) {
        questions.insert(questions.end(), stage.questions.begin(), stage.questions.end());
    }
    return questions;
}

std::vector<ForeseenQuestion> questionsOfBuild(const Build& build, const NSPortData& port,
                                               const std::string& wrapper, Place place) {
    Planner planner(build, port, wrapper, AskForSizes::no);
    planner.addOpening(place);
    planner.addRequirements();
    planner.addSavedGames();
    return questionsOf(planner.finished());
}

std::vector<ForeseenQuestion> questionsOfTrustedBuild(const Build& build, const NSPortData& port,
                                                      const std::string& wrapper) {
    Planner planner(build, port, wrapper, AskForSizes::no);
    planner.addSignature();
    planner.addRequirements();
    planner.addSavedGames();
    return questionsOf(planner.finished());
}

std::vector<ForeseenQuestion> questionsOfBlank(const Build& build, const NSPortData& port,
                                               const std::string& wrapper) {
    Planner planner(build, port, wrapper, AskForSizes::no);
    planner.addAgreement();
    planner.addSavedGames();
    return questionsOf(planner.finished());
}

}  // namespace morvane
