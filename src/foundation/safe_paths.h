// foundation/safe_paths.h: the one gate for paths made from a port's own texts. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "platform/result.h"

namespace morvane {

/// How many levels the text may have.
enum class Levels { one, many };

/// The path of `text` inside `folder`, or a refusal that names `what` ("the program's name") and the text.
///
/// Refused: an empty text, NUL and other control characters (line breaks among them), "." and ".." as a
/// level, "/" with `Levels::one` ("\" is an ordinary character; callers turn Windows separators first), a
/// level of more than 255 bytes, and a level on the way (the last one included) that is a link leading out of
/// the folder. With `Levels::many` empty levels (leading, doubled and final "/") are dropped. Nothing is
/// created. The folder itself is trusted: it may be a link, or lie behind one.
[[nodiscard]] Result<std::string> pathInside(const std::string& folder, std::string_view text, Levels levels,
                                             std::string_view what);

/// Whether the path, with every link resolved, is the folder or lies below it. False when a link cannot be
/// resolved.
[[nodiscard]] bool staysInside(const std::string& folder, const std::string& path);

}  // namespace morvane
