#include "building/build_plan.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <set>

#include "building/configuration_stages.h"
#include "building/engine_extraction.h"
#include "building/engine_store.h"
#include "building/extra_files.h"
#include "building/foreseen_questions.h"
#include "building/installation.h"
#include "building/launch_targets.h"
#include "building/master_wrapper.h"
#include "building/port_checks.h"
#include "building/program_check.h"
#include "building/store_clients.h"
#include "building/verb_script.h"
#include "building/winetricks_files.h"
#include "building/winetricks_lists.h"
#include "engines/caskery_engine.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/layout.h"
#include "wrapper/program_header.h"

namespace morvane {
namespace {

using namespace std::chrono_literals;
using Source = building::EngineSource;

/// What a fresh prefix takes with this machine's Wine, measured: 178 to 184 MB a wrapper.
constexpr std::uint64_t bytesOfPrefix = 185'000'000;
/// How much larger an engine is than its archive, measured: 43 MB become 168 MB.
constexpr std::uint64_t unpackingRatio = 4;

enum class AskForSizes { no, yes };

/// Asks servers for sizes; one that does not answer is asked once.
class Sizes {
  public:
    explicit Sizes(AskForSizes asking) : asking_(asking) {}

    std::optional<std::uint64_t> sizeBehind(const std::string& link) {
        const auto parts = parseUrl(link);
        if (asking_ == AskForSizes::no || !parts || silent_.contains(parts->host) ||
            !NSUtilities::isWebsiteOfUrlAvailable(link))
            return std::nullopt;
        const HttpResponse head =
            http::fetch({.url = link, .idleTimeout = 5s, .headOnly = true}, &host().creation);
        if (!head.error.empty()) silent_.insert(parts->host);
        return head.status == 200 ? head.announcedLength : std::nullopt;
    }

  private:
    const AskForSizes asking_;
    std::set<std::string> silent_;
};

class Planner {
  public:
    Planner(const WrapperCreation& creation, const NSPortData& port, std::string wrapper, AskForSizes asking)
        : creation_(creation), port_(port), wrapper_(std::move(wrapper)), asking_(asking), sizes_(asking) {}

    void addOpening(Place place) {
        begin(localized("Before anything is made"));
        ask({.shown = building::agreementDialog(""), .answer = localized("I Agree"), .othersEnd = true});
        ask({.shown = building::foreignPortDialog(),
             .answer = localized("Install it anyway"),
             .othersEnd = true});
        if (place == Place::proposed) {
            const std::string name = files::withoutExtension(files::lastComponent(wrapper_));
            ask({.shown = building::placePanel(name), .answer = wrapper_});
        }
    }
    /// A blank wrapper's: its place is known, and nobody else has described it.
    void addAgreement() {
        begin(localized("Before anything is made"));
        ask({.shown = building::agreementDialog(""), .answer = localized("I Agree"), .othersEnd = true});
    }
    void addSignature() {
        begin(localized("Before anything is made"));
        if (port_.isSigned()) return;
        ask({.shown = building::unsignedPortDialog(), .answer = localized("Yes"), .othersEnd = true});
    }
    /// Belongs to the stage that is open.
    void addRequirements() {
        const std::string requirements = requirementsListForPortData(port_);
        ask({.shown = building::requirementsDialog(requirements),
             .answer = localized("Yes"),
             .othersEnd = true,
             .isAsked = !requirements.empty()});
        if (!requirements.empty()) stage().supplies = MVString::split(requirements, "\n");
    }

    BuildPlan build() {
        addMasterWrapper();
        addEngine();
        addCreation();
        for (const ConfigurationStage stage : configurationStages(port_)) addConfiguration(stage);
        plan_.spaceFree = files::freeSpace(existing(files::parent(wrapper_)));
        if (!plan_.obstacle && asking_ == AskForSizes::yes) {
            if (const auto installer = building::checkInstaller(port_, wrapper_); !installer)
                plan_.obstacle = installer.error().message();
        }
        return std::move(plan_);
    }

  private:
    PlannedStage& begin(const std::string& title) {
        return plan_.stages.emplace_back(PlannedStage{.title = title});
    }
    PlannedStage& stage() { return plan_.stages.back(); }
    void ask(ForeseenQuestion question) { stage().questions.push_back(std::move(question)); }

    void download(const std::string& what, const std::string& link) {
        const auto size = sizes_.sizeBehind(link);
        stage().downloads.push_back({what, link, size});
        plan_.spaceNeeded += size.value_or(0);
        if (!size) plan_.sizesAreKnown = false;
    }

