// building/settings_writers.h: the texts of a wrapper that are no settings.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class Wrapper;

bool saveCloseSafely(bool closeSafely, const Wrapper& wrapper);
bool saveCompany(const std::optional<std::string>& company, const Wrapper& wrapper);

}  // namespace morvane
