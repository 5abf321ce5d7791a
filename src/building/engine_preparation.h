// building/engine_preparation.h: the engine of a port into the store: from the download site, a link or the user's
// disk. The creation's thread.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class Build;

/// False when the engine can't be had, which the user knows then.
bool prepareEngine(Build& build, const std::string& engine, std::optional<std::string> customLink);
/// False also for an engine that the site does not have.
bool downloadOfficialEngine(Build& build, const std::string& engine);
/// Asks for a file, and copies it into the store. True always.
bool getLocalCustomEngine(const std::string& engine);

}  // namespace morvane
