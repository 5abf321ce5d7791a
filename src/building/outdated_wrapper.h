// building/outdated_wrapper.h: whether a wrapper should be updated, and may be now.
#pragma once

#include <optional>
#include <string>

namespace morvane::building {

/// Versions as master wrappers are named: with "-" for every blank.
struct OutdatedWrapper {
    std::string version;  ///< empty when the wrapper tells none
    std::string newest;   ///< the newest published one, or the installed one when that is not known
};

/// Both versions when they differ; nothing when they are equal, or when no master wrapper is known. While an
/// update of the wrapper is unfinished, its version is the one before it. Asks the site for the newest
/// version (at most once per process), so not on the main thread.
[[nodiscard]] std::optional<OutdatedWrapper> outdatedWrapper(const std::string& wrapper);

/// Whether a process has to do with the wrapper: `ps` shows its path. Blocks; any thread but the main one.
[[nodiscard]] bool isWrapperInUse(const std::string& wrapper);

}  // namespace morvane::building
