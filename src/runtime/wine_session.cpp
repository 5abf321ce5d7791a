#include "runtime/wine_session.h"

#include <langinfo.h>
#include <locale.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <sstream>
#include <utility>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/utf8.h"
#include "runtime/windows_programs.h"

namespace morvane::runtime {
namespace {

using namespace std::chrono_literals;

/// A wineserver that was told to end is waited for this long at most.
constexpr auto serverPatience = 15s;
/// Services end within a few seconds once no program is left.
constexpr std::chrono::milliseconds servicesPatience = 10s;
/// What has used no processor for so long, in which it is looked at so often, has nothing more to do.
constexpr auto idleTime = 1s;
constexpr std::chrono::milliseconds idleStep = 200ms;
/// How often a game that runs is looked after.
constexpr std::chrono::milliseconds programsPatience = 1min;
/// A large registry on a slow disk takes long to save.
constexpr auto savingPatience = 1min;
/// Programs that are asked to end may put a question to the user.
constexpr auto askPatience = 20s;
constexpr std::chrono::milliseconds longestGrace = 30s;

constexpr std::array winesOwn{"services.exe", "winedevice.exe", "plugplay.exe", "svchost.exe", "explorer.exe",
                              "rpcss.exe",    "conhost.exe",    "tabtip.exe",   "wineboot.exe"};

/// Of these, what is never a program that somebody opened a window of.
constexpr std::array services{"services.exe", "winedevice.exe", "plugplay.exe", "svchost.exe", "rpcss.exe"};

std::vector<std::string> splitAtNul(const std::string& bytes) {
    std::vector<std::string> pieces;
    for (std::size_t place = 0; place < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\0', place), bytes.size());
        pieces.push_back(bytes.substr(place, end - place));
        place = end + 1;
    }
    return pieces;
}

/// A file of /proc, whose size is not known before it is read; empty when the process has gone or is not
/// ours.
std::string procFile(const std::string& number, const char* name) {
    std::string text;
    std::FILE* file = std::fopen(("/proc/" + number + "/" + name).c_str(), "re");
    if (file == nullptr) return text;
    std::array<char, 8192> block{};
    for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), file)) > 0;)
        text.append(block.data(), count);
    std::fclose(file);
    return text;
}

bool isWinesOwn(const PrefixProcess& process) {
    return std::find(winesOwn.begin(), winesOwn.end(), process.name) != winesOwn.end();
}

bool isService(const PrefixProcess& process) {
    return std::find(services.begin(), services.end(), process.name) != services.end();
}

/// The programs that somebody started: neither the wineserver nor Wine's services.
std::vector<PrefixProcess> programsOf(const std::string& prefix) {
    std::vector<PrefixProcess> processes = processesOf(prefix);
    std::erase_if(processes, [](const PrefixProcess& one) { return one.isServer || isWinesOwn(one); });
    return processes;
}

