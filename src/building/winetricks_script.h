// building/winetricks_script.h: the script of the Windows components: fetched, checked and patched.
#pragma once

#include <optional>
#include <string>

#include "foundation/download.h"

namespace morvane {

class Wrapper;

enum class NeedsVerbs { no, yes };
bool updateWinetricksListAtFile(const Wrapper& wrapper, NeedsVerbs needsVerbs);
/// At least 50 bytes of UTF-8 that are no error page.
[[nodiscard]] bool isWinetrickFileContentValid(const std::optional<std::string>& bytes);
void setWinetricksSilent(Silence silent, const Wrapper& wrapper);

}  // namespace morvane
