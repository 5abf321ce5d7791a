// building/engine_facts.h: what the engines of the store are, and who uses them. A worker: an archive is unpacked
// the first time that it is asked about.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace morvane::building {

struct EngineFacts {
    bool runs32 = false, runs64 = false;
    bool isThin = false;      ///< scripts that run this computer's Wine
    std::uint64_t bytes = 0;  ///< of the archive
    bool operator==(const EngineFacts&) const = default;
};

/// Of the engine's archive in the store; nothing when there is none, or when it holds no engine. What was found
/// is kept until the archive changes; of a thin one, nothing is: the computer's Wine may change.
[[nodiscard]] std::optional<EngineFacts> factsOf(const std::string& engine);

/// The wrappers of the library and the apps folders that hold the engine.
[[nodiscard]] std::vector<std::string> wrappersWith(const std::string& engine,
                                                    const std::vector<std::string>& wrappers);
/// Removes every archive of the engine from the store. False, with a report, when one stays.
bool removeFromStore(const std::string& engine);

}  // namespace morvane::building
