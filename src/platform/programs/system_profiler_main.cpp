// system_profiler SPDisplaysDataType | SPHardwareDataType: the graphics adapters and the computer, from the
// kernel's files below `$MORVANE_SYSTEM_ROOT` (empty on a real machine) and lspci's names. Adapters are
// indented by 4, their properties by 6.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/process.h"

namespace {

using namespace morvane;

/// The file's text without white space at its end; empty when it cannot be read.
std::string contents(const std::string& path) {
    const auto bytes = files::read(environmentVariable("MORVANE_SYSTEM_ROOT") + path);
    if (!bytes) return {};
    const auto& text = *bytes;
    return text.substr(0, text.find_last_not_of(" \n\t") + 1);
}

std::uint64_t numberIn(const std::string& text, int base) {
    return std::strtoull(text.c_str(), nullptr, base);
}

// ---- Graphics

const std::string pciDevices = "/sys/bus/pci/devices";

struct Adapter {
    std::string folder;  // of the kernel's, ends in the bus address
    std::uint64_t vendor = 0, device = 0;

    [[nodiscard]] std::string address() const { return files::lastComponent(folder); }
    [[nodiscard]] std::string property(const std::string& name) const {
        return contents(folder + "/" + name);
    }
};

constexpr std::uint64_t amd = 0x1002, nvidia = 0x10de, intel = 0x8086;

std::vector<std::string> pciFolders() {
    const auto names = files::list(environmentVariable("MORVANE_SYSTEM_ROOT") + pciDevices);
    std::vector<std::string> folders;
    if (!names) return folders;
    for (const auto& name : *names) folders.push_back(files::join(pciDevices, name));
    return folders;
}

std::vector<Adapter> adapters() {
    std::vector<Adapter> found;
    for (const std::string& folder : pciFolders()) {
        constexpr std::uint64_t display = 0x03;
        if (numberIn(contents(folder + "/class"), 16) >> 16 != display) continue;
        found.push_back(
            {folder, numberIn(contents(folder + "/vendor"), 16), numberIn(contents(folder + "/device"), 16)});
    }
    return found;
}

/// The fields of a line of `lspci -mm`: blanks between, in double quotes where they hold blanks.
std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    bool quoted = false, open = false;
    for (const char c : line) {
        if (c == '"') quoted = !quoted;
        const bool part = quoted || (c != ' ' && c != '"');
        if (c == '"' && !quoted) {
            if (!open) fields.emplace_back();
            open = false;
        } else if (part && c != '"') {
            if (!open) fields.emplace_back();
            open = true;
            fields.back() += c;
        } else if (!part) {
            open = false;
        }
    }
    return fields;
}

/// The device's name in the machine's list of names; empty when there is none.
std::string listedName(const Adapter& adapter) {
    const auto programs =
        processes::search("lspci", environmentVariable("PATH") + ":/usr/bin:/usr/sbin:/sbin");
    if (programs.empty()) return {};
    const auto result =
        processes::run({.program = programs.front(), .arguments = {"-mm", "-D", "-s", adapter.address()}});
    const auto fields = fieldsOf(result ? result->output.substr(0, result->output.find('\n')) : "");
    // Address, class, vendor, device. A device without a name is listed as "Device 1234".
    return fields.size() > 3 && !fields[3].starts_with("Device ") ? fields[3] : std::string();
}

std::string hexadecimal(std::uint64_t number) {
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}

/// "AMD Radeon RX 480" of "Ellesmere [Radeon RX 480]": users know the name in brackets, not the chip's.
std::string model(const Adapter& adapter) {
    std::string name = listedName(adapter);
    if (const auto open = name.rfind('['), close = name.rfind(']');
        open < close && close != std::string::npos) {
        name = name.substr(open + 1, close - open - 1);
    }
    if (name.empty()) name = "Graphics " + hexadecimal(adapter.device);
    if (adapter.vendor == amd) return "AMD " + name;
    // The catalogue's families are told apart by the letters in this name, and any "ATI", as in
    // "Workstation", makes the card one of AMD's.
    std::istringstream words(name);
    std::string kept, word;
    while (words >> word) {
        std::string upper = word;
        for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (upper.find("ATI") != std::string::npos || upper.find("AMD") != std::string::npos) continue;
        kept += (kept.empty() ? "" : " ") + word;
    }
    if (adapter.vendor == nvidia) return "NVIDIA " + kept;
    if (adapter.vendor == intel) return "Intel " + kept;
    return kept;
}

/// Part of the processor: Intel's on the first bus, and AMD's, which share their slot with the processor's
/// security unit (class 1080).
bool isBuiltIn(const Adapter& adapter) {
    const std::string address = adapter.address();
    if (adapter.vendor == intel) return address.find(":00:") != std::string::npos;
    if (adapter.vendor != amd) return false;
    const std::string slot = adapter.folder.substr(0, adapter.folder.rfind('.') + 1);
    const auto folders = pciFolders();
    return std::any_of(folders.begin(), folders.end(), [&](const std::string& folder) {
        return folder.starts_with(slot) && numberIn(contents(folder + "/class"), 16) >> 8 == 0x1080;
    });
}

