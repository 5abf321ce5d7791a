#include "runtime/engine_layout.h"

#include <array>
#include <vector>

#include "platform/files.h"
#include "platform/host.h"
#include "platform/process.h"

namespace morvane::runtime {

namespace {

/// Each is a program that Wine itself brings.
constexpr std::array tools{"wineboot", "winecfg", "wineconsole", "winedbg", "winefile",
                           "winepath", "msiexec", "notepad",     "regedit", "regsvr32"};

Result<> runProgram(const std::string& name, const std::string& runFolder, std::vector<std::string> arguments,
                    Cancellation& cancellation) {
    const auto found = processes::search(name, host().searchPath);
    if (found.empty()) return Failure{"The program " + name + " is missing."};
    ProcessRequest request;
    request.program = found.front();
    request.arguments = std::move(arguments);
    request.runFolder = runFolder;
    request.cancellation = &cancellation;
    const auto result = processes::run(request);
    if (!result || !result->ending.succeeded()) return Failure{"The program " + name + " failed."};
    return {};
}

}  // namespace

std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

Result<> writeScript(const std::string& path, const std::string& command) {
    const std::string script = "#!/bin/sh\nexec " + command + " \"$@\"\n";
    if (const auto done = files::write(path, script, files::Atomically::no); !done) return done;
    return files::setPermissions(path, 0755);
}

Result<> writeServerScript(const std::string& bin) {
    return writeScript(bin + "/wineserver", std::string(scriptsFolder) + "CaskeryWineserver -p0");
}

Result<> writeToolScripts(const std::string& bin) {
    for (const char* tool : tools) {
        const std::string path = bin + "/" + tool;
        if (files::kindOf(path) != files::Kind::none) continue;
        if (auto written = writeScript(path, std::string(scriptsFolder) + "wine " + tool + ".exe"); !written)
            return written;
    }
    return {};
}

Result<> packEngine(const std::string& work, const std::string& name, Cancellation& cancellation) {
    const std::string tar = name + ".tar";
    auto packed =
        runProgram("tar", work, {"--owner=0", "--group=0", "--numeric-owner", "-cf", tar, "ckwine.bundle"},
                   cancellation);
    if (!packed) return packed;
    return runProgram("7z", work, {"a", "-bd", "-bso0", "-mx=1", tar + ".7z", tar}, cancellation);
}

}  // namespace morvane::runtime
