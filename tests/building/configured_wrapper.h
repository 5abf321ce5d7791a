// tests/building/configured_wrapper.h: a wrapper as the creation stage leaves it, and a build to configure
// it with.
#pragma once

#include <memory>
#include <string>

#include "building/build.h"
#include "foundation/progress_view.h"
#include "platform/files.h"
#include "platform/property_list.h"
#include "ports/port_data.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"
#include "wrapper/registry.h"
#include "wrapper/wrapper.h"

namespace morvane::testing {

class ConfiguredWrapper : public TestMachine {
  public:
    using Names = std::vector<std::string>;

    ConfiguredWrapper() {
        FakeWrapper fake;
        fake.onInstaller = "[ -e \"$wrapper/do.sh\" ] && . \"$wrapper/do.sh\"";
        makeFakeWrapperAt(wrapper, "CK9Wine8.0", fake);
        put(wrapper + layout::quitScript, "#!/bin/sh\ncaskeryAppChoice=0\n", true);
        put(wrapper + layout::infoStrings, "old");
        scriptProgram("system_profiler", "");
        onWorker([this] { build = std::make_unique<Build>(std::make_shared<NSProgressView>()); });
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string driveC = wrapper + layout::driveC;
    const std::string dosdevices = wrapper + layout::dosdevices;
    std::unique_ptr<Build> build;

    static void link(const std::string& destination, const std::string& path) {
        ASSERT_TRUE(files::createSymbolicLink(path, destination));
    }
    /// Where the link points, or "" when there is none.
    [[nodiscard]] static std::string destination(const std::string& path) {
        const auto result = files::destinationOfLink(path);
        return result.value_or("");
    }
    [[nodiscard]] static bool exists(const std::string& path) {
        return files::kindOf(path) != files::Kind::none;
    }
    [[nodiscard]] static Names listing(const std::string& folder) { return *files::list(folder); }
    static ExeEntry program(const std::string& name, const std::string& path, bool isMain = true) {
        ExeEntry exe;
        exe.name = name;
        exe.path = path;
        exe.isMain = isMain;
        return exe;
    }
    /// A setting of the wrapper, or of a launcher application in it, as it is on disk.
    [[nodiscard]] Value setting(const std::string& key, const std::string& application = "") const {
        const std::string path = application.empty() ? wrapper + layout::infoPlist
                                                     : wrapper + "/" + application + layout::customExePlist;
        const auto plist = property_lists::read(path);
        const Value* value = plist ? plist->as<Dictionary>()->find(key) : nullptr;
        return value != nullptr ? *value : Value();
    }
    [[nodiscard]] std::string key(const std::string& header, const std::string& registry) const {
        return NSUtilities::getRegistry(header, registry, wrapper);
    }
    /// How often a text stands in a registry file.
    [[nodiscard]] int timesIn(const std::string& registry, const std::string& text) const {
        const std::string file = get(wrapper + layout::resources + "/" + registry + ".reg");
        int times = 0;
        for (std::size_t at = file.find(text); at != std::string::npos; at = file.find(text, at + 1)) ++times;
        return times;
    }
    /// What the command tool was asked for, one line a call.
    [[nodiscard]] std::string asked() const {
        return exists(commandLog(wrapper)) ? get(commandLog(wrapper)) : "";
    }
    /// Shell lines that run for every installer; "$1" is the installer, "$wrapper" the wrapper.
    void whenInstalling(const std::string& script) { put(wrapper + "/do.sh", script); }
};

}  // namespace morvane::testing