    /// The innermost folder of the path that exists.
    static std::string existing(std::string folder) {
        while (folder.size() > 1 && !MVFileManager::directoryExistsAtPath(folder))
            folder = files::parent(folder);
        return folder;
    }

    void addMasterWrapper() {
        begin(localized("Master wrapper"));
        const MasterWrapperSource source = masterWrapperSource(creation_);
        switch (source.kind) {
            using enum MasterWrapperSource::Kind;
            case onDisk:
                stage().present.push_back(source.place);
                plan_.spaceNeeded += MVFileManager::sizeOfDirectoryAtPath(source.place);
                break;
            case download:
                this->download(localized("master wrapper %@", {creation_.newestCaskery.value_or("")}),
                               source.place);
                break;
            case archive:
                stage().present.push_back(source.place);
                break;
            case none:
                plan_.obstacle = localized("Caskery Master Wrapper download failed!");
        }
    }

    void addEngineSources(const std::string& engine, const std::optional<std::string>& link) {
        const auto sources = building::engineSources(engine, link);
        const Source& first = sources.front();
        switch (first.kind) {
            case Source::Kind::stored:
                stage().present.push_back(first.place);
                if (NSCaskeryEngine(first.engine).offersConversion()) {
                    ask({.shown = NSCaskeryEngine::conversionDialog(), .answer = localized("Yes")});
                }
                plan_.spaceNeeded += unpackingRatio * files::size(first.place).value_or(0);
                break;
            case Source::Kind::official:
            case Source::Kind::link: {
                download(localized("engine %@", {first.engine}), first.place);
                const auto size = stage().downloads.back().size;
                plan_.spaceNeeded += unpackingRatio * size.value_or(0);
                break;
            }
            case Source::Kind::user:
                for (auto& each : building::foreseenEngineQuestions(engine)) ask(std::move(each));
                stage().supplies.push_back(localized("the engine %@", {engine}));
        }
    }

    void addEngine() {
        begin(localized("Engine"));
        addEngineSources(port_.engine.value_or(""), port_.engineCustomLink);
    }

    void addCreation() {
        PlannedStage& creation = begin(localized("Wrapper"));
        if (MVFileManager::directoryExistsAtPath(wrapper_)) {
            creation.present.push_back(wrapper_);
            return;
        }
        creation.actions = {localized("Copying the master wrapper to %@", {wrapper_}),
                            localized("Unpacking the engine"), localized("Creating drive C")};
        plan_.spaceNeeded += bytesOfPrefix;
    }

    void addConfiguration(ConfigurationStage which) {
        const std::string line = progressLineOf(which);
        switch (which) {
            using enum ConfigurationStage;
            case data:
                begin(line);
                return;
            case drives:
                begin(line);
                for (const DriveEntry& drive : port_.drives.value_or(std::vector<DriveEntry>{})) {
                    stage().actions.push_back(localized("Drive %@ leads to %@", {drive.name, drive.place}));
                }
                return;
            case extensions:
                begin(line);
                for (const ExtensionEntry& each :
                     port_.supportedExtensions.value_or(std::vector<ExtensionEntry>{})) {
                    stage().actions.push_back(
                        localized("Files ending in .%@ open with %@", {each.app, each.func}));
                }
                return;
            case verbScript:
                begin(line);
                addVerbScript();
                return;
            case verbsBefore:
                begin(line);
                addVerbs(winetricksBeforeAppFromList(port_.winetricks));
                return;
            case verbsAfter:
                begin(line);
                addVerbs(winetricksAfterAppFromList(port_.winetricks));
                return;
            case overrides:
                begin(localized("Overriding registries..."));
                for (const Value& each : port_.overrides) {
                    const auto* text = each.as<std::string>();
                    if (text != nullptr) stage().actions.push_back(text->substr(0, text->find('\n')));
                }
                return;
            case programs:
                begin(line);
                return addPrograms();
            case steam:
                return addClient(store_clients::steam());
            case origin:
                return addClient(store_clients::origin());
            case uplay:
                return addClient(store_clients::uplay());
            case gogGalaxy:
                // Its link is asked for on GOG's page.
                if (asking_ == AskForSizes::yes) addClient(store_clients::gogGalaxy());
                return;
            case extraFilesBefore:
                return addExtraFiles(line, port_.extraFilesBeforeInstaller);
            case extraFilesAfter:
                return addExtraFiles(line, port_.extraFilesAfterInstaller);
            case installer:
                begin(line);
                addInstaller();
                return;
            case functionKeys:
                begin(line);
                return;
            case mainProgram:
                begin(localized("Finding the main program"));
                return;
        }
    }

