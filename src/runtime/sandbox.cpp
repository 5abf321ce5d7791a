#include "runtime/sandbox.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

#include "platform/files.h"
#include "platform/folders.h"
#include "runtime/wine_session.h"

namespace morvane::runtime {
namespace {

using Words = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

/// Of everybody.
constexpr std::array placesOfUsers{"/home", "/root", "/media", "/run/media"};

/// Graphics, sound, game controllers, and the memory that they share.
constexpr std::array devices{"/dev/dri",  "/dev/kfd", "/dev/snd",     "/dev/input",
                             "/dev/uhid", "/dev/shm", "/dev/udmabuf", "/dev/ntsync"};
/// Devices of these names have numbers.
constexpr std::array numberedDevices{"nvidia", "hidraw", "js"};
/// What programs read below /run: controllers' properties, the name servers, the driver of some systems.
constexpr std::array readInRun{
    "/run/udev",          "/run/systemd/resolve", "/run/NetworkManager/resolv.conf",
    "/run/nscd",          "/run/resolvconf",      "/run/opengl-driver",
    "/run/current-system"};
/// In the folder of the user's session: sound.
constexpr std::array sessionSockets{"pulse", "pipewire-0"};
/// The ways to what runs in the user's session, outside.
constexpr std::array sessionVariables{"DBUS_SESSION_BUS_ADDRESS", "SSH_AUTH_SOCK", "GPG_AGENT_INFO",
                                      "SESSION_MANAGER"};
/// Every start puts its wineserver where the others look for it.
constexpr std::array temporaryVariables{"TMPDIR", "TMP", "TEMP"};
/// Of the prefix, what our own programs read or write from outside: a link there could lead them anywhere.
constexpr std::array ownInPrefix{"/dosdevices", "/Logs", "/CaskeryMenuScripts"};

bool isAtOrBelow(const std::string& path, const std::string& folder) {
    return path == folder || path.starts_with(folder + "/");
}

std::string valueOf(const Environment& environment, const char* name) {
    const auto found = environment.find(name);
    return found != environment.end() ? found->second : std::string();
}

void add(Words& words, std::initializer_list<std::string> more) {
    words.insert(words.end(), more);
}

void addBind(Words& words, const char* how, const std::string& path) {
    add(words, {how, path, path});
}

void addDevices(Words& words) {
    add(words, {"--dev", "/dev"});
    for (const char* device : devices) addBind(words, "--dev-bind-try", device);
    const auto names = files::list("/dev");
    if (!names) return;
    for (const std::string& name : *names) {
        const bool isOne =
            std::ranges::any_of(numberedDevices, [&](auto* begin) { return name.starts_with(begin); });
        if (isOne) addBind(words, "--dev-bind-try", "/dev/" + name);
    }
}

/// The display and the sound of the user's session, by which programs show and play something.
void addSession(Words& words, const std::string& folder, const Environment& environment) {
    addBind(words, "--ro-bind-try", "/tmp/.X11-unix");
    std::string authority = valueOf(environment, "XAUTHORITY");
    if (authority.empty()) authority = valueOf(environment, "HOME") + "/.Xauthority";
    if (authority.starts_with('/')) addBind(words, "--ro-bind-try", authority);
    if (std::string sound = valueOf(environment, "PULSE_SERVER"); sound.starts_with("unix:/"))
        addBind(words, "--ro-bind-try", sound.substr(std::string_view("unix:").size()));
    if (folder.empty()) return;
    for (const char* name : sessionSockets) addBind(words, "--ro-bind-try", files::join(folder, name));
    const std::string display = valueOf(environment, "WAYLAND_DISPLAY");
    if (display.empty()) return;
    addBind(words, "--ro-bind-try", display.starts_with('/') ? display : files::join(folder, display));
}

/// The wrapper: its programs may change the prefix and nothing else of it, neither the launcher, which runs
/// outside, nor its settings, which say what the sandbox is.
void addWrapper(Words& words, const Wrapper& wrapper) {
    addBind(words, "--ro-bind", wrapper.path());
    addBind(words, "--bind", wrapper.prefix());
    // A place of a mount can't be renamed, so that no link comes to lie where it is.
    if (files::kindOf(wrapper.driveC()) == files::Kind::folder) addBind(words, "--bind", wrapper.driveC());
    for (const char* part : ownInPrefix) {
        if (files::kindOf(wrapper.prefix() + part) == files::Kind::folder)
            addBind(words, "--ro-bind", wrapper.prefix() + part);
    }
}

/// Never one that holds what is hidden.
bool isFolderToShow(const std::string& folder, const std::vector<std::string>& hidden) {
    const auto isInIt = [&](const std::string& one) { return isAtOrBelow(one, folder); };
    return folder != "/" && files::kindOf(folder) == files::Kind::folder &&
           std::ranges::none_of(hidden, isInIt);
}

struct Drive {
    std::string letter;  ///< "d:"
    std::string place;   ///< as its link says
    std::string folder;  ///< its real path
    bool isOpen;
    /// Seen through that one, and maybe a link that a program has put there.
    bool isInAnother = false;
};

/// Those that lead to folders outside the wrapper; inside it programs of the sandbox could put links.
std::vector<Drive> drivesOutside(const Wrapper& wrapper, const std::vector<std::string>& hidden) {
    std::vector<Drive> drives;
    const std::string prefix = files::resolved(wrapper.prefix()).value_or(wrapper.prefix());
    const auto letters = files::list(wrapper.dosdevices());
    if (!letters) return drives;
    for (const std::string& letter : *letters) {
        const auto place = files::destinationOfLink(files::join(wrapper.dosdevices(), letter));
        const bool isOutside = place && place->starts_with('/') && !isAtOrBelow(*place, wrapper.prefix()) &&
                               !isAtOrBelow(*place, prefix);
        const auto folder = isOutside ? files::resolved(*place) : std::nullopt;
        if (!folder || files::kindOf(*folder) != files::Kind::folder) continue;
        drives.push_back({letter, *place, *folder, isFolderToShow(*folder, hidden)});
    }
    for (Drive& drive : drives) {
        drive.isInAnother = std::ranges::any_of(drives, [&](const Drive& other) {
            return other.isOpen && other.place != drive.place && isAtOrBelow(drive.place, other.place);
        });
    }
    return drives;
}

}  // namespace

std::vector<std::string> hiddenFolders() {
    std::set<std::string> folders(placesOfUsers.begin(), placesOfUsers.end());
    folders.insert(Folders::fromEnvironment().home);
    folders.insert(environmentVariable("HOME"));
    if (const passwd* user = ::getpwuid(::getuid())) folders.insert(user->pw_dir);
    std::set<std::string> found;
    for (const std::string& folder : folders) {
        const auto path = files::resolved(folder);
        // A user of the system may have "/" for a home.
        if (folder.starts_with('/') && path && *path != "/" && files::kindOf(*path) == files::Kind::folder)
            found.insert(*path);
    }
    return {found.begin(), found.end()};
}

std::vector<std::string> writableFolders(const Wrapper& wrapper, const Dictionary& settings,
                                         const std::vector<std::string>& hidden) {
    const std::vector<std::string> shared = sharedFolders(settings);
    std::set<std::string> folders;
    for (const std::string& folder : shared) {
        if (files::resolved(folder) == folder && isFolderToShow(folder, hidden)) folders.insert(folder);
    }
    for (const DriveLink& link : linksOfDrive(wrapper)) {
        if (std::ranges::find(shared, link.folder) != shared.end()) continue;
        tell(link.link + " leads to " + link.folder +
             ", which the sandbox keeps out of sight. A drive that leads there lets it through.");
    }
    for (const Drive& drive : drivesOutside(wrapper, hidden)) {
        if (drive.isInAnother || std::ranges::any_of(shared, [&](const std::string& one) {
                return isAtOrBelow(drive.place, one);
            })) {
            continue;
        }
        if (drive.isOpen) {
            folders.insert(drive.folder);
        } else if (drive.folder != "/") {
            tell("Drive " + drive.letter + " leads to " + drive.folder +
                 ", where the folders of users lie: the sandbox keeps it out of sight.");
        }
    }
    return {folders.begin(), folders.end()};
}

std::map<std::string, std::string> linksOfDrives(const Wrapper& wrapper,
                                                 const std::vector<std::string>& hidden) {
    std::map<std::string, std::string> links;
    for (const Drive& drive : drivesOutside(wrapper, hidden)) {
        if (drive.isOpen && !drive.isInAnother && drive.folder != drive.place)
            links.emplace(drive.place, drive.folder);
    }
    return links;
}

std::string readableAround(const std::string& program, const std::vector<std::string>& hidden,
                           const std::vector<std::string>& discs) {
    const std::string path = files::resolved(program).value_or(program), folder = files::parent(path);
    if (!isFolderToShow(folder, hidden)) return path;
    const auto disc = std::ranges::find_if(discs, [&](const std::string& one) {
        return isAtOrBelow(folder, one) && isFolderToShow(one, hidden);
    });
    return disc != discs.end() ? *disc : folder;
}

std::vector<std::string> sandboxArguments(const SandboxView& view,
                                          const std::map<std::string, std::string>& environment) {
    Words words{"--cap-drop", "ALL"};
    if (view.mode == Sandbox::strict) add(words, {"--unshare-net"});
    add(words, {"--ro-bind", "/", "/"});
    add(words, {"--bind", view.temporary, "/tmp"});
    for (const char* folder : emptied) {
        if (files::kindOf(folder) == files::Kind::folder) add(words, {"--tmpfs", folder});
    }
    for (const std::string& folder : view.hidden) add(words, {"--tmpfs", folder});
    addDevices(words);
    for (const char* path : readInRun) addBind(words, "--ro-bind-try", path);
    if (!view.runtimeFolder.empty()) add(words, {"--perms", "0700", "--tmpfs", view.runtimeFolder});
    addSession(words, view.runtimeFolder, environment);

    for (const std::string& path : view.readable) addBind(words, "--ro-bind", path);
    for (const std::string& path : view.writable) addBind(words, "--bind", path);
    // Behind the others: a drive that holds the wrapper does not open all of it.
    addWrapper(words, view.wrapper);
    for (const auto& [place, destination] : view.links) add(words, {"--symlink", destination, place});

    // What is written there would be lost with the start: better that the program hears of it.
    for (const std::string& folder : view.hidden) add(words, {"--remount-ro", folder});
    for (const char* name : sessionVariables) add(words, {"--unsetenv", name});
    for (const char* name : temporaryVariables) add(words, {"--unsetenv", name});
    // Shaders that a driver keeps are not compiled anew at each start.
    add(words, {"--setenv", "XDG_CACHE_HOME", view.wrapper.prefix() + "/.cache"});
    return words;
}

}  // namespace morvane::runtime
