#include "foundation/computer_information.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/property_list.h"

namespace morvane::NSComputerInformation {

namespace {

/// The adapters of the report: their headings stand at 4 spaces, their properties at 6, displays deeper.
std::vector<Dictionary> adaptersOf(const std::string& report) {
    std::vector<Dictionary> adapters;
    for (const std::string& line : MVString::split(report, "\n")) {
        const std::size_t spaces = line.find_first_not_of(' ');
        if (spaces == 4) adapters.emplace_back();
        if (spaces != 6 || adapters.empty()) continue;
        const std::vector<std::string> parts = MVString::split(line.substr(spaces), ": ");
        if (parts.size() >= 2) adapters.back().set(parts[0], parts[1]);
    }
    return adapters;
}

int busRank(const Dictionary& adapter) {
    const std::string* bus = adapter.get<std::string>("Bus");
    if (bus != nullptr && *bus == "Built-In") return 0;
    if (bus != nullptr && *bus == "PCI") return 1;
    return 2;
}

std::optional<std::string> typeOfModel(const std::optional<std::string>& model) {
    if (!model) return std::nullopt;
    std::string type = MVString::uppercased(*model);
    if (MVString::contains(type, "AMD") || MVString::contains(type, "ATI")) type = "ATi/AMD";
    for (const char* family : {"Intel Iris", "Intel HD", "NVIDIA"}) {
        if (MVString::contains(type, MVString::uppercased(family))) type = family;
    }
    return type;
}

/// What a program prints that may be missing here; empty then.
std::string reportOf(const std::string& program, const std::vector<std::string>& arguments) {
    const auto path = MVTask::getPathOfProgram(program);
    if (!path) return "";
    // What they complain of, without a display for example, is nothing that the user has asked for.
    std::vector<std::string> words{"-c", "exec \"$0\" \"$@\" 2>/dev/null", *path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return MVTask::outputOf(MVTask::runProgram("/bin/sh", "/", words, Wait::yes));
}

std::optional<std::string> described(const std::string& renderer, const std::vector<std::string>& driver,
                                     const std::string& version) {
    if (renderer.empty()) return std::nullopt;
    std::string text = renderer;
    for (const std::string& part : driver) {
        if (!part.empty() && !MVString::contains(text, part)) text += ", " + part;
    }
    return version.empty() ? text : localized("%@, version %@", {text, version});
}

std::string readSystemVersion() {
    const auto properties =
        property_lists::read(host().folders.systemRoot + "/System/Library/CoreServices/SystemVersion.plist");
    const Dictionary* dictionary = properties ? properties->as<Dictionary>() : nullptr;
    const std::string* version =
        dictionary != nullptr ? dictionary->get<std::string>("ProductVersion") : nullptr;
    return version != nullptr ? *version : "";
}

/// The text of a file of the system, on one line; empty without one.
std::string systemText(const std::string& path) {
    const auto bytes = files::read(host().folders.systemRoot + path);
    return bytes && MVString::isValidUtf8(*bytes) ? MVString::trimmed(*bytes) : "";
}

/// A field of the firmware's table, without what stands for none.
std::string firmwareText(const char* field) {
    static constexpr std::array fillers{"to be filled",   "system",  "default string", "not specified",
                                        "not applicable", "unknown", "none",           "o.e.m."};
    const std::string text = systemText(std::string("/sys/class/dmi/id/") + field);
    const std::string words = MVString::lowercased(text) + " ";
    const bool isFiller = std::ranges::any_of(
        fillers, [&](const char* filler) { return words.starts_with(std::string(filler) + " "); });
    return isFiller ? "" : text;
}

/// The value of a line `KEY="value"` of the system's description.
std::string releaseValue(const std::string& release, const std::string& key) {
    for (const std::string& line : MVString::split(release, "\n")) {
        if (!line.starts_with(key + "=")) continue;
        std::string value = MVString::trimmed(line.substr(key.size() + 1));
        const bool isQuoted = value.size() > 1 && (value.front() == '"' || value.front() == '\'');
        if (isQuoted && value.back() == value.front()) value = value.substr(1, value.size() - 2);
        std::string text;
        for (std::size_t at = 0; at < value.size(); ++at) {
            if (value[at] == '\\' && at + 1 < value.size()) ++at;
            text += value[at];
        }
        return text;
    }
    return "";
}

std::optional<std::string> property(std::string_view key) {
    const Dictionary card = graphicCardDictionary();
    const std::string* value = card.get<std::string>(key);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

}  // namespace

Dictionary graphicCardInReport(const std::string& report) {
    const std::vector<Dictionary> adapters = adaptersOf(report);
    const auto best = std::max_element(
        adapters.begin(), adapters.end(),
        [](const Dictionary& one, const Dictionary& other) { return busRank(one) < busRank(other); });
    return best == adapters.end() ? Dictionary() : *best;
}

Dictionary graphicCardDictionary() {
    auto& cache = host().hardware;
    {
        MutexLock lock(cache.mutex);
        if (cache.value.graphicCard) return *cache.value.graphicCard;
    }
    // Read without the lock: a missing report program is told in a dialog, and the main thread, which shows
    // it, may itself ask for the card. Whoever stores first decides for all.
    Dictionary card = graphicCardInReport(MVTask::outputOf(
        MVTask::runTerminalCommand("system_profiler SPDisplaysDataType", std::nullopt, Wait::yes)));
    MutexLock lock(cache.mutex);
    if (!cache.value.graphicCard) cache.value.graphicCard = std::move(card);
    return *cache.value.graphicCard;
}

std::optional<std::string> graphicCardModel() {
    return property("Chipset Model");
}

std::optional<std::string> graphicCardType() {
    const std::optional<std::string> model = graphicCardModel();
    auto& cache = host().hardware;
    MutexLock lock(cache.mutex);
    if (!cache.value.graphicCardTypeKnown) {
        cache.value.graphicCardType = typeOfModel(model);
        cache.value.graphicCardTypeKnown = true;
    }
    return cache.value.graphicCardType;
}

std::optional<std::string> graphicCardMemorySize() {
    auto size = property("VRAM (Total)");
    return size ? size : property("VRAM (Dynamic, Max)");
}

std::string macOsVersion() {
    auto& cache = host().hardware;
    MutexLock lock(cache.mutex);
    if (!cache.value.macOsVersion) cache.value.macOsVersion = readSystemVersion();
    return *cache.value.macOsVersion;
}

std::optional<std::string> machineModel() {
    std::string model;
    // Some makers put the name under which they sell it into the version.
    for (const char* field : {"sys_vendor", "product_name", "product_version"}) {
        const std::string text = firmwareText(field);
        if (text.empty() || MVString::contains(model, text)) continue;
        // A product that begins with its maker's name needs no other.
        if (text.starts_with(model + " ")) model.clear();
        model += (model.empty() ? "" : " ") + text;
    }
    return model.empty() ? std::nullopt : std::optional(model);
}

std::optional<std::string> systemName() {
    if (std::string version = macOsVersion(); !version.empty()) return version;
    std::string release = systemText("/etc/os-release");
    if (release.empty()) release = systemText("/usr/lib/os-release");
    for (const char* key : {"PRETTY_NAME", "NAME"}) {
        if (std::string name = releaseValue(release, key); !name.empty()) return name;
    }
    return std::nullopt;
}

bool isSystemMacOsEqualOrSuperiorTo(std::string_view version) {
    const std::vector<std::string> ours = MVString::split(macOsVersion(), ".");
    const std::vector<std::string> wanted = MVString::split(version, ".");
    for (std::size_t index = 0; index < std::min(ours.size(), wanted.size()); ++index) {
        const auto our = MVString::initialIntValue(ours[index]);
        const auto want = MVString::initialIntValue(wanted[index]);
        if (our != want) return our > want;
    }
    return ours.size() >= wanted.size();
}

std::optional<std::string> vulkanRenderer() {
    const std::string report = reportOf("vulkaninfo", {"--summary"});
    // The first device is the one that games take unless they are told otherwise.
    const auto device = report.find("GPU0:");
    if (device == std::string::npos) return std::nullopt;
    const auto value = [&, lines = MVString::split(report.substr(device), "\n")](const std::string& name) {
        for (const std::string& line : lines) {
            const std::string text = MVString::trimmed(line);
            const auto equals = text.find('=');
            if (equals != std::string::npos && MVString::trimmed(text.substr(0, equals)) == name)
                return MVString::trimmed(text.substr(equals + 1));
        }
        return std::string();
    };
    std::string version = value("apiVersion");
    // "4206830 (1.3.238)" of older ones.
    if (const auto bracket = version.find('('); bracket != std::string::npos)
        version = MVString::split(version.substr(bracket + 1), ")").front();
    return described(value("deviceName"), {value("driverName"), value("driverInfo")}, version);
}

std::optional<std::string> openGlRenderer() {
    const std::string report = reportOf("glxinfo", {"-B"});
    return described(valueInReport("OpenGL renderer string", report),
                     {valueInReport("OpenGL vendor string", report)},
                     valueInReport("OpenGL version string", report));
}

std::string hardwareReport() {
    return MVTask::outputOf(
        MVTask::runTerminalCommand("system_profiler SPHardwareDataType", std::nullopt, Wait::yes));
}

std::string valueInReport(std::string_view label, std::string_view report) {
    return NSUtilities::getFragmentAfter(std::string(label) + ": ", "\n", report);
}

std::string diskSize() {
    std::error_code error;
    const auto space = std::filesystem::space("/", error);
    const auto shown = [&](std::uintmax_t bytes) {
        return NSUtilities::humanReadableSizeForBytes(error ? 0 : static_cast<std::int64_t>(bytes),
                                                      DecimalMeasureSystem::yes);
    };
    return localized("%@ (%@ available)", {shown(space.capacity), shown(space.available)});
}

}  // namespace morvane::NSComputerInformation
