// tests/building/configured_wrapper.h: a wrapper as the creation stage leaves it, and a creation to configure
// it with.
#pragma once

#include <memory>
#include <string>

#include "building/wrapper_creation.h"
#include "foundation/progress_view.h"
#include "platform/files.h"
#include "platform/property_list.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"
#include "wrapper/registry.h"

namespace morvane::testing {

class ConfiguredWrapper : public TestMachine {
  public:
    ConfiguredWrapper() {
        const std::string resources = wrapper + layout::resources;
        putPlist(wrapper + layout::infoPlist,
                 Dictionary{{"CFBundleIconFile", "Icon"}, {"CFBundleExecutable", "CaskeryLauncher"}});
        putPlist(wrapper + layout::x11Plist, Dictionary{{"kept", "as it is"}});
        put(wrapper + layout::systemRegistry,
            "WINE REGISTRY Version 2\n\n[Software\\\\Classes\\\\.txt] 1\n@=\"txtfile\"\n");
        put(resources + "/user.reg", "WINE REGISTRY Version 2\n\n[Environment] 1\n\"TEMP\"=\"C:\\\\temp\"\n");
        put(resources + "/drive_c/windows/win.ini", "");
        put(resources + "/dosdevices/.keep", "");
        link("../drive_c", resources + "/dosdevices/c:");
        link("/", resources + "/dosdevices/z:");
        put(wrapper + layout::quitScript, "#!/bin/sh\ncaskeryAppChoice=0 # quit\n");
        put(wrapper + layout::infoStrings, "old");
        const std::string custom = wrapper + layout::customExeTemplate;
        putPlist(custom + layout::customExePlist, Dictionary{{"CFBundleIconFile", "Icon"}});
        put(custom + layout::customExeMark, "", true);
        // The command tool: notes what it was asked for, then does what the test put beside it.
        put(wrapper + "/Contents/Frameworks/bin/Caskery",
            "#!/bin/sh\nprintf '%s\\n' \"$*\" >> \"$0.log\"\n[ -e \"$0.do\" ] && . \"$0.do\"\nexit 0\n",
            true);
        scriptProgram("system_profiler", "");
        onWorker(
            [this] { creation = std::make_unique<WrapperCreation>(std::make_shared<NSProgressView>()); });
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string driveC = wrapper + layout::driveC;
    const std::string dosdevices = wrapper + layout::dosdevices;
    const std::string commandTool = wrapper + "/Contents/Frameworks/bin/Caskery";
    std::unique_ptr<WrapperCreation> creation;

    static void putPlist(const std::string& path, const Dictionary& values) {
        put(path, property_lists::xml(values));
    }
    static void link(const std::string& destination, const std::string& path) {
        ASSERT_EQ(files::createSymbolicLink(path, destination), std::nullopt);
    }
    /// Where the link points, or "" when there is none.
    [[nodiscard]] static std::string destination(const std::string& path) {
        const auto result = files::destinationOfLink(path);
        const auto* text = std::get_if<std::string>(&result);
        return text != nullptr ? *text : "";
    }
    [[nodiscard]] static bool exists(const std::string& path) {
        return files::kindOf(path) != files::Kind::none;
    }
    [[nodiscard]] static std::vector<std::string> listing(const std::string& folder) {
        return std::get<std::vector<std::string>>(files::list(folder));
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
        return exists(commandTool + ".log") ? get(commandTool + ".log") : "";
    }
    void whenAsked(const std::string& script) { put(commandTool + ".do", script); }
};

}  // namespace morvane::testing
