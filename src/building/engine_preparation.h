// building/engine_preparation.h: the engine of a port: into the store, and out of it into the wrapper.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class Build;

enum class ExtractedEngine { failure = 0, installed = 1, alreadyThere = 2 };

bool prepareEngine(Build& build, const std::string& engine, std::optional<std::string> customLink);
[[nodiscard]] std::string localPathForOfficialEngine(const std::string& engine);
bool downloadOfficialEngine(Build& build, const std::string& engine);
/// True always.
bool getLocalCustomEngine(const std::string& engine);
ExtractedEngine extractEngine(Build& build, const std::string& engine, const std::string& wrapper);
[[nodiscard]] std::optional<std::string> getCaskeryWrapperEngineFromPath(const std::string& wrapper);

}  // namespace morvane
