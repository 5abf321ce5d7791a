// support/windows_file.h: the headers of Windows programs.
#pragma once

#include <cstdint>
#include <string>

namespace morvane::testing {

enum class Managed { no, yes };  ///< yes: a .NET program

/// The headers of a Windows file with nothing behind them; `wide` for those of 64 bits.
[[nodiscard]] std::string windowsFile(std::uint16_t machine, bool wide, Managed managed = Managed::no);

}  // namespace morvane::testing