    void addVerbScript() {
        script_ = winetricks::scriptWithSource();
        if (!script_) {
            stage().actions.push_back(localized("No verb script can be reached: the wrapper keeps its own"));
        } else if (script_->link.empty()) {
            stage().present.push_back(winetricks::sharedScript());
        } else {
            // Without the random number that keeps caches from answering.
            const std::string link = script_->link.substr(0, script_->link.find('?'));
            stage().downloads.push_back({localized("verb script"), link, script_->bytes.size()});
        }
    }

    void addVerbs(const std::vector<std::string>& requests) {
        const auto card = NSComputerInformation::graphicCardType();
        for (const std::string& entry : requests) {
            const verb_script::Request request = verb_script::requestOf(entry, card);
            if (!request.applies) {
                stage().actions.push_back(
                    localized("%@ is left out: it is for another graphics card", {entry}));
            } else if (request.kind == verb_script::Request::Kind::engine) {
                stage().actions.push_back(localized("Changing Engine to %@...", {request.name}));
                addEngineSources(request.name, winetricks::linkOfEngineRequest(request.words));
            } else {
                addComponent(request.name);
            }
        }
    }

    void addComponent(const std::string& component) {
        stage().actions.push_back(localized("Installing %@...", {"winetrick " + component}));
        const auto add = [this](const verb_script::Download& file, bool byHand) { addCached(file, byHand); };
        winetricks::forEachDownload(script_ ? script_->bytes : "", component, visited_, add);
    }

    void addCached(const verb_script::Download& file, bool byHand) {
        const auto place = winetricks::placeInCache(file.folder, file.file);
        if (!place) {
            stage().actions.push_back(place.error().message());
        } else if (MVFileManager::fileExistsAtPath(*place)) {
            stage().present.push_back(*place);
        } else if (!winetricks::isWebLink(file.link)) {
            stage().actions.push_back(localized("%@ is no link that can be followed", {file.link}));
        } else if (byHand) {
            const std::string yes = localized("Yes"), no = localized("No");
            ForeseenQuestion without{.shown = building::noManualDownloadDialog(), .answer = yes};
            ask({.shown = building::manualDownloadDialog(file.file),
                 .answer = no,
                 .branches = {{no, {std::move(without)}}}});
            stage().supplies.push_back(
                localized("%@, to be saved from %@ as %@", {file.file, file.link, *place}));
        } else {
            download(localized("winetrick %@", {file.folder}), file.link);
        }
    }

    void addClient(const store_clients::StoreClient& client) {
        begin(localized("Installing %@ in the background...", {client.name}));
        for (const std::string& component : client.components) addComponent(component);
        const bool isThere = MVFileManager::directoryExistsAtPath(wrapper_) &&
                             MVFileManager::fileExistsAtPath(wrapper_ + layout::driveC +
                                                             store_clients::proofOnDriveC(client, wrapper_));
        if (isThere) {
            stage().present.push_back(client.name);
        } else if (client.link.empty()) {
            stage().actions.push_back(store_clients::noAddressOf(client.name));
            addManualInstallation(client.name);
        } else {
            download(localized("%@ installer", {client.name}), client.link);
        }
    }

    void addManualInstallation(const std::string& client) {
        const std::string yes = localized("Yes"), what = localized("%@ installer", {client});
        ForeseenQuestion nothing{.shown = building::noInstallerDialog(), .answer = yes};
        ForeseenQuestion installer{
            .shown = building::installerPanel(""), .answer = what, .branches = {{"", {std::move(nothing)}}}};
        ForeseenQuestion without{.shown = building::withoutClientDialog(client), .answer = yes};
        ask({.shown = building::manualClientDialog(client),
             .answer = yes,
             .branches = {{yes, {std::move(installer)}}, {localized("No"), {std::move(without)}}}});
        stage().supplies.push_back(what);
    }

    void addExtraFiles(const std::string& title, const std::vector<ExtraFileEntry>& entries) {
        begin(title);
        for (const ExtraFileEntry& entry : entries) {
            const std::string name = extra_files::fileNameOf(entry);
            if (extra_files::isDownloaded(entry)) {
                download(localized("extra file %@", {name}), *entry.origin);
            } else {
                ask({.shown = building::extraFilePanel(entry), .answer = entry.origin.value_or("")});
                stage().supplies.push_back(entry.origin.value_or(""));
            }
            if (entry.autorun) stage().actions.push_back(localized("Running %@...", {name}));
        }
    }

