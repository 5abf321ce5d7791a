// server/catalogue_caching.h: how long a cache between the catalogue and its players may keep which answer. Any
// thread.
#pragma once

#include <string>

namespace morvane {

/// The "Cache-Control" of an answer to GET or HEAD of that path with that status. docs/catalogue-http.md has the
/// table.
[[nodiscard]] const char* cacheControlOf(const std::string& path, int status);
/// Of whatever is for one client, or changes something.
inline constexpr const char* keptByNobody = "no-store";

}  // namespace morvane
