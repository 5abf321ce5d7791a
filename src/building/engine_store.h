// building/engine_store.h: the archives of the engine store, by engine. Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wrapper/program_header.h"

namespace morvane::building {

/// The archive of the engine, of whatever kind can be unpacked; nothing when the store holds none.
[[nodiscard]] std::optional<std::string> storedEngineArchive(const std::string& engine);

/// One way to an engine for a port.
struct EngineSource {
    enum class Kind { stored, official, link, user } kind;
    std::string engine;  ///< what it gives
    std::string place;   ///< the archive's path, or the address; empty for the user's answer
};
/// The ways in the order in which they are tried; the first one is taken unless its download is called off.
/// Asks the download site for its engines, so it blocks, unless the engine is in the store.
[[nodiscard]] std::vector<EngineSource> engineSources(const std::string& engine,
                                                      const std::optional<std::string>& customLink);

/// The engine that goes into the port's wrapper, once it is prepared: the named one, what a conversion has
/// made of it, or the most recent one that is compatible with it where only that was to be had. A wrapper
/// that holds one of the first two keeps it.
[[nodiscard]] std::string engineForWrapper(const std::string& engine, const std::string& wrapper);

/// Whether the engine runs programs of that machine: its archive is unpacked in a passing folder for that.
/// Yes for an engine that is not in the store or cannot be unpacked, of which the build tells.
[[nodiscard]] bool storedEngineRuns(const std::string& engine, Machine machine);

}  // namespace morvane::building
