#include "runtime/sandbox_entry.h"

#include <algorithm>
#include <utility>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/property_list.h"
#include "platform/volumes.h"
#include "runtime/wine_session.h"

namespace morvane::runtime {
namespace {

/// The namespace of that kind of a process, "self" for ours; empty when it has gone.
std::string namespaceOf(const std::string& process, const char* kind) {
    return files::destinationOfLink("/proc/" + process + "/ns/" + kind).value_or("");
}

bool sharesWithUs(int process, const char* kind) {
    return namespaceOf(std::to_string(process), kind) == namespaceOf("self", kind);
}

bool isBelowOne(const std::string& path, const std::vector<std::string>& folders) {
    return std::ranges::any_of(folders, [&](const std::string& one) { return path.starts_with(one + "/"); });
}

}  // namespace

Result<SandboxEntry> SandboxEntry::of(const Wrapper& wrapper) {
    SandboxEntry entry;
    const auto plist = property_lists::read(wrapper.infoPlist());
    const auto* settings = plist ? plist->as<Dictionary>() : nullptr;
    // Which sandbox it is to be, nobody can say.
    if (settings == nullptr) return Failure{wrapper.infoPlist() + " is no property list."};
    const Sandbox mode = sandboxIn(*settings);
    if (mode == Sandbox::off) return entry;
    auto program = sandboxProgram(environmentVariable("PATH"));
    if (!program && mayRunWithoutSandbox(Folders::fromEnvironment())) {
        tell("Without its sandbox: " + program.error().message());
        return entry;
    }
    if (!program) return sandboxRefusal(program.error());
    auto temporary = SandboxTemporary::of(wrapper);
    if (!temporary) return temporary.error();
    static_cast<void>(files::createFolder(wrapper.logs(), true));
    entry.program_ = *std::move(program);
    entry.view_.mode = mode;
    entry.view_.wrapper = wrapper;
    entry.view_.hidden = hiddenFolders();
    entry.view_.temporary = temporary->path();
    entry.temporary_ = *std::move(temporary);
    const std::string runtime = environmentVariable("XDG_RUNTIME_DIR");
    if (runtime.starts_with('/')) entry.view_.runtimeFolder = files::resolved(runtime).value_or("");
    entry.view_.writable = writableFolders(wrapper, *settings, entry.view_.hidden);
    for (const auto& [place, folder] : linksOfDrives(wrapper, entry.view_.hidden))
        entry.addLink(place, folder);
    return entry;
}

void SandboxEntry::allowNetwork() {
    if (view_.mode == Sandbox::strict) view_.mode = Sandbox::home;
}

Result<> SandboxEntry::join(int server) {
    joined_ = server;
    Sandbox running = Sandbox::home;
    if (namespaceOf(std::to_string(server), "mnt").empty()) return {};  // it has ended
    if (sharesWithUs(server, "mnt")) {
        running = Sandbox::off;
    } else if (!sharesWithUs(server, "net")) {
        running = Sandbox::strict;
    }
    if (running == view_.mode) return {};
    return Failure{"Programs of this wrapper are running with another sandbox (" + wordFor(running) +
                   " instead of " + wordFor(view_.mode) + "): end them first."};
}

Result<> SandboxEntry::show(const std::string& program) {
    if (view_.mode == Sandbox::off || program.starts_with(view_.wrapper.prefix() + "/")) return {};
    const std::string path =
        readableAround(program, view_.hidden, volumes::mounted(Folders::fromEnvironment()));
    if (joined_ != 0 &&
        files::kindOf("/proc/" + std::to_string(joined_) + "/root" + path) == files::Kind::none) {
        return Failure{path +
                       " is out of sight of the programs of this wrapper that are running: end them "
                       "first."};
    }
    view_.readable.push_back(path);
    return {};
}

Result<> SandboxEntry::open(const std::string& folder) {
    if (view_.mode == Sandbox::off) return {};
    if (auto made = files::createFolder(folder, true); !made) return made.error();
    view_.writable.push_back(files::resolved(folder).value_or(folder));
    return {};
}

void SandboxEntry::addLink(const std::string& place, const std::string& destination) {
    std::vector<std::string> empty = view_.hidden;
    empty.emplace_back("/tmp");
    for (const char* folder : emptied) empty.emplace_back(folder);
    if (!view_.runtimeFolder.empty()) empty.push_back(view_.runtimeFolder);
    if (isBelowOne(place, empty)) view_.links.emplace(place, destination);
}

ChildRequest SandboxEntry::around(ChildRequest request, int server) const {
    if (view_.mode == Sandbox::off) return request;
    std::vector<std::string> words;
    const bool joins = server != 0 && !sharesWithUs(server, "user");
    if (joins) {
        // bubblewrap takes the namespace as an open file; a child of ours has none but its streams.
        words = {
            "-c", R"(exec "$@" 9<"$0")", "/proc/" + std::to_string(server) + "/ns/user", program_, "--userns",
            "9"};
    } else {
        words = {"--unshare-user"};
    }
    const auto view = sandboxArguments(view_, request.environment);
    words.insert(words.end(), view.begin(), view.end());
    words.insert(words.end(),
                 {"--chdir", request.runFolder.empty() ? "/" : request.runFolder, "--", request.program});
    words.insert(words.end(), request.arguments.begin(), request.arguments.end());
    request.program = joins ? "/bin/sh" : program_;
    request.arguments = std::move(words);
    request.runFolder = "/";
    // It waits outside for what it has started.
    request.endsGroup = true;
    return request;
}

}  // namespace morvane::runtime
