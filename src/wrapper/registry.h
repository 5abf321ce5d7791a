// wrapper/registry.h: Wine's text registry files, edited block by block while the wrapper does not run.
//
// Any thread, but one at a time for a wrapper. Key headers are named with doubled backslashes, as in the
// files: R"([Software\\Wine\\DllOverrides])". File names are "system" and "user". The format is that of
// Wine's registry files ("WINE REGISTRY Version 2"): 7-bit text, what lies beyond is escaped in it.
//
// An edit replaces the file atomically. A file that is there but cannot be read is reported and never
// written; a missing one counts as empty.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

namespace morvane::NSUtilities {

[[nodiscard]] std::string getPathForRegistryFile(const std::string& name, const std::string& wrapper);
/// The key's value lines, joined by line feeds; empty when it has none.
[[nodiscard]] std::string getRegistry(const std::string& header, const std::string& name,
                                      const std::string& wrapper);
/// Whole blocks whose header matches the pattern with one "*".
[[nodiscard]] std::vector<std::string> getRegistriesWithGramar(const std::string& pattern,
                                                               const std::string& name,
                                                               const std::string& wrapper);
/// Appends the block.
void addRegistry(const std::string& block, const std::string& name, const std::string& wrapper);
/// Removes every block of the key and shortens gaps to one empty line. Makes no file where there is none.
void deleteRegistry(const std::string& header, const std::string& name, const std::string& wrapper);
/// The data as written, or empty.
[[nodiscard]] std::string getValueForKey(std::string_view valueName, std::string_view lines);
/// Between the quotes, still escaped, or empty.
[[nodiscard]] std::string getStringValueForKey(std::string_view valueName, std::string_view lines);
/// The changed lines; without data the value is removed.
[[nodiscard]] std::string setOnRegistry(const std::string& lines, const std::optional<std::string>& data,
                                        const std::string& valueName);
/// The text is put in quotes and not escaped.
[[nodiscard]] std::string setOnRegistryStringValue(const std::string& lines, const std::string& text,
                                                   const std::string& valueName);

/// Gives one key the value lines that `change` makes of its present ones (joined by line feeds, empty without
/// the key), as the last block of the file, without a timestamp. One write: the key is never missing from the
/// file.
void replaceRegistryLines(const std::string& header,
                          const std::function<std::string(const std::string& lines)>& change,
                          const std::string& name, const std::string& wrapper);
struct RegistryString {
    std::string name;
    std::string text;
};
/// Sets string values of one key in the order given, in the same way.
void replaceRegistryStrings(const std::string& header, const std::vector<RegistryString>& values,
                            const std::string& name, const std::string& wrapper);

/// Replaces the key of each fragment in the "user" file; elements that are no text are skipped. True always.
bool saveUserOverrides(const Array& fragments, const std::string& wrapper);

}  // namespace morvane::NSUtilities
