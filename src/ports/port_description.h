// ports/port_description.h: port descriptions that authors write, and what the command shows of CKI files.
// Any thread.
#pragma once

#include <string>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane::port_description {

/// The CKI dictionary that a description (a property list file) stands for: the same keys, where "icon" of an
/// EXE entry is a picture's path, absolute or relative to the description's folder. Refused, with the key's
/// name: unknown keys, values of the wrong type, pictures that are missing or cannot be decoded.
[[nodiscard]] Result<Dictionary> read(const std::string& path);

/// Every key of a CKI or CKII file for a person, one line each, pictures with kind and size, then what the
/// port data makes of it (new names of old keys, the engine brought up to date).
[[nodiscard]] Result<std::string> shown(const std::string& path);

}  // namespace morvane::port_description
