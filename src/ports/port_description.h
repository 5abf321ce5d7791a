// ports/port_description.h: port descriptions that authors write, and what the command shows of CKI files.
// Any thread.
#pragma once

#include <string>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane::port_description {

/// The CKI dictionary that a description (a property list file) stands for: the same keys, older ones
/// included, where "icon" of an EXE entry is a picture's path, absolute or relative to the description's
/// folder. A picture's size in points is its size in pixels. Refused, with the key's name: unknown keys,
/// values of the wrong type, pictures that are missing or cannot be decoded. A boolean may be a number or a
/// text, as in a CKI file.
[[nodiscard]] Result<Dictionary> read(const std::string& path);

/// Every key of a CKI or CKII file for a person, one line each, elements of lists below their key and
/// indented, pictures with kind and size; then, for a CKI, what the port data makes of it (new names of old
/// keys, the engine brought up to date, clients by the file's name). Control characters are shown as escapes:
/// the texts are a stranger's. A file that ends in ".ckii" is a CKII.
[[nodiscard]] Result<std::string> shown(const std::string& path);

}  // namespace morvane::port_description