/// An installed program lies on drive C, outside Windows itself and the folders for temporary files;
/// everything else (an installer on a disc or in Downloads, msiexec, what an installer unpacked) is still
/// installing.
bool isInstalledProgram(const PrefixProcess& process) {
    std::string command = process.command;
    std::transform(command.begin(), command.end(), command.begin(), [](unsigned char c) {
        return c == '/' ? '\\' : static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    if (command.starts_with('"')) command.erase(0, 1);
    return command.starts_with("c:\\") && !command.starts_with("c:\\windows\\") &&
           command.find("\\temp\\") == std::string::npos;
}

bool isUtf8(const std::string& text) {
    std::string again;
    for (std::size_t place = 0; place < text.size();) utf8::append(again, utf8::next(text, place));
    return again == text;
}

/// A prefix cannot lie below a name with one of the characters that Windows forbids, nor below one that is
/// not UTF-8; a name for a game may well end in a question mark. Such a prefix is reached through a link, in
/// a folder that only this user can enter.
bool isNameable(const std::string& path) {
    const auto isForbidden = [](unsigned char c) {
        return c < 0x20 || std::string_view("\"*<>?|\\").find(static_cast<char>(c)) != std::string_view::npos;
    };
    return std::none_of(path.begin(), path.end(), isForbidden) && isUtf8(path);
}

/// The folder of our own in which such links lie as long as they are used, closed to everybody else; empty
/// where there is none that a prefix could lie in.
std::string folderOfLinks() {
    const std::string runtime = environmentVariable("XDG_RUNTIME_DIR");
    const std::string cache = files::parent(Folders::fromEnvironment().temporary);
    for (const std::string& base : {runtime, cache}) {
        if (!base.starts_with('/') || !isNameable(base)) continue;
        const std::string folder = base + "/caskery-" + std::to_string(::getuid());
        static_cast<void>(files::createFolder(base, true));
        ::mkdir(folder.c_str(), 0700);
        struct stat information {};
        const bool ours = ::lstat(folder.c_str(), &information) == 0 && S_ISDIR(information.st_mode) &&
                          information.st_uid == ::getuid() && (information.st_mode & 077) == 0;
        if (ours) return folder;
    }
    return "";
}

/// The character set of a locale by its name; empty for one that this machine does not have.
std::string charactersOf(const std::string& locale) {
    const locale_t found = ::newlocale(LC_CTYPE_MASK, locale.c_str(), nullptr);
    if (found == nullptr) return "";
    std::string characters = ::nl_langinfo_l(CODESET, found);
    ::freelocale(found);
    return characters;
}

/// Wine reads the names of files in the character set of LC_CTYPE, and loses those that do not fit. All of
/// ours are UTF-8, so it gets a character type of that kind: of the user's own language where the machine has
/// it, because Wine takes the old code pages of Windows from it. Everything else of the locale stays.
void useUtf8(std::map<std::string, std::string>& variables) {
    std::string type;
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const auto found = variables.find(name);
        if (found != variables.end() && type.empty()) type = found->second;
    }
    if (charactersOf(type.empty() ? "C" : type) == "UTF-8") return;
    const std::string sameLanguage = type.substr(0, type.find_first_of(".@")) + ".UTF-8";
    if (const auto all = variables.find("LC_ALL"); all != variables.end() && !all->second.empty()) {
        variables["LANG"] = all->second;
        std::erase_if(variables, [](const auto& each) { return each.first.starts_with("LC_"); });
    }
    const bool hasSame = sameLanguage != ".UTF-8" && charactersOf(sameLanguage) == "UTF-8";
    variables["LC_CTYPE"] = hasSame ? sameLanguage : "C.UTF-8";
}

/// The number of the prefix's wineserver; 0 without one.
int serverOf(const std::string& prefix) {
    for (const PrefixProcess& process : processesOf(prefix)) {
        if (process.isServer) return process.number;
    }
    return 0;
}

/// What shows that the process is at work when it changes: the processor time that it has used, in ticks of the
/// system. Nothing while it waits for a disk.
std::optional<std::string> progressOf(int number) {
    const std::string status = procFile(std::to_string(number), "stat");
    // The name, in brackets, may hold anything. Behind it stand the state, and the times as 12th and 13th.
    std::istringstream fields(status.substr(std::min(status.rfind(')') + 1, status.size())));
    std::array<std::string, 13> field;
    for (std::string& each : field) fields >> each;
    if (field[0] == "D") return std::nullopt;
    return field[11] + " " + field[12];
}

/// What Wine leaves running for a while when its last program has ended.
bool isLeftBehind(const PrefixProcess& process) {
    return process.isServer || isService(process) ||
           (process.name == "explorer.exe" &&
            utf8::trimmed(process.command).ends_with("explorer.exe /desktop"));
}

std::set<int> numbersOf(const std::vector<PrefixProcess>& processes) {
    std::set<int> numbers;
    for (const PrefixProcess& process : processes) numbers.insert(process.number);
    return numbers;
}

}  // namespace

void tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::vector<PrefixProcess> processesOf(const std::string& prefix) {
    std::vector<PrefixProcess> processes;
    const auto names = files::list("/proc");
    if (!names) return processes;
    constexpr std::string_view variable = "WINEPREFIX=";
    const auto wanted = files::resolved(prefix);
    for (const std::string& name : *names) {
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        const auto link = files::destinationOfLink("/proc/" + name + "/exe");
        if (!link) continue;
        const std::string program = files::lastComponent(*link);
        if (!program.starts_with("wine")) continue;
        const auto variables = splitAtNul(procFile(name, "environ"));
        const auto told = std::find_if(variables.begin(), variables.end(), [&](const std::string& one) {
            return one.starts_with(variable) && files::resolved(one.substr(variable.size())) == wanted;
        });
        if (told == variables.end()) continue;
        PrefixProcess process{std::stoi(name), procFile(name, "comm"), procFile(name, "cmdline"),
                              program.starts_with("wineserver"), told->substr(variable.size())};
        while (process.name.ends_with('\n')) process.name.pop_back();
        std::replace(process.command.begin(), process.command.end(), '\0', ' ');
        processes.push_back(std::move(process));
    }
    return processes;
}

