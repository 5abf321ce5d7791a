#include "building/plan_components.h"

#include <utility>

#include "building/engine_store.h"
#include "building/foreseen_questions.h"
#include "engines/caskery_engine.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/http.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane {

/// How much larger an engine is than its archive, measured: 43 MB become 168 MB.
constexpr std::uint64_t unpackingRatio = 4;

void planEngine(PlanDraft& draft, const std::string& engine, const std::optional<std::string>& link) {
    using Source = building::EngineSource;
    const auto sources = building::engineSources(engine, link);
    const Source& first = sources.front();
    switch (first.kind) {
        case Source::Kind::stored:
            draft.stage().present.push_back(first.place);
            if (NSCaskeryEngine(first.engine).offersConversion()) {
                draft.ask({.shown = NSCaskeryEngine::conversionDialog(), .answer = localized("Yes")});
            }
            draft.plan.spaceNeeded += unpackingRatio * files::size(first.place).value_or(0);
            break;
        case Source::Kind::official:
        case Source::Kind::link: {
            draft.download(localized("engine %@", {first.engine}), first.place);
            const auto size = draft.stage().downloads.back().size;
            draft.plan.spaceNeeded += unpackingRatio * size.value_or(0);
            break;
        }
        case Source::Kind::user:
            for (auto& each : building::foreseenEngineQuestions(engine)) draft.ask(std::move(each));
            draft.stage().supplies.push_back(localized("the engine %@", {engine}));
    }
}

void PlannedComponents::findScript() {
    script_ = winetricks::scriptWithSource();
    if (!script_) {
        draft_.stage().actions.push_back(
            localized("No verb script can be reached: the wrapper keeps its own"));
    } else if (script_->link.empty()) {
        draft_.stage().present.push_back(winetricks::sharedScript());
    } else {
        // Without the random number that keeps caches from answering.
        const std::string link = script_->link.substr(0, script_->link.find('?'));
        draft_.stage().downloads.push_back({localized("verb script"), link, script_->bytes.size()});
    }
}

void PlannedComponents::addRequests(const std::vector<std::string>& requests) {
    const auto card = NSComputerInformation::graphicCardType();
    for (const std::string& entry : requests) {
        const verb_script::Request request = verb_script::requestOf(entry, card);
        if (!request.applies) {
            draft_.stage().actions.push_back(
                localized("%@ is left out: it is for another graphics card", {entry}));
        } else if (request.kind == verb_script::Request::Kind::engine) {
            draft_.stage().actions.push_back(localized("Changing Engine to %@...", {request.name}));
            planEngine(draft_, request.name, winetricks::linkOfEngineRequest(request.words));
        } else {
            addComponent(request.name);
        }
    }
}

void PlannedComponents::addComponent(const std::string& component) {
    draft_.stage().actions.push_back(localized("Installing %@...", {"winetrick " + component}));
    const auto add = [this](const verb_script::Download& file, bool byHand) { addCached(file, byHand); };
    winetricks::forEachDownload(script_ ? script_->bytes : "", component, visited_, add);
}

void PlannedComponents::addCached(const verb_script::Download& file, bool byHand) {
    const auto place = winetricks::placeInCache(file.folder, file.file);
    if (!place) {
        draft_.stage().actions.push_back(place.error().message());
    } else if (MVFileManager::fileExistsAtPath(*place)) {
        draft_.stage().present.push_back(*place);
    } else if (!isFetchableLink(file.link)) {
        draft_.stage().actions.push_back(localized("%@ is no link that can be followed", {file.link}));
    } else if (byHand) {
        const std::string yes = localized("Yes"), no = localized("No");
        ForeseenQuestion without{.shown = building::noManualDownloadDialog(), .answer = yes};
        draft_.ask({.shown = building::manualDownloadDialog(file.file),
                    .answer = no,
                    .branches = {{no, {std::move(without)}}}});
        draft_.stage().supplies.push_back(
            localized("%@, to be saved from %@ as %@", {file.file, file.link, *place}));
    } else {
        draft_.download(localized("winetrick %@", {file.folder}), file.link);
    }
}

void PlannedComponents::addClient(const store_clients::StoreClient& client) {
    draft_.begin(localized("Installing %@ in the background...", {client.name}));
    for (const std::string& component : client.components) addComponent(component);
    const bool isThere =
        MVFileManager::directoryExistsAtPath(wrapper_) &&
        MVFileManager::fileExistsAtPath(wrapper_ + layout::driveC +
                                        store_clients::proofOnDriveC(client, Wrapper(wrapper_)));
    if (isThere) {
        draft_.stage().present.push_back(client.name);
    } else if (client.link.empty()) {
        draft_.stage().actions.push_back(store_clients::noAddressOf(client.name));
        addManualInstallation(client.name);
    } else {
        draft_.download(localized("%@ installer", {client.name}), client.link);
    }
}

void PlannedComponents::addManualInstallation(const std::string& client) {
    const std::string yes = localized("Yes"), what = localized("%@ installer", {client});
    ForeseenQuestion nothing{.shown = building::noInstallerDialog(), .answer = yes};
    ForeseenQuestion installer{
        .shown = building::installerPanel(""), .answer = what, .branches = {{"", {std::move(nothing)}}}};
    ForeseenQuestion without{.shown = building::withoutClientDialog(client), .answer = yes};
    draft_.ask({.shown = building::manualClientDialog(client),
                .answer = yes,
                .branches = {{yes, {std::move(installer)}}, {localized("No"), {std::move(without)}}}});
    draft_.stage().supplies.push_back(what);
}

}  // namespace morvane
