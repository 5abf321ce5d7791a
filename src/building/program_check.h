// building/program_check.h: whether a wrapper will run a Windows program, looked up before it is run. Any
// thread; reads files only.
#pragma once

#include <optional>
#include <string>

#include "platform/result.h"
#include "ports/port_data.h"

namespace morvane::building {

/// The last level of the installer's name, which a chosen file must match; empty for any.
[[nodiscard]] std::string installerNameIn(const std::optional<std::string>& originalInstallerName);

/// Whether an engine in the store runs the program, as `checkMachine` tells it of a wrapper; its archive may be
/// unpacked for that. A success for an engine that is not there, and for a 64-bit program, which needs no look.
[[nodiscard]] Result<> checkProgramForEngine(const std::string& program, const std::string& engine);
/// The same of the port's installer, where it is known which file that will be: for the wrapper, where it has
/// a drive already, else for the port's engine.
[[nodiscard]] Result<> checkInstaller(const NSPortData& port, const std::string& wrapper);

}  // namespace morvane::building
