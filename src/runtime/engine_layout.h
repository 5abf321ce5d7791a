// runtime/engine_layout.h: what engines of ours have in common: their programs, and how they are packed. Any
// thread.
#pragma once

#include <string>
#include <string_view>

#include "platform/cancellation.h"
#include "platform/result.h"

namespace morvane::runtime {

/// Quoted for a shell script.
[[nodiscard]] std::string quoted(std::string_view text);
/// `exec COMMAND "$@"`: a link to the loader would look for its libraries in the wrong place.
[[nodiscard]] Result<> writeScript(const std::string& path, const std::string& command);
/// In a script: the folder that it lies in, with the final "/".
inline constexpr const char* scriptsFolder = "\"${0%/*}\"/";

/// Scripts for the server beside it in `bin`, under the name that Wine looks for: without clients it ends at
/// once.
[[nodiscard]] Result<> writeServerScript(const std::string& bin);
/// Scripts for those tools of Wine's that are not there: menu scripts, winetricks and users call them by name.
[[nodiscard]] Result<> writeToolScripts(const std::string& bin);

/// Packs the bundle in `work` into `<name>.tar.7z` there.
[[nodiscard]] Result<> packEngine(const std::string& work, const std::string& name,
                                  Cancellation& cancellation);

}  // namespace morvane::runtime
