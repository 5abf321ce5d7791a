// building/port_texts.h: texts of a port description on their way into file names and registry files.
//
// A port description may come from a stranger. A text of it that would reach outside the wrapper, or that
// would add registry keys of its own, is refused with one error; its entry is left out and the rest of the
// port goes on. The creation's thread; `refuse` waits for the user's dismissal.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/safe_paths.h"

namespace morvane::port_texts {

/// Tells the user that an entry of the description is left out. `what` says in words what the text should
/// have been, and its key: "a drive letter (Drives)".
void refuse(std::string_view text, std::string_view what);
/// `pathInside`; a refusal is told to the user in the same way.
[[nodiscard]] std::optional<std::string> gatedPath(const std::string& folder, std::string_view text,
                                                   Levels levels, std::string_view what);
/// Line breaks, tabs and NUL among them.
[[nodiscard]] bool hasControlCharacters(std::string_view text);
/// Whether a level of the path (with "/" or "\" separators) is "..".
[[nodiscard]] bool leavesItsFolder(std::string_view path);
/// Whether the text can be a file extension without its dot: ASCII letters, digits and marks that mean
/// nothing in file names, registry keys and lists of extensions.
[[nodiscard]] bool canBeExtension(std::string_view text);

/// The text as it stands in a key header, escaped as Wine escapes it: backslashes, brackets and everything
/// outside ASCII. Nothing for a text with control characters and for one that is not UTF-8.
[[nodiscard]] std::optional<std::string> inRegistryKey(std::string_view text);
/// The same for the inside of a string value: backslashes, double quotes and everything outside ASCII.
[[nodiscard]] std::optional<std::string> inRegistryString(std::string_view text);

}  // namespace morvane::port_texts
