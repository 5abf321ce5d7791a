// building/engine_archives.h: what kinds of archives engines come in, by names and by first bytes. Any thread;
// reads files only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morvane::engine_archives {

/// The extensions of all kinds, without dots: what every stage unpacks, and `isFurtherKind`.
[[nodiscard]] std::vector<std::string> kinds();
/// In any case of letters.
[[nodiscard]] bool isArchiveKind(std::string_view extension);
/// Whether only engines come in that kind; in lower case.
[[nodiscard]] bool isFurtherKind(std::string_view extension);

/// "CK9Wine3.0.zip" and "CK9Wine3.0.tar.xz" are archives of CK9Wine3.0; "CK9Wine3.0.1.zip" is another
/// engine's.
[[nodiscard]] bool isArchiveOf(const std::string& entry, const std::string& engine);

/// Whatever it is called: an xz file unpacks into a name without an extension.
[[nodiscard]] bool isTar(const std::string& path);
/// The kind of an archive by its first bytes; empty for those that have none of the usual beginnings.
[[nodiscard]] std::string kindByFirstBytes(const std::string& path);

/// The extension of the link's last path component, or of a file name in its query where that one is of no
/// kind; "tar.gz" where there is none.
[[nodiscard]] std::string extensionOfLink(const std::string& link);

}  // namespace morvane::engine_archives
