// foundation/computer_information.h: the graphics card and the system version, computed once per run. Any
// thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace morvane::NSComputerInformation {

/// The properties of the adapter with the highest bus rank; empty when there is none. Of several with the
/// same rank the first listed is taken.
[[nodiscard]] Dictionary graphicCardDictionary();
/// The same of a report of `system_profiler SPDisplaysDataType`.
[[nodiscard]] Dictionary graphicCardInReport(const std::string& report);
[[nodiscard]] std::optional<std::string> graphicCardModel();
/// "ATi/AMD", "Intel Iris", "Intel HD", "NVIDIA", or the model in upper case.
[[nodiscard]] std::optional<std::string> graphicCardType();
/// As "1536 MB" or "2 GB".
[[nodiscard]] std::optional<std::string> graphicCardMemorySize();
/// Empty when it is not known.
[[nodiscard]] std::string macOsVersion();
[[nodiscard]] bool isSystemMacOsEqualOrSuperiorTo(std::string_view version);

/// What the machine's firmware says of its maker and product; nothing where it says nothing, or only what
/// makers leave there unfilled.
[[nodiscard]] std::optional<std::string> machineModel();
/// `macOsVersion`, or the name of the system that is none: "Debian GNU/Linux 12 (bookworm)". Nothing when
/// neither is known.
[[nodiscard]] std::optional<std::string> systemName();

/// What draws for programs: "Mesa Intel(R) UHD 620, Mesa 22.3.6, version 1.3.230". Nothing where the program
/// that tells (`vulkaninfo`, `glxinfo`) is not installed, or where there is none.
[[nodiscard]] std::optional<std::string> vulkanRenderer();
[[nodiscard]] std::optional<std::string> openGlRenderer();

/// What `system_profiler SPHardwareDataType` prints; not kept.
[[nodiscard]] std::string hardwareReport();
/// The value behind "label: " in a report, up to the line break; empty when it has none.
[[nodiscard]] std::string valueInReport(std::string_view label, std::string_view report);
/// "1.5Tb (200.1Gb available)": the file system of "/".
[[nodiscard]] std::string diskSize();

}  // namespace morvane::NSComputerInformation
