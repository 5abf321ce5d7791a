#include "support/test_machine.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "foundation/settings.h"
#include "platform/folders.h"

namespace morvane::testing {

namespace fs = std::filesystem;

ScriptedUserInterface::~ScriptedUserInterface() {
    for (const auto& expectation : script_) ADD_FAILURE() << "never asked: " << expectation->text;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::Expectation::answer(const std::string& title) {
    button = title;
    return *this;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::Expectation::type(const std::string& input) {
    typed = input;
    return *this;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::Expectation::choose(const std::string& wanted) {
    option = wanted;
    return *this;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::Expectation::defaultIs(const std::string& title) {
    expectedDefault = title;
    return *this;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::Expectation::titleIs(const std::string& title) {
    expectedTitle = title;
    return *this;
}

void ScriptedUserInterface::Expectation::throws() {
    throwing = true;
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::expect(const std::string& text) {
    script_.push_back(std::make_unique<Expectation>());
    script_.back()->text = text;
    return *script_.back();
}

ScriptedUserInterface::Expectation& ScriptedUserInterface::expectError(const std::string& text) {
    return expect(text).titleIs("Error");
}

void ScriptedUserInterface::expectChoice(const std::string& title, std::vector<std::string> paths) {
    Expectation& expectation = expect(title);
    expectation.kind = Expectation::Kind::open;
    expectation.paths = std::move(paths);
}

void ScriptedUserInterface::expectSave(const std::string& title, const std::string& path,
                                       std::function<void(Form&)> form) {
    Expectation& expectation = expect(title);
    expectation.kind = Expectation::Kind::save;
    if (!path.empty()) expectation.paths = {path};
    expectation.form = std::move(form);
}

std::unique_ptr<ScriptedUserInterface::Expectation> ScriptedUserInterface::next(Expectation::Kind kind,
                                                                                const std::string& shown) {
    if (script_.empty() && answerOfTheRest) return nullptr;
    if (script_.empty()) {
        ADD_FAILURE() << "unexpected: " << shown;
        return nullptr;
    }
    if (script_.front()->kind != kind || !shown.starts_with(script_.front()->text)) {
        ADD_FAILURE() << "asked: " << shown << "\nexpected: " << script_.front()->text;
        return nullptr;
    }
    auto expectation = std::move(script_.front());
    script_.pop_front();
    return expectation;
}

DialogAnswer ScriptedUserInterface::showDialog(const Dialog& dialog) {
    dialogs.push_back(dialog);
    if (whileAsking) whileAsking();
    const bool isInput = std::holds_alternative<TextField>(dialog.accessory);
    const auto expectation = next(Expectation::Kind::dialog, isInput ? dialog.title : dialog.text);
    if (!expectation) {
        const auto found = std::ranges::find(dialog.buttons, answerOfTheRest.value_or(""));
        const bool isButton = found != dialog.buttons.end();
        return {.button = isButton ? static_cast<std::size_t>(found - dialog.buttons.begin())
                                   : dialog.defaultButton,
                .text = ""};
    }
    if (expectation->throwing) throw std::runtime_error("nobody answers");
    if (!expectation->expectedTitle.empty()) {
        EXPECT_EQ(dialog.title, expectation->expectedTitle);
    }
    if (!expectation->expectedDefault.empty()) {
        EXPECT_EQ(dialog.buttons.at(dialog.defaultButton), expectation->expectedDefault);
    }
    const auto button = std::find(dialog.buttons.begin(), dialog.buttons.end(), expectation->button);
    if (button == dialog.buttons.end()) {
        ADD_FAILURE() << "no button \"" << expectation->button << "\" on: " << dialog.text;
        return {.button = dialog.defaultButton, .text = ""};
    }
    DialogAnswer answer{.button = static_cast<std::size_t>(button - dialog.buttons.begin()),
                        .text = expectation->typed};
    if (const auto* box = std::get_if<ChoiceBox>(&dialog.accessory)) {
        answer.chosen = box->chosen;
        if (expectation->option.empty()) return answer;
        const auto option = std::find(box->options.begin(), box->options.end(), expectation->option);
        if (option == box->options.end()) ADD_FAILURE() << "no option \"" << expectation->option << "\"";
        answer.chosen = static_cast<std::size_t>(option - box->options.begin());
    }
    return answer;
}

std::vector<std::string> ScriptedUserInterface::chooseFiles(const OpenPanel& panel) {
    openPanels.push_back(panel);
    if (whileAsking) whileAsking();
    const auto expectation = next(Expectation::Kind::open, panel.title);
    return expectation ? expectation->paths : std::vector<std::string>{};
}

std::optional<std::string> ScriptedUserInterface::chooseSavePath(const SavePanel& panel) {
    savePanels.push_back(panel);
    if (whileAsking) whileAsking();
    const auto expectation = next(Expectation::Kind::save, panel.title);
    if (!expectation || expectation->paths.empty()) return std::nullopt;
    if (expectation->form && panel.accessory != nullptr) expectation->form(*panel.accessory);
    return expectation->paths.front();
}

void ScriptedUserInterface::showProgress(const ProgressState& state) {
    progress.push_back(state);
}

void ScriptedUserInterface::notify(const Notification& notification) {
    notifications.push_back(notification);
}

std::vector<std::string> ScriptedUserInterface::statusLines() const {
    std::vector<std::string> lines;
    for (const ProgressState& state : progress) {
        if (lines.empty() || lines.back() != state.status) lines.push_back(state.status);
    }
    return lines;
}

namespace {

std::string freshFolder() {
    std::string name = fs::temp_directory_path().string() + "/morvane-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    return fs::canonical(name).string();
}

}  // namespace

TemporaryFolder::TemporaryFolder() : path(freshFolder()) {}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    for (auto entry = fs::recursive_directory_iterator(path, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(path, ignored);
}

TestMachine::TestMachine(MessageCatalogue texts)
    : home(folder.path + "/home"), programsFolder(folder.path + "/programs") {
    reachable = [](const std::string& name) { return name != "offline.invalid"; };
    for (const char* name : {"/home/Applications", "/home/Desktop", "/home/Downloads", "/home/Library",
                             "/Volumes", "/passing", "/tmp", "/programs", "/root"}) {
        fs::create_directories(folder.path + name);
    }
    Folders folders;
    folders.home = folders.library = home;
    folders.verbsCache = home + "/.cache/winetricks";
    folders.applicationData = home + "/.local/share";
    folders.applications = home + "/Applications";
    folders.volumes = folder.path + "/Volumes";
    folders.temporary = folder.path + "/passing";
    folders.sharedTemporary = folder.path + "/tmp";
    folders.resources = environmentVariable("MORVANE_TEST_RESOURCES");
    if (folders.resources.empty()) folders.resources = MORVANE_SHARE_FOLDER;
    folders.programs = programsFolder;
    folders.desktop = home + "/Desktop";
    folders.downloads = home + "/Downloads";
    folders.systemRoot = folder.path + "/root";
    Host::Options options;
    options.folders = folders;
    options.texts = std::move(texts);
    options.sites = {.caskery = "http://offline.invalid/", .catalogue = "http://offline.invalid/"};
    options.searchPath = environmentVariable("PATH") + ":" MORVANE_SHARE_FOLDER "/programs";
    options.reachability = [this](const std::string& name) { return reachable(name); };
    options.appsFolders = [] { return settings::storedFolders(settings::mainFolder); };
    machine = std::make_unique<Host>(std::move(options), ui);
}

TestMachine::~TestMachine() {
    // Its queues may still ask what the members below stand for.
    machine.reset();
}

void TestMachine::onWorker(const std::function<void()>& work, std::chrono::seconds limit) {
    std::atomic<bool> done = false;
    bool late = false;
    std::exception_ptr exception;
    const auto timer = machine->mainQueue.after(limit, [&] {
        ADD_FAILURE() << "the work did not end";
        late = true;
        machine->creation.request();
    });
    std::thread worker([&] {
        try {
            work();
        } catch (...) {
            exception = std::current_exception();
        }
        done = true;
        machine->mainQueue.wake();
    });
    machine->mainQueue.runUntil([&] { return done.load(); });
    worker.join();
    machine->mainQueue.cancelTimer(timer);
    // What the work posted last is part of what it did.
    machine->mainQueue.drain();
    if (exception && !late) std::rethrow_exception(exception);
}

void TestMachine::scriptProgram(const std::string& name, const std::string& script) {
    put(programsFolder + "/" + name, "#!/bin/sh\n" + script + "\n", true);
}

void TestMachine::put(const std::string& path, std::string_view contents, bool executable) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    file.close();
    if (!file) ADD_FAILURE() << "cannot write " << path;
    if (executable) fs::permissions(path, fs::perms(0755));
}

std::string TestMachine::get(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) ADD_FAILURE() << "cannot read " << path;
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

}  // namespace morvane::testing
