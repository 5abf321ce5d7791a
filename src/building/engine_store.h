// building/engine_store.h: the archives of the engine store, by engine. Any thread.
#pragma once

#include <optional>
#include <string>

namespace morvane::building {

/// The archive of the engine, of whatever kind can be unpacked; nothing when the store holds none.
[[nodiscard]] std::optional<std::string> storedEngineArchive(const std::string& engine);

/// The engine that goes into the port's wrapper, once it is prepared: the named one, what a conversion has
/// made of it, or the most recent one that is compatible with it where only that was to be had. A wrapper
/// that holds one of the first two keeps it.
[[nodiscard]] std::string engineForWrapper(const std::string& engine, const std::string& wrapper);

}  // namespace morvane::building