    void addInstaller() {
        const std::string name = building::installerNameIn(port_.originalInstallerName);
        const auto installer = foundInstaller(port_.originalInstallerName, port_.source);
        if (installer) {
            stage().present.push_back(*installer);
            stage().actions.push_back(localized("Running %@...", {*installer}));
            if (machineOf(*installer) == Machine::x86) {
                stage().actions.push_back(localized("It is a 32-bit program, which the engine must run"));
            }
            return;
        }
        ForeseenQuestion without{.shown = building::noInstallerDialog(), .answer = localized("Yes")};
        const std::string what = name.empty() ? localized("the game's installer") : name;
        ask({.shown = building::installerPanel(name),
             .answer = what,
             .check =
                 [engine = port_.engine.value_or(""), wrapper = wrapper_](const std::string& path) {
                     return building::checkProgramForEngine(path,
                                                            building::engineForWrapper(engine, wrapper));
                 },
             .branches = {{"", {std::move(without)}}}});
        stage().supplies.push_back(what);
    }

    void addPrograms() {
        for (const ExeEntry& exe : port_.exes) {
            stage().actions.push_back(exe.name + ": " + exe.path);
            if (!isProgramToChoose(exe)) continue;
            ask({.shown = building::programPanel(exe.name, ""),
                 .answer = localized("the program's path on the wrapper's drive C"),
                 .isMadeByTheWork = true});
        }
    }