WineSession::WineSession(WrapperBundle bundle, std::string log, StopBy stopBy, ChildOutput output,
                         Downloads downloads)
    : bundle_(std::move(bundle)), log_(std::move(log)), stopBy_(stopBy), output_(output) {
    prefix_ = nameOfPrefix();
    sandboxed_ = enterSandbox(downloads);
    joined_ = serverOf(bundle_.wrapper.prefix()) != 0;
    if (!usable()) return;
    // Signal 0 only asks whether there is one.
    joined_ = quietly(server(), {"-k0"}, serverPatience) == 0;
}

WineSession::~WineSession() {
    // A joined session's link to the prefix is still in use by the start that it joined.
    if (!joined_ && prefix_ != bundle_.wrapper.prefix()) links_.push_back(prefix_);
    for (const std::string& link : links_) {
        static_cast<void>(files::remove(link));
        ::rmdir(files::parent(link).c_str());
    }
}

std::string WineSession::linkTo(const std::string& target, const std::string& name) {
    std::string folder = folderOfLinks();
    if (folder.empty()) {
        // Under a name that nobody can foresee: everybody may write there.
        if (!linksInShared_) {
            auto made = files::PrivateFolder::makeInShared(Folders::fromEnvironment().sharedTemporary);
            if (!made) return target;
            linksInShared_ = *std::move(made);
        }
        folder = linksInShared_->path();
    }
    const std::string link = files::join(folder, name);
    if (files::kindOf(link) == files::Kind::link) return link;
    return files::createSymbolicLink(link, target) ? link : target;
}

std::string WineSession::nameOfPrefix() {
    const std::string prefix = bundle_.wrapper.prefix();
    if (isNameable(prefix)) return prefix;
    // As the programs that run there already know it.
    const auto running = processesOf(prefix);
    const auto named = std::find_if(running.begin(), running.end(),
                                    [](const PrefixProcess& one) { return isNameable(one.prefix); });
    return named != running.end() ? named->prefix : linkTo(prefix, bundle_.serverName());
}

std::string WineSession::nameablePath(const std::string& path) {
    const std::string absolute = path.starts_with('/') ? path : files::resolved(path).value_or(path);
    const std::string folder = files::parent(absolute);
    if (isWindowsPath(path) || isNameable(folder) || absolute.starts_with(bundle_.wrapper.prefix() + "/")) {
        return path;
    }
    // Of this process: another start may have a file in the same folder.
    const std::string name = "folder-" + std::to_string(::getpid()) + "-" + std::to_string(links_.size());
    const std::string link = linkTo(folder, name);
    if (link == folder) return path;
    links_.push_back(link);
    sandbox_.addLink(link, folder);
    return files::join(link, files::lastComponent(absolute));
}

Result<> WineSession::usable() const {
    const std::string wine = bundle_.wrapper.engineBin() + "/wine";
    if (files::kindBehind(bundle_.wrapper.engine()) != files::Kind::folder) {
        return Failure{"This wrapper holds no engine: " + bundle_.wrapper.engine() + " is missing."};
    }
    for (const std::string& path : {wine, server()}) {
        if (!files::isExecutable(path))
            return Failure{"The engine is incomplete: " + path + " cannot be run."};
    }
    return sandboxed_;
}

Result<> WineSession::enterSandbox(Downloads downloads) {
    auto entry = SandboxEntry::of(bundle_.wrapper);
    if (!entry) return entry.error();
    sandbox_ = *std::move(entry);
    if (downloads == Downloads::yes) {
        sandbox_.allowNetwork();
        if (auto opened = sandbox_.open(Folders::fromEnvironment().verbsCache); !opened) return opened;
    }
    if (prefix_ != bundle_.wrapper.prefix()) sandbox_.addLink(prefix_, bundle_.wrapper.prefix());
    return joinServer();
}

Result<> WineSession::joinServer() {
    const int server = serverOf(bundle_.wrapper.prefix());
    return server != 0 ? sandbox_.join(server) : Result<>();
}

ChildRequest WineSession::inside(ChildRequest request) const {
    if (sandbox_.mode() == Sandbox::off) return request;
    return sandbox_.around(std::move(request), serverOf(bundle_.wrapper.prefix()));
}

