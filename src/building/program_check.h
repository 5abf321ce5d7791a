// building/program_check.h: whether a wrapper will run a Windows program, looked up before it is run. Any
// thread; reads files only.
#pragma once

#include <optional>
#include <string>

#include "ports/port_data.h"

namespace morvane::building {

/// The last level of the installer's name, which a chosen file must match; empty for any.
[[nodiscard]] std::string installerNameIn(const std::optional<std::string>& originalInstallerName);

/// Why the wrapper's drive cannot run the program, and what to do about it; nothing when it can.
[[nodiscard]] std::optional<std::string> flawOfProgram(const std::string& program,
                                                       const std::string& wrapper);
/// The same of an engine in the store, whose archive may be unpacked for that. Nothing for an engine that is
/// not there, and for a 64-bit program, which needs no look.
[[nodiscard]] std::optional<std::string> flawOfProgramForEngine(const std::string& program,
                                                                const std::string& engine);
/// The same of the port's installer, where it is known which file that will be: for the wrapper, where it has
/// a drive already, else for the port's engine.
[[nodiscard]] std::optional<std::string> flawOfInstaller(const NSPortData& port, const std::string& wrapper);

}  // namespace morvane::building
