// runtime/builtin_files.h: Wine's own Windows files without their debug information. Any thread.
//
// Wine puts a copy of each of its libraries into a new prefix, only to be looked at: what runs is the
// engine's. Some distributions build them with debug information, which makes nine tenths of a prefix of 700
// MB.
#pragma once

#include <cstdint>
#include <string>

namespace morvane::runtime {

/// Cuts the debug sections and the symbol table off the file's end, in place; a kill at any moment leaves a
/// readable file. Only a file with Wine's mark is touched, never a program or library of somebody else. The
/// bytes saved; 0 when there was nothing to cut or the file could not be changed.
std::uint64_t cutDebugInformation(const std::string& file);
/// The same for every file below the folder; links are not followed.
std::uint64_t cutDebugInformationBelow(const std::string& folder);

}  // namespace morvane::runtime