std::map<std::string, std::string> WineSession::environment(Display display) const {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos)
            variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    for (const auto& [name, value] : variables_) variables[name] = value;
    // A Wine set up in the user's shell is another Wine.
    for (const char* name : {"WINELOADER", "WINESERVER", "WINEDLLPATH", "WINEARCH", "WINEPREFIX"})
        variables.erase(name);
    variables["WINEPREFIX"] = prefix_;
    useUtf8(variables);
    const std::string bin = bundle_.wrapper.engineBin(),
                      tools = bundle_.wrapper.path() + "/Contents/Frameworks/bin";
    const std::string path = variables.contains("PATH") ? variables["PATH"] : "/usr/local/bin:/usr/bin:/bin";
    variables["PATH"] = bin + ":" + tools + ":" + path;
    variables["WINESERVER"] = server();
    // For the winetricks script: our Wine, and the cache where the application has put its downloads.
    variables["WINE"] = bin + "/wine";
    variables["W_CACHE"] = Folders::fromEnvironment().verbsCache;

    // No desktop entries, and no offer to fetch Mono or Gecko, unless the engine brings them along.
    std::string overrides = "winemenubuilder.exe=d";
    const std::string share = bundle_.wrapper.engine() + "/share/wine/";
    const bool brings = files::kindBehind(share + "mono") == files::Kind::folder ||
                        files::kindBehind(share + "gecko") == files::Kind::folder;
    if (!brings) overrides += ";appwiz.cpl=d";
    if (variables.contains("WINEDLLOVERRIDES")) overrides += ";" + variables["WINEDLLOVERRIDES"];
    variables["WINEDLLOVERRIDES"] = overrides;
    if (log_.empty() && !variables.contains("WINEDEBUG")) variables["WINEDEBUG"] = "-all";
    // Wine names the user's folder on drive C after USER; where it is missing it asks the system, as we do.
    if (!variables.contains("USER") || variables["USER"].empty()) {
        if (const passwd* user = ::getpwuid(::getuid())) variables["USER"] = user->pw_name;
    }
    if (display == Display::hidden) {
        variables.erase("DISPLAY");
        variables.erase("WAYLAND_DISPLAY");
    }
    return variables;
}

int WineSession::quietly(const std::string& path, const std::vector<std::string>& arguments,
                         std::optional<std::chrono::milliseconds> limit) {
    ChildRequest request{path, arguments, environment(Display::hidden), "/", ""};
    auto child = Child::start(inside(std::move(request)));
    if (!child) return 127;
    if (child->wait(nullptr, limit) == Ending::exited) return child->status();
    child->kill();
    return 124;
}

/// The server is started under the wrapper's own name, so that a stop by name ends this wrapper and no other
/// one. Where it cannot be (no links on this file system, an engine with a script for a server), Wine starts
/// it as it always does.
void WineSession::startServer() {
    const std::string named = bundle_.wrapper.engineBin() + "/" + bundle_.serverName();
    if (!files::isExecutable(named)) {
        const std::string real = files::isExecutable(bundle_.wrapper.engineBin() + "/CaskeryWineserver")
                                     ? "CaskeryWineserver"
                                     : "wineserver";
        const auto names = files::list(bundle_.wrapper.engineBin());
        if (!names) return;
        // A wrapper that was moved leaves its old name, which would sort last and win.
        for (const std::string& name : *names) {
            if (name.starts_with("wrapper-") && name.ends_with("Wineserver")) {
                static_cast<void>(files::remove(files::join(bundle_.wrapper.engineBin(), name)));
            }
        }
        if (!files::createSymbolicLink(named, real)) return;
    }
    quietly(named, {"-p0"}, serverPatience);
}

int WineSession::run(const std::string& path, const std::vector<std::string>& arguments,
                     const std::string& runFolder, Display display, const std::vector<std::string>& before) {
    if (stopped_ != 0) return stopped_;
    startServer();
    // Another start may have been faster.
    if (auto joined = joinServer(); !joined) {
        tell(joined.error().message());
        return 1;
    }
    auto variables = environment(display);
    // As we name it, which may be by a link: Wine cannot name every folder to which one leads.
    variables["PWD"] = runFolder;
    ChildRequest request = inside({path, arguments, std::move(variables), runFolder, log_, output_});
    if (!before.empty()) {
        request.arguments.insert(request.arguments.begin(), request.program);
        request.arguments.insert(request.arguments.begin(), before.begin() + 1, before.end());
        request.program = before.front();
    }
    auto child = Child::start(request);
    if (!child) {
        tell(request.program + " could not be started.");
        stopNow();
        return 127;
    }
    return waitFor(*child) ? child->status() : stopped_;
}

int WineSession::wine(const std::vector<std::string>& arguments, const std::string& runFolder,
                      Display display, const std::vector<std::string>& before) {
    return run(bundle_.wrapper.engineBin() + "/wine", arguments, runFolder, display, before);
}

int WineSession::program(const std::string& path, const std::vector<std::string>& arguments,
                         const std::string& runFolder) {
    return run(path, arguments, runFolder, Display::shown);
}