    const WrapperCreation& creation_;
    const NSPortData& port_;
    const std::string wrapper_;
    const AskForSizes asking_;
    Sizes sizes_;
    std::optional<winetricks::Script> script_;
    std::set<std::string> visited_;
    BuildPlan plan_;
};

std::string withUnit(std::uint64_t bytes) {
    return NSUtilities::humanReadableSizeForBytes(static_cast<std::int64_t>(bytes),
                                                  DecimalMeasureSystem::yes);
}

Array asArray(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

/// What is asked, on one line: the rest of a long text is shown when it is asked.
std::string headingOf(const ForeseenQuestion& question) {
    if (const auto* dialog = std::get_if<Dialog>(&question.shown)) {
        const std::string text = dialog->text.substr(0, dialog->text.find('\n'));
        return text.empty() ? dialog->title : dialog->title + ": " + text;
    }
    const auto* open = std::get_if<OpenPanel>(&question.shown);
    return open != nullptr ? open->title : std::get<SavePanel>(question.shown).title;
}

std::vector<std::string> buttonsOf(const ForeseenQuestion& question) {
    const auto* dialog = std::get_if<Dialog>(&question.shown);
    return dialog != nullptr ? dialog->buttons : std::vector<std::string>{};
}

const std::vector<ForeseenQuestion>& nextAfterTheAnswer(const ForeseenQuestion& question) {
    static const std::vector<ForeseenQuestion> none;
    const auto branch =
        std::ranges::find(question.branches, question.answer, &ForeseenQuestion::Branch::button);
    return branch != question.branches.end() ? branch->questions : none;
}

void addQuestions(std::string& text, const std::vector<ForeseenQuestion>& questions,
                  const OptionOf& optionOf) {
    for (const ForeseenQuestion& question : questions) {
        if (!question.isAsked) continue;
        text += "   " + localized("question: %@", {headingOf(question)});
        for (const std::string& button : buttonsOf(question)) text += " [" + button + "]";
        text += "\n             " + optionOf(question) + "\n";
        addQuestions(text, nextAfterTheAnswer(question), optionOf);
    }
}

Array asArray(const std::vector<ForeseenQuestion>& questions, const OptionOf& optionOf) {
    Array array;
    for (const ForeseenQuestion& question : questions) {
        if (!question.isAsked) continue;
        const auto* dialog = std::get_if<Dialog>(&question.shown);
        array.push_back(Dictionary{{"title", dialog != nullptr ? dialog->title : headingOf(question)},
                                   {"text", dialog != nullptr ? dialog->text : ""},
                                   {"buttons", asArray(buttonsOf(question))},
                                   {"answer", question.answer},
                                   {"option", optionOf(question)}});
        for (Value& next : asArray(nextAfterTheAnswer(question), optionOf)) array.push_back(std::move(next));
    }
    return array;
}

}  // namespace

BuildPlan planOfBuild(const WrapperCreation& creation, const std::optional<Result<NSPortData>>& port,
                      const std::string& wrapper, Place place) {
    if (const auto checked = checkPort(port); !checked) return {.obstacle = checked.error().message()};
    if (place == Place::chosen) {
        if (const auto checked = checkPlace(wrapper); !checked)
            return {.obstacle = checked.error().message()};
    }
    Planner planner(creation, **port, wrapper, AskForSizes::yes);
    planner.addOpening(place);
    planner.addRequirements();
    return planner.build();
}

std::vector<ForeseenQuestion> questionsOf(const BuildPlan& plan) {
    std::vector<ForeseenQuestion> questions;
    for (const PlannedStage& stage : plan.stages) {
        questions.insert(questions.end(), stage.questions.begin(), stage.questions.end());
    }
    return questions;
}

std::vector<ForeseenQuestion> questionsOfBuild(const WrapperCreation& creation, const NSPortData& port,
                                               const std::string& wrapper, Trust trust) {
    Planner planner(creation, port, wrapper, AskForSizes::no);
    if (trust == Trust::yes) {
        planner.addSignature();
    } else {
        planner.addOpening(Place::proposed);
    }
    planner.addRequirements();
    return questionsOf(planner.build());
}

std::vector<ForeseenQuestion> questionsOfBlank(const WrapperCreation& creation, const NSPortData& port,
                                               const std::string& wrapper) {
    Planner planner(creation, port, wrapper, AskForSizes::no);
    planner.addAgreement();
    return questionsOf(planner.build());
}

std::string shown(const BuildPlan& plan, const OptionOf& optionOf) {
    std::string text;
    if (plan.obstacle) text += localized("This port can't be built: %@", {*plan.obstacle}) + "\n";
    int number = 0;
    for (const PlannedStage& stage : plan.stages) {
        text += std::to_string(++number) + ". " + stage.title + "\n";
        for (const std::string& each : stage.present) text += "   " + localized("there: %@", {each}) + "\n";
        for (const PlannedDownload& each : stage.downloads) {
            const auto parts = parseUrl(each.link);
            const std::string size = each.size ? withUnit(*each.size) : localized("size not known");
            text +=
                "   " +
                localized("download: %@ from %@ (%@)", {each.what, parts ? parts->host : each.link, size}) +
                "\n" + "             " + each.link + "\n";
        }
        for (const std::string& each : stage.actions) text += "   " + each + "\n";
        addQuestions(text, stage.questions, optionOf);
        for (const std::string& each : stage.supplies) text += "   " + localized("bring: %@", {each}) + "\n";
    }
    if (plan.stages.empty()) return text;
    const std::string needed = withUnit(plan.spaceNeeded);
    text += plan.sizesAreKnown ? localized("Space needed: about %@", {needed})
                               : localized("Space needed: more than %@", {needed});
    if (plan.spaceFree) text += localized(", free: %@", {withUnit(*plan.spaceFree)});
    return text + "\n";
}

Value asValue(const BuildPlan& plan, const OptionOf& optionOf) {
    Array stages;
    for (const PlannedStage& stage : plan.stages) {
        Array downloads;
        for (const PlannedDownload& each : stage.downloads) {
            const auto parts = parseUrl(each.link);
            downloads.push_back(
                Dictionary{{"what", each.what},
                           {"link", each.link},
                           {"host", parts ? Value(parts->host) : Value()},
                           {"size", each.size ? Value(static_cast<std::int64_t>(*each.size)) : Value()}});
        }
        stages.push_back(Dictionary{{"title", stage.title},
                                    {"present", asArray(stage.present)},
                                    {"downloads", std::move(downloads)},
                                    {"actions", asArray(stage.actions)},
                                    {"questions", asArray(stage.questions, optionOf)},
                                    {"supplies", asArray(stage.supplies)}});
    }
    return Dictionary{
        {"obstacle", plan.obstacle ? Value(*plan.obstacle) : Value()},
        {"stages", std::move(stages)},
        {"spaceNeeded", static_cast<std::int64_t>(plan.spaceNeeded)},
        {"sizesAreKnown", plan.sizesAreKnown},
        {"spaceFree", plan.spaceFree ? Value(static_cast<std::int64_t>(*plan.spaceFree)) : Value()}};
}

}  // namespace morvane
