// wrapper/program_header.h: which machine a Windows program was made for, and what runs it. Any thread; reads
// files only. Stands on the platform alone, because the launcher inside a wrapper uses it too.
#pragma once

#include <string>

namespace morvane {

enum class Machine {
    none,   ///< no Windows program: no file, a script, a program of DOS, a header that is cut short
    x86,    ///< 32 bits
    x64,    ///< 64 bits
    arm,    ///< 32 bits
    arm64,  ///< 64 bits
    other,  ///< a Windows program for a processor that no Wine knows
    any,    ///< a .NET program, which every Wine of any machine starts
};

/// From the header of the file.
[[nodiscard]] Machine machineOf(const std::string& path);
/// Why a wrapper cannot run a program of that machine, and what to do: a format for the user, with "%@" for
/// the program's path.
[[nodiscard]] const char* refusalOf(Machine machine);
/// Whether the file has the ending of a Windows program: exe, com, bat, cmd, msi or lnk, in any case. Another
/// file would be opened by whatever Wine has for it, or by a dialog that waits.
[[nodiscard]] bool hasProgramEnding(const std::string& path);
/// Whether a file that ends in ".exe" begins as a program of Windows or DOS does.
[[nodiscard]] bool beginsAsProgram(const std::string& path);

/// Whether an engine runs programs of that machine, by its own Windows libraries. `engine` is the folder
/// "ckwine.bundle"; one that holds no libraries starts this computer's Wine, which is looked at then, as it
/// is for the empty text. Yes for what is no Windows program, which Wine itself judges, and for 32 and 64
/// bits where the layout is unknown.
[[nodiscard]] bool engineRuns(const std::string& engine, Machine machine);
/// The same of a prefix, by the system libraries that it was created with; `prefix` is the folder that holds
/// "drive_c".
[[nodiscard]] bool prefixRuns(const std::string& prefix, Machine machine);

}  // namespace morvane