bool WineSession::waitFor(Child& child) {
    if (child.wait(&signals_, std::nullopt) == Ending::exited) return true;
    stopped_ = 128 + signals_.take();
    if (joined_) {
        child.kill();  // the other programs of the wrapper are somebody else's
    } else {
        stopAsAsked();
    }
    return false;
}

bool WineSession::isOverWithin(std::chrono::milliseconds patience) {
    auto child = Child::start(inside({server(), {"-w"}, environment(Display::hidden), "/", ""}));
    if (!child) {
        stopNow();
        return true;
    }
    const Ending ending = child->wait(&signals_, patience);
    if (ending == Ending::exited) return true;
    child->kill();
    if (ending == Ending::timeOut) return false;
    stopped_ = 128 + signals_.take();
    stopAsAsked();
    return true;
}

void WineSession::waitForAll() {
    if (joined_ || stopped_ != 0) return;
    for (std::set<int> before;;) {
        std::vector<PrefixProcess> left = processesOf(bundle_.wrapper.prefix());
        std::erase_if(left, [](const PrefixProcess& one) { return one.isServer; });
        // A server whose last program has gone already would wait for ever for a first one. So would it for a
        // service that was still starting when the last program ended, and never hears of that.
        const std::set<int> now = numbersOf(left);
        const bool onlyServices = std::all_of(left.begin(), left.end(), isService);
        if (left.empty() || (onlyServices && now == before)) return stopNow();
        before = now;
        if (isOverWithin(onlyServices ? servicesPatience : programsPatience)) return;
    }
}

void WineSession::waitUntilIdle() {
    if (joined_ || stopped_ != 0) return;
    std::map<int, std::optional<std::string>> before;
    for (auto idleSince = std::chrono::steady_clock::now();;) {
        const auto processes = processesOf(bundle_.wrapper.prefix());
        std::map<int, std::optional<std::string>> now;
        for (const PrefixProcess& one : processes)
            now.emplace(one.number, isLeftBehind(one) ? progressOf(one.number) : std::nullopt);
        const bool isBusy = std::any_of(now.begin(), now.end(), [](const auto& one) { return !one.second; });
        if (std::exchange(before, now) != now || isBusy) idleSince = std::chrono::steady_clock::now();
        if (std::chrono::steady_clock::now() - idleSince >= idleTime) return stopNow();
        if (isOverWithin(idleStep)) return;
    }
}

void WineSession::waitForInstaller(std::chrono::milliseconds patience) {
    if (joined_ || stopped_ != 0) return;
    for (std::set<int> before;;) {
        const std::vector<PrefixProcess> programs = programsOf(bundle_.wrapper.prefix());
        const std::set<int> now = numbersOf(programs);
        const bool onlyInstalled = std::all_of(programs.begin(), programs.end(), isInstalledProgram);
        if (!programs.empty() && onlyInstalled && now == before) break;
        if (processesOf(bundle_.wrapper.prefix()).empty()) return;
        if (programs.empty()) return waitForAll();
        before = now;
        if (isOverWithin(patience)) return;
    }
    tell("The installer has ended but left a program running. It is asked to end.");
    quietly(bundle_.wrapper.engineBin() + "/wine", {"wineboot.exe", "--end-session"}, askPatience);
    if (quietly(server(), {"-w"}, std::min(patience, longestGrace)) != 0) stopNow();
}

void WineSession::stopNow() {
    // A plain "-k" is an interrupt, a signal to go on for a server that somebody holds up, and after ten seconds its
    // death, also when it is still saving the registry.
    for (const int signal : {SIGINT, SIGCONT})
        quietly(server(), {"-k" + std::to_string(signal)}, serverPatience);
    auto saving = Child::start(inside({server(), {"-w"}, environment(Display::hidden), "/", ""}));
    // A second signal means now.
    if (saving && saving->wait(stopped_ != 0 ? &signals_ : nullptr, savingPatience) == Ending::exited &&
        saving->status() == 0)
        return;
    if (saving) saving->kill();
    quietly(server(), {"-k"}, serverPatience);
}

void WineSession::stopAsAsked() {
    if (stopBy_ == StopBy::quitScript &&
        files::kindBehind(bundle_.wrapper.quitScript()) == files::Kind::file) {
        auto script = Child::start(
            inside({"/bin/bash", {bundle_.wrapper.quitScript()}, environment(Display::shown), "/", ""}));
        // A second signal means now.
        if (script && script->wait(&signals_, std::nullopt) == Ending::askedToStop) script->kill();
    }
    stopNow();
}

}  // namespace morvane::runtime
