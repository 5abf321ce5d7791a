#include "support/fake_wrapper.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/process.h"
#include "support/test_machine.h"

namespace morvane::testing {

namespace fs = std::filesystem;

namespace {

constexpr const char* plistHead =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
)";
constexpr const char* plistTail = "</dict>\n</plist>\n";

std::string plist(const std::vector<std::pair<std::string, std::string>>& texts) {
    std::string entries;
    for (const auto& [key, text] : texts) {
        entries += "\t<key>" + key + "</key>\n\t<string>" + text + "</string>\n";
    }
    return plistHead + entries + plistTail;
}

std::string commandTool(const FakeWrapper& wrapper) {
    // The tool finds its wrapper by its own place, as the real one does: the wrapper is moved about while it
    // is built.
    std::string script = R"(#!/bin/sh
wrapper=$(cd "$(dirname "$0")/../../.." && pwd)
echo "$@" >> "$wrapper/Contents/Resources/asked.log"
command=$1
[ $# -gt 0 ] && shift
prefix() {
    mkdir -p "$wrapper/Contents/Resources/drive_c/windows" "$wrapper/Contents/Resources/dosdevices"
    cd "$wrapper/Contents/Resources" || exit 1
    ln -sfn ../drive_c dosdevices/c:
    ln -sfn / dosdevices/z:
    printf 'WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n' > system.reg
    printf 'WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n\n#arch=win64\n' > user.reg
}
case $command in
CKS-wineprefixcreate)
)";
    script += wrapper.makesPrefix ? "prefix\n" : ":\n";
    script += wrapper.onPrefixCreate + "\n;;\nCKS-installer)\n:\n" + wrapper.onInstaller + "\n;;\nesac\n";
    return script;
}

}  // namespace

void runTool(const std::string& folder, const std::vector<std::string>& command) {
    ProcessRequest request;
    request.program = command.front();
    request.arguments.assign(command.begin() + 1, command.end());
    request.runFolder = folder;
    const auto result = processes::run(request);
    EXPECT_TRUE(result && result->ending.succeeded()) << command.front() << " failed in " << folder;
}

std::string makeFakeMasterWrapper(const std::string& folder, const FakeWrapper& wrapper) {
    const std::string app = folder + "/" + wrapper.version + ".app";
    const auto put = [&](const char* name, const std::string& contents, bool executable = false) {
        TestMachine::put(app + "/" + name, contents, executable);
    };
    put("Contents/Info.plist", plist({{"CFBundleName", "Caskery"},
                                      {"CFBundleIconFile", "Caskery.icns"},
                                      {"CFBundleExecutable", "CaskeryLauncher"},
                                      {"CFBundleVersion", "Caskery 2.6.2"},
                                      {"Program Name and Path", "/nothing.exe"}}));
    put("Contents/MacOS/CaskeryLauncher", "#!/bin/sh\n", true);
    put("Contents/Frameworks/bin/Caskery", commandTool(wrapper), true);
    put("Contents/Resources/CKX11Prefs.plist", plist({}));
    put("Contents/Resources/Caskery.icns", "icns");
    put("Contents/Resources/English.lproj/InfoPlist.strings", "CFBundleName = \"Caskery\";\n");
    fs::create_directories(app + "/Contents/Resources/CaskeryMenuScripts");
    put("Caskery.app/Contents/MacOS/Caskery", "#!/bin/sh\n");
    put("Caskery.app/Contents/Resources/CaskeryBanner.jpg", "jpg");
    put("Caskery.app/Contents/Resources/CustomEXE.app/Contents/MacOS/CustomEXE", "#!/bin/sh\n", true);
    put("Caskery.app/Contents/Resources/CustomEXE.app/Contents/Info.plist.cexe",
        plist({{"CFBundleIconFile", "Caskery.icns"}}));
    return app;
}

std::string makeFakeEngine(const std::string& folder, const std::string& name) {
    const std::string bundle = folder + "/ckwine.bundle";
    TestMachine::put(bundle + "/version", name + "\n");
    TestMachine::put(bundle + "/bin/wine", "#!/bin/sh\n", true);
    TestMachine::put(bundle + "/bin/wineserver", "#!/bin/sh\n", true);
    TestMachine::put(bundle + "/lib/wine/ntdll.so", "elf");
    TestMachine::put(bundle + "/share/wine/wine.inf", "[version]");
    return bundle;
}

void makeFakePrefix(const std::string& wrapper) {
    runTool(wrapper, {wrapper + "/Contents/Frameworks/bin/Caskery", "CKS-wineprefixcreate"});
    fs::remove(commandLog(wrapper));
}

std::string commandLog(const std::string& wrapper) {
    return wrapper + "/Contents/Resources/asked.log";
}

std::string packedTar7z(const std::string& folder, const std::string& entry, const std::string& tarName) {
    runTool(folder, {"/usr/bin/tar", "-cf", tarName, entry});
    const std::string archive = tarName + ".7z";
    fs::remove(folder + "/" + archive);
    runTool(folder, {"/usr/bin/7za", "a", "-mx1", archive, tarName});
    std::string bytes = TestMachine::get(folder + "/" + archive);
    fs::remove(folder + "/" + tarName);
    fs::remove(folder + "/" + archive);
    return bytes;
}

std::string packedMasterWrapper(const FakeWrapper& wrapper) {
    const TemporaryFolder folder;
    makeFakeMasterWrapper(folder.path, wrapper);
    return packedTar7z(folder.path, wrapper.version + ".app", wrapper.version + ".app.tar");
}

std::string packedEngine(const std::string& name) {
    const TemporaryFolder folder;
    makeFakeEngine(folder.path, name);
    return packedTar7z(folder.path, "ckwine.bundle", name + ".tar");
}

void publishNewestVersion(LoopbackSite& site, const std::string& version) {
    site.answer("/Wrapper/NewestVersion.txt", {.body = version + "\n", .contentType = "text/plain"});
}

void publishMasterWrapper(LoopbackSite& site, const FakeWrapper& wrapper) {
    publishNewestVersion(site, wrapper.version);
    site.answer("/Wrapper/" + wrapper.version + ".app.tar.7z", {.body = packedMasterWrapper(wrapper)});
}

void publishEngines(LoopbackSite& site, const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += name + "\n";
        site.answer("/Engines/" + name + ".tar.7z", {.body = packedEngine(name)});
    }
    site.answer("/Engines/EngineList.txt", {.body = list, .contentType = "text/plain"});
}

void makeFakeWrapperAt(const std::string& path, const std::string& engine, const FakeWrapper& wrapper) {
    const TemporaryFolder folder;
    fs::create_directories(fs::path(path).parent_path());
    fs::copy(makeFakeMasterWrapper(folder.path, wrapper), path, fs::copy_options::recursive);
    makeFakeEngine(path + "/Contents/Frameworks", engine);
    makeFakePrefix(path);
}

}  // namespace morvane::testing
