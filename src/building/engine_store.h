// building/engine_store.h: the archives of the engine store, by engine, and the ways to one that it lacks. Any
// thread, but for what asks the site: a worker.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace morvane {

/// Where an archive of the download site lies, once it is there.
[[nodiscard]] std::string localPathForOfficialEngine(const std::string& engine);

}  // namespace morvane

namespace morvane::building {

/// All archives of the engine, of whatever kind can be unpacked.
[[nodiscard]] std::vector<std::string> storedArchivesOf(const std::string& engine);
/// The one of them that is used; nothing when the store holds none.
[[nodiscard]] std::optional<std::string> storedEngineArchive(const std::string& engine);
/// The place of the engine in the store, without an extension. Names come from ports: one that leads out of
/// the store is reported and gives nothing.
[[nodiscard]] std::optional<std::string> placeInStore(const std::string& engine);

/// Whether the site has it, and can be reached.
[[nodiscard]] bool isOfficialEngine(const std::string& engine);
[[nodiscard]] std::string officialLinkOf(const std::string& engine);

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

/// Moves an archive that can't be used to a name that no archive is looked for under, made of the one that it
/// would have; the new path, or nothing after a reported error.
std::optional<std::string> putAside(const std::string& archive, const std::string& name);
/// Puts aside what can't be used of the archives that the engine may be taken from, up to the first that is
/// there; the user is told of each. False when one had to stay.
[[nodiscard]] bool leaveWholeArchivesFor(const std::string& engine);

}  // namespace morvane::building