std::string bus(const Adapter& adapter) {
    if (isBuiltIn(adapter)) return "Built-In";
    // Only devices on PCI Express have a link.
    return adapter.property("max_link_width").empty() ? "PCI" : "PCIe";
}

/// The card's own memory where the kernel tells it: by the driver, or by the widest window into it.
std::optional<std::uint64_t> memoryInMegabytes(const Adapter& adapter) {
    if (const std::string bytes = adapter.property("mem_info_vram_total"); !bytes.empty()) {
        return numberIn(bytes, 10) >> 20;
    }
    constexpr std::uint64_t memory = 0x200, prefetchable = 0x2000, usualWindow = 256 << 20;
    std::uint64_t widest = 0;
    std::istringstream lines(adapter.property("resource"));
    for (std::string begin, end, flags; lines >> begin >> end >> flags;) {
        const std::uint64_t from = numberIn(begin, 16), to = numberIn(end, 16), kind = numberIn(flags, 16);
        if ((kind & memory) != 0 && (kind & prefetchable) != 0 && to > from)
            widest = std::max(widest, to - from + 1);
    }
    // Of built-in graphics the window says nothing, and neither does the usual one of cards with far more
    // behind it.
    if (isBuiltIn(adapter) || widest == usualWindow || widest < (1 << 20)) return std::nullopt;
    return widest >> 20;
}

void printDisplays() {
    std::cout << "Graphics/Displays:\n\n";
    for (const Adapter& adapter : adapters()) {
        const std::string name = model(adapter);
        std::cout << "    " << name << ":\n\n";
        std::cout << "      Chipset Model: " << name << '\n';
        std::cout << "      Type: GPU\n";
        std::cout << "      Bus: " << bus(adapter) << '\n';
        if (const auto size = memoryInMegabytes(adapter))
            std::cout << "      VRAM (Total): " << *size << " MB\n";
        std::cout << "      Vendor ID: " << hexadecimal(adapter.vendor) << '\n';
        std::cout << "      Device ID: " << hexadecimal(adapter.device) << "\n\n";
    }
}

// ---- The computer

struct Processors {
    std::string name;
    double megahertz = 0;
    std::size_t count = 0, cores = 0;
};

Processors processors() {
    Processors result;
    std::set<std::string> packages;
    std::set<std::pair<std::string, std::string>> cores;
    std::size_t threads = 0;
    std::string package;
    std::istringstream lines(contents("/proc/cpuinfo"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        const std::string key = line.substr(0, line.find_last_not_of(" \t", colon - 1) + 1);
        const std::string value = line.substr(std::min(colon + 2, line.size()));
        if (key == "processor") ++threads;
        if (key == "model name" && result.name.empty()) result.name = value;
        if (key == "cpu MHz")
            result.megahertz = std::max(result.megahertz, std::strtod(value.c_str(), nullptr));
        if (key == "physical id") packages.insert(package = value);
        if (key == "core id") cores.emplace(package, value);
    }
    constexpr double kilo = 1000;
    const auto most = numberIn(contents("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"), 10);
    if (most != 0) result.megahertz = static_cast<double>(most) / kilo;
    result.count = std::max<std::size_t>(packages.size(), 1);
    result.cores = cores.empty() ? threads : cores.size();
    return result;
}

/// What was built in: the kernel keeps some for itself, so whole gigabytes are rounded up to.
std::string memory() {
    std::istringstream lines(contents("/proc/meminfo"));
    std::uint64_t kilobytes = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("MemTotal:")) kilobytes = numberIn(line.substr(9), 10);
    }
    constexpr std::uint64_t gigabyte = 1 << 20;
    if (kilobytes < gigabyte) return std::to_string(kilobytes >> 10) + " MB";
    return std::to_string((kilobytes + gigabyte - 1) / gigabyte) + " GB";
}

void printHardware() {
    const Processors all = processors();
    const std::string product = contents("/sys/class/dmi/id/product_name");
    std::cout << "Hardware:\n\n    Hardware Overview:\n\n";
    std::cout << "      Model Name: " << (product.empty() ? "Linux computer" : product) << '\n';
    std::cout << "      Processor Name: " << all.name << '\n';
    if (all.megahertz > 0) {
        std::cout << "      Processor Speed: " << std::round(all.megahertz / 10) / 100 << " GHz\n";
    }
    std::cout << "      Number of Processors: " << all.count << '\n';
    std::cout << "      Total Number of Cores: " << all.cores << '\n';
    std::cout << "      Memory: " << memory() << "\n\n";
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> kinds(arguments + 1, arguments + count);
    for (const std::string& kind : kinds) {
        if (kind == "SPDisplaysDataType") printDisplays();
        if (kind == "SPHardwareDataType") printHardware();
    }
    if (!kinds.empty()) return EXIT_SUCCESS;
    std::cerr << "usage: system_profiler SPDisplaysDataType|SPHardwareDataType...\n";
    return EXIT_FAILURE;
}
