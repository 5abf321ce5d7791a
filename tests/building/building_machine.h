// tests/building/building_machine.h: a machine that can build wrappers, with a download site on loopback.
//
// 7-Zip and tar are real; whatever stops processes is scripted, and writes its calls to `stops()`.
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "building/wrapper_creation.h"
#include "foundation/progress_view.h"
#include "platform/files.h"
#include "platform/host.h"
#include "ports/typed_stream.h"
#include "support/fake_wrapper.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace fs = std::filesystem;

namespace testing {

class BuildingMachine : public TestMachine {
  public:
    using Names = std::vector<std::string>;

    BuildingMachine() {
        fs::create_directories(resources);
        for (const char* tool : {"/7za", "/7z"}) {
            fs::copy_file(machine->folders.resources + tool, resources + tool);
        }
        put(resources + "/agreement.txt", "Be fair.\n");
        Host::Options options{
            .folders = machine->folders,
            .sites = {.caskery = site.baseAddress(), .catalogue = "http://offline.invalid/"},
            .searchPath = programsFolder + ":" + machine->searchPath,
            .reachability = [this](const std::string& name) { return reachable(name); }};
        options.folders.resources = resources;
        machine.reset();
        machine = std::make_unique<Host>(std::move(options), ui);
        for (const char* name : {"killall", "kill", "ps", "launchctl"}) {
            scriptProgram(name, "echo \"" + std::string(name) + " $*\" >> '" + folder.path + "/stops'");
        }
        scriptProgram("system_profiler", "");
        scriptProgram("defaults", "");
        progress = std::make_shared<NSProgressView>();
    }

    void offline() {
        reachable = [](const std::string&) { return false; };
    }
    void putEngine(const std::string& name = "CK9Wine3.0") {
        put(engines + "/" + name + ".tar.7z", packedEngine(name));
    }

    /// Runs the work with a fresh creation, as an application does.
    void create(const std::function<void(WrapperCreation&)>& work) {
        onWorker([&] {
            WrapperCreation creation(progress);
            work(creation);
        });
    }

    /// Requests the cancellation from the main thread as soon as the condition holds.
    void cancelWhen(const std::function<bool()>& condition) {
        machine->mainQueue.every(std::chrono::milliseconds(2), [this, condition] {
            if (condition()) machine->creation.request();
        });
    }

    [[nodiscard]] static bool exists(const std::string& path) {
        return fs::symlink_status(path).type() != fs::file_type::not_found;
    }
    /// The sorted names in a folder; empty without one.
    [[nodiscard]] static Names namesIn(const std::string& path) {
        Names names;
        if (!fs::is_directory(path)) return names;
        for (const auto& entry : fs::directory_iterator(path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    [[nodiscard]] static bool isRunnable(const std::string& path) {
        return (fs::status(path).permissions() & fs::perms::owner_exec) != fs::perms::none;
    }
    [[nodiscard]] std::string stops() const {
        return exists(folder.path + "/stops") ? get(folder.path + "/stops") : "";
    }
    /// How often the site was asked for addresses that begin so.
    [[nodiscard]] int asked(const std::string& path) const {
        const auto requests = site.requests();
        return static_cast<int>(
            std::count_if(requests.begin(), requests.end(),
                          [&](const std::string& request) { return request.starts_with("GET " + path); }));
    }
    /// A CKI file of these keys; returns its path.
    std::string cki(const Dictionary& keys) {
        Dictionary dictionary{{"CKI Version", "1.5.9"}, {"Name", "Game"}};
        for (const auto& [key, value] : keys) dictionary.set(key, value);
        const std::string path = folder.path + "/Game.cki";
        put(path, *typed_stream::archive(Value(dictionary)));
        return path;
    }

    LoopbackSite site;
    std::shared_ptr<NSProgressView> progress;
    const std::string resources = folder.path + "/resources";
    const std::string masters = home + "/Library/Application Support/Caskery/Wrapper";
    const std::string engines = home + "/Library/Application Support/Caskery/Engines";
    const std::string temporary = folder.path + "/passing";
    const std::string wrapper = home + "/Applications/Game.app";
};

}  // namespace testing
}  // namespace morvane
