#include "platform/workspace.h"

#include <cctype>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/host.h"
#include "platform/process.h"
#include "platform/property_list.h"

namespace morvane::workspace {

namespace {

void startProgram(const std::string& name, const std::vector<std::string>& arguments) {
    const auto found = processes::search(name, host().searchPath);
    if (!found.empty()) static_cast<void>(processes::launch(found.back(), arguments));
}

bool runsBelow(const std::string& process, const std::string& folder) {
    const auto program = files::destinationOfLink(process + "/exe");
    if (program && program->starts_with(folder + "/")) return true;
    const auto environment = files::read(process + "/environ");
    if (!environment) return false;
    const std::string wanted = "WINEPREFIX=" + folder + "/";
    return environment->starts_with(wanted) || environment->find('\0' + wanted) != std::string::npos;
}

}  // namespace

void openLink(const std::string& url) {
    startProgram("open", {url});
}

void openPath(const std::string& path) {
    startProgram("open", {path});
}

void revealPath(const std::string& path) {
    startProgram("open", {"-R", path});
}

bool launchBundle(const std::string& path) {
    const auto settings = property_lists::read(path + "/Contents/Info.plist");
    const auto* dictionary = settings ? settings->as<Dictionary>() : nullptr;
    const auto* executable =
        dictionary != nullptr ? dictionary->get<std::string>("CFBundleExecutable") : nullptr;
    if (executable == nullptr || executable->find('/') != std::string::npos) return false;
    const std::string program = path + "/Contents/MacOS/" + *executable;
    return files::isExecutable(program) && processes::launch(program).has_value();
}

bool opensScheme(const std::string& scheme) {
    const auto found = processes::search("xdg-mime", host().searchPath);
    if (found.empty()) return false;
    ProcessRequest query;
    query.program = found.back();
    query.arguments = {"query", "default", "x-scheme-handler/" + scheme};
    const auto result = processes::run(query);
    return result && result->output.find(".desktop") != std::string::npos;
}

void bringToFront(const std::string& pathPrefix) {
    const auto xdotool = processes::search("xdotool", host().searchPath);
    if (xdotool.empty() || environmentVariable("DISPLAY").empty()) return;
    const auto entries = files::list("/proc");
    if (!entries) return;
    for (const std::string& name : *entries) {
        if (std::isdigit(static_cast<unsigned char>(name.front())) == 0 ||
            !runsBelow("/proc/" + name, pathPrefix)) {
            continue;
        }
        // Nobody reads what it says about windows that it does not find.
        static_cast<void>(processes::launch(xdotool.back(),
                                            {"search", "--onlyvisible", "--pid", name, "windowraise", "%@"}));
    }
}

}  // namespace morvane::workspace
