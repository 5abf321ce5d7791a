// building/settings_writers.h: the texts of a wrapper that are no settings.
#pragma once

#include <optional>
#include <string>

namespace morvane {

bool saveCloseSafely(bool closeSafely, const std::string& wrapper);
bool saveCompany(const std::optional<std::string>& company, const std::string& wrapper);

}  // namespace morvane
