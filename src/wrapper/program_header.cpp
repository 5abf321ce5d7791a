#include "wrapper/program_header.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <set>
#include <string_view>

#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/process.h"

namespace morvane {
namespace {

/// Wine's name for a machine, in its folders of libraries.
struct WineMachine {
    const char* folder;
    Machine machine;
};
constexpr std::array wineMachines{
    WineMachine{"i386-windows", Machine::x86}, WineMachine{"x86_64-windows", Machine::x64},
    WineMachine{"arm-windows", Machine::arm}, WineMachine{"aarch64-windows", Machine::arm64}};

/// The little-endian number at the offset; 0 beyond the end.
std::uint32_t numberAt(std::string_view bytes, std::size_t offset, int size) {
    if (offset + static_cast<std::size_t>(size) > bytes.size()) return 0;
    std::uint32_t number = 0;
    for (int index = size - 1; index >= 0; --index) {
        number = number << 8 | static_cast<unsigned char>(bytes[offset + static_cast<std::size_t>(index)]);
    }
    return number;
}

std::string bytesAt(std::ifstream& file, std::uint32_t offset, std::size_t size) {
    std::string bytes(size, '\0');
    file.clear();
    file.seekg(offset);
    file.read(bytes.data(), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    return bytes;
}

bool isFile(const std::string& path) {
    return files::kindBehind(path) == files::Kind::file;
}

/// What lies in the folder, if it is one.
std::vector<std::string> namesIn(const std::string& folder) {
    auto names = files::list(folder);
    if (!names) return {};
    return std::move(*names);
}

/// The machines whose libraries lie in a Wine below the folder: in "lib/wine", "lib64/wine" or
/// "lib/<machine of the host>/wine".
std::set<Machine> machinesBelow(const std::string& root) {
    std::vector<std::string> folders{root + "/lib/wine", root + "/lib64/wine"};
    for (const std::string& name : namesIn(root + "/lib")) {
        if (name.ends_with("-linux-gnu")) folders.push_back(files::join(root + "/lib", name) + "/wine");
    }
    std::set<Machine> machines;
    for (const std::string& folder : folders) {
        for (const auto& [name, machine] : wineMachines) {
            if (isFile(folder + "/" + name + "/ntdll.dll")) machines.insert(machine);
        }
    }
    return machines;
}

/// Of the Wine that a user of this computer would start.
std::set<Machine> machinesOfTheSystem() {
    const auto programs = processes::search("wine", environmentVariable("PATH"));
    if (programs.empty()) return {};
    std::set<Machine> machines = machinesBelow(files::parent(files::parent(programs.front())));
    // A package of its own folder, to which only a link leads.
    const auto real = files::resolved(programs.front());
    if (real) machines.merge(machinesBelow(files::parent(files::parent(*real))));
    return machines;
}

}  // namespace

Machine machineOf(const std::string& path) {
    if (!isFile(path)) return Machine::none;
    std::ifstream file(path, std::ios::binary);
    const std::string start = bytesAt(file, 0, 64);
    if (!start.starts_with("MZ") || start.size() < 64) return Machine::none;
    const std::string header = bytesAt(file, numberAt(start, 0x3c, 4), 24 + 112 + 16 * 8);
    if (!header.starts_with(std::string_view("PE\0\0", 4)) || header.size() < 24) return Machine::none;

    constexpr std::size_t optional = 24, dotNetDirectory = 14;
    const bool wide = numberAt(header, optional, 2) == 0x20b;
    const std::size_t directories = optional + (wide ? 112 : 96);
    if (numberAt(header, directories - 4, 4) > dotNetDirectory &&
        numberAt(header, directories + dotNetDirectory * 8, 4) != 0) {
        return Machine::any;
    }
    switch (numberAt(header, 4, 2)) {
        case 0x014c:
            return Machine::x86;
        case 0x8664:
            return Machine::x64;
        case 0x01c0:  // ARM
        case 0x01c2:  // Thumb
        case 0x01c4:  // Thumb-2
            return Machine::arm;
        case 0xaa64:
            return Machine::arm64;
        default:
            return Machine::other;
    }
}

const char* refusalOf(Machine machine) {
    switch (machine) {
        case Machine::x86:
            return marked(
                "%@ is a 32-bit program, and this wrapper's engine runs 64-bit programs only. Install "
                "Wine's "
                "32-bit part (package wine32: dpkg --add-architecture i386, apt-get update, apt-get "
                "install "
                "wine32:i386), make the system's engine again, or use an engine that runs 32-bit "
                "programs, "
                "and create the wrapper anew.");
        case Machine::x64:
            return marked(
                "%@ is a 64-bit program, and this wrapper's drive was made for 32-bit programs only.");
        case Machine::arm:
            return marked(
                "%@ is an ARM program, which this wrapper's engine cannot run. Use the edition for PCs "
                "(x64).");
        case Machine::arm64:
            return marked(
                "%@ is an ARM64 program, which this wrapper's engine cannot run. Use the edition for PCs "
                "(x64).");
        default:
            return marked("%@ is a program for another processor, which this wrapper's engine cannot run.");
    }
}

bool hasProgramEnding(const std::string& path) {
    constexpr std::array endings{"exe", "com", "bat", "cmd", "msi", "lnk"};
    const std::string extension = files::extension(path);
    return std::any_of(endings.begin(), endings.end(),
                       [&](const char* ending) { return ::strcasecmp(extension.c_str(), ending) == 0; });
}

bool beginsAsProgram(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return bytesAt(file, 0, 2) == "MZ";
}

bool engineRuns(const std::string& engine, Machine machine) {
    if (machine == Machine::none || machine == Machine::any) return true;
    std::set<Machine> machines = engine.empty() ? std::set<Machine>() : machinesBelow(engine);
    const bool bringsOwn = !machines.empty() || (!engine.empty() && !namesIn(engine + "/lib").empty());
    if (!bringsOwn) machines = machinesOfTheSystem();
    if (machines.empty()) return machine == Machine::x86 || machine == Machine::x64;
    return machines.contains(machine);
}

bool prefixRuns(const std::string& prefix, Machine machine) {
    const std::string windows = prefix + "/drive_c/windows";
    const Machine main = machineOf(windows + "/system32/ntdll.dll");
    switch (machine) {
        case Machine::none:
        case Machine::any:
            return true;
        case Machine::x86:
            return main == Machine::x86 || isFile(windows + "/syswow64/ntdll.dll");
        case Machine::x64:
            return main != Machine::x86;
        case Machine::arm:
            return main == Machine::arm || isFile(windows + "/sysarm32/ntdll.dll");
        case Machine::arm64:
            return main == Machine::arm64;
        case Machine::other:
            return false;
    }
    return false;
}

}  // namespace morvane
