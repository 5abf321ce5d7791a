#include "platform/volumes.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <sstream>

#include "platform/files.h"

namespace morvane::volumes {

namespace {

constexpr std::array<std::string_view, 4> discSystems{"iso9660", "udf", "fuseiso", "cdfs"};
/// Whatever is mounted below these is there to be found.
constexpr std::array<std::string_view, 4> placesOfMedia{"/media/", "/run/media/", "/Volumes/", "/mnt/"};

std::string userName() {
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_name : environmentVariable("USER");
}

/// The folders whose entries are volumes, those of the desktops first.
std::vector<std::string> parents() {
    const std::string name = userName();
    std::vector<std::string> folders{"/Volumes"};
    if (!name.empty()) folders.insert(folders.end(), {"/run/media/" + name, "/media/" + name});
    folders.emplace_back("/media");
    return folders;
}

/// "\040" in the table is a blank.
std::string withoutEscapes(std::string_view field) {
    const auto isOctal = [](char digit) { return digit >= '0' && digit <= '7'; };
    std::string text;
    for (std::size_t at = 0; at < field.size(); ++at) {
        const bool isEscape = field[at] == '\\' && at + 3 < field.size() && isOctal(field[at + 1]) &&
                              isOctal(field[at + 2]) && isOctal(field[at + 3]);
        if (!isEscape) {
            text += field[at];
            continue;
        }
        text +=
            static_cast<char>((field[at + 1] - '0') * 64 + (field[at + 2] - '0') * 8 + field[at + 3] - '0');
        at += 3;
    }
    return text;
}

/// A partition has no mark of its own, but lies in the folder of its drive.
bool isRemovableDevice(const std::string& device) {
    const std::string folder = "/sys/dev/block/" + device;
    for (const char* mark : {"/removable", "/../removable"}) {
        const auto text = files::read(folder + mark);
        if (text) return text->starts_with('1');
    }
    return false;
}

bool isStartUpDisk(const std::string& volume) {
    if (files::kindOf(volume) != files::Kind::link) return false;
    const auto destination = files::destinationOfLink(volume);
    return destination && *destination == "/";
}

/// Volumes in the order in which they are added, without doubles.
class Found {
  public:
    void add(const std::string& path) {
        const bool isFolder = files::kindBehind(path) == files::Kind::folder;
        if (!isFolder || isStartUpDisk(path) || ::access(path.c_str(), R_OK | X_OK) != 0) return;
        if (known_.insert(files::resolved(path).value_or(path)).second) paths.push_back(path);
    }
    void addEntriesOf(const std::string& folder) {
        const auto names = files::list(folder);
        if (!names) return;
        for (const std::string& name : *names) add(files::join(folder, name));
    }
    /// A folder of volumes is none itself.
    void leaveOut(const std::string& folder) { known_.insert(files::resolved(folder).value_or(folder)); }

    std::vector<std::string> paths;

  private:
    std::set<std::string> known_;
};

}  // namespace

std::vector<std::string> mounted(const Folders& folders) {
    Found found;
    if (!folders.volumes.empty()) {
        found.addEntriesOf(folders.volumes);
        return std::move(found.paths);
    }
    for (const std::string& folder : parents()) found.leaveOut(folder);
    for (const std::string& folder : parents()) found.addEntriesOf(folder);
    const auto table = files::read("/proc/self/mountinfo");
    if (!table) return std::move(found.paths);
    for (const std::string& path : mediaIn(*table, isRemovableDevice)) found.add(path);
    return std::move(found.paths);
}

std::string parent(const Folders& folders) {
    if (!folders.volumes.empty()) return folders.volumes;
    for (const std::string& folder : parents()) {
        if (files::kindBehind(folder) == files::Kind::folder) return folder;
    }
    return parents().back();
}

std::vector<std::string> mediaIn(std::string_view mountTable,
                                 const std::function<bool(const std::string& device)>& isRemovable) {
    std::vector<std::string> media;
    std::istringstream lines{std::string(mountTable)};
    for (std::string line; std::getline(lines, line);) {
        // "36 25 8:17 / /media/disc rw shared:1 - iso9660 /dev/sr0 ro": before the "-" is any number of tags.
        const std::size_t dash = line.find(" - ");
        if (dash == std::string::npos) continue;
        std::string number, parentNumber, device, root, place, system;
        std::istringstream(line) >> number >> parentNumber >> device >> root >> place;
        std::istringstream(line.substr(dash + 3)) >> system;
        place = withoutEscapes(place);
        const bool isDisc = std::ranges::find(discSystems, system) != discSystems.end();
        const bool isInPlace = std::ranges::any_of(
            placesOfMedia, [&](std::string_view folder) { return (place + "/").starts_with(folder); });
        // The system itself may run from a stick.
        const bool isDrive = root == "/" && place != "/" && !place.starts_with("/boot");
        if (isDisc || isInPlace || (isDrive && isRemovable(device))) media.push_back(place);
    }
    return media;
}

}  // namespace morvane::volumes
