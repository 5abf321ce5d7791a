#include "wrapper/sandbox.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/defaults_store.h"
#include "platform/files.h"
#include "platform/process.h"
#include "wrapper/wrapper_settings.h"

namespace morvane {
namespace {

constexpr const char* program = "bwrap";

/// One that is a link out of the wrapper is added.
void addLink(const std::string& path, const std::string& prefix, std::vector<DriveLink>& links) {
    if (files::kindOf(path) != files::Kind::link) return;
    const auto folder = files::resolved(path);
    const bool leadsOut =
        folder && files::kindOf(*folder) == files::Kind::folder && !(*folder + "/").starts_with(prefix + "/");
    if (leadsOut) links.push_back({path, *folder});
}

std::string lastLine(std::string text) {
    while (text.ends_with('\n')) text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

}  // namespace

std::string wordFor(Sandbox mode) {
    return sandboxWords.at(static_cast<std::size_t>(mode));
}

std::optional<Sandbox> sandboxOf(std::string_view word) {
    const auto found = std::ranges::find(sandboxWords, word);
    if (found == sandboxWords.end()) return std::nullopt;
    return static_cast<Sandbox>(found - sandboxWords.begin());
}

Sandbox sandboxIn(const Dictionary& settings) {
    if (settings.find(wrapper_keys::sandbox.name) == nullptr) return Sandbox::off;
    return sandboxOf(getSetting(settings, wrapper_keys::sandbox)).value_or(Sandbox::strict);
}

void putSandbox(Sandbox mode, const Wrapper& wrapper, Dictionary& settings) {
    const Sandbox before = sandboxIn(settings);
    settings.set(wrapper_keys::sandbox.name, Value(wordFor(mode)));
    if (mode == Sandbox::off) settings.erase(wrapper_keys::sandboxFoldersName);
    if (mode == Sandbox::off || before != Sandbox::off) return;
    Array folders;
    for (const DriveLink& link : linksOfDrive(wrapper)) folders.emplace_back(link.folder);
    if (!folders.empty()) settings.set(wrapper_keys::sandboxFoldersName, Value(std::move(folders)));
}

std::vector<std::string> sharedFolders(const Dictionary& settings) {
    std::vector<std::string> folders;
    const Value* stored = settings.find(wrapper_keys::sandboxFoldersName);
    const auto* list = stored != nullptr ? stored->as<Array>() : nullptr;
    if (list == nullptr) return folders;
    for (const Value& each : *list) {
        if (const auto* folder = each.as<std::string>()) folders.push_back(*folder);
    }
    return folders;
}

std::vector<DriveLink> linksOfDrive(const Wrapper& wrapper) {
    std::vector<DriveLink> links;
    const auto prefix = files::resolved(wrapper.prefix());
    if (!prefix) return links;
    addLink(wrapper.driveC(), *prefix, links);
    const std::string users = wrapper.driveC() + "/users";
    const auto names = files::list(users);
    if (!names) return links;
    for (const std::string& user : *names) {
        addLink(files::join(users, user), *prefix, links);
        const auto folders = files::list(files::join(users, user));
        if (!folders) continue;
        for (const std::string& folder : *folders)
            addLink(files::join(files::join(users, user), folder), *prefix, links);
    }
    return links;
}

Result<std::string> sandboxProgram(const std::string& searchPath) {
    const auto found = processes::search(program, searchPath);
    if (found.empty())
        return Failure{"bubblewrap is not installed", "", "On Debian: apt install bubblewrap."};
    struct stat information {};
    const bool isPrivileged = ::getuid() != 0 && ::stat(found.front().c_str(), &information) == 0 &&
                              (information.st_mode & S_ISUID) != 0;
    if (isPrivileged) {
        return Failure{found.front() + " runs with the rights of root",
                       "what runs in it could be neither listed nor stopped",
                       "Use one that is not setuid; this system must allow user namespaces then."};
    }
    ProcessRequest request;
    request.program = "/bin/sh";
    request.arguments = {"-c",
                         R"(exec "$@" 2>&1)",
                         "sh",
                         found.front(),
                         "--unshare-user",
                         "--unshare-net",
                         "--cap-drop",
                         "ALL",
                         "--ro-bind",
                         "/",
                         "/",
                         "--tmpfs",
                         "/tmp",
                         "--tmpfs",
                         "/run",
                         "--dev",
                         "/dev",
                         "/bin/true"};
    const auto tried = processes::run(request);
    if (!tried) return Failure{found.front() + " can't be started", tried.error().reason()};
    if (tried->ending.succeeded()) return found.front();
    return Failure{"This system forbids sandboxes", lastLine(tried->output)};
}

Failure sandboxRefusal(const Failure& why) {
    return Failure{"This app is to run in a sandbox, which can't be made. " + why.message() +
                   " Its properties turn the sandbox off; the setting \"" + runWithoutSandboxName +
                   "\" lets every app run without one where there is none."};
}

bool mayRunWithoutSandbox(const Folders& folders) {
    return DefaultsStore(defaultsFile(folders.library)).getBool(runWithoutSandboxName, false);
}

}  // namespace morvane
