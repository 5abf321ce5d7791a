// building/outdated_wrapper.h: whether a wrapper should be updated, and the update.
#pragma once

#include <optional>
#include <string>

namespace morvane {
class Build;
class Wrapper;
}  // namespace morvane

namespace morvane::building {

/// Versions as master wrappers are named: with "-" for every blank.
struct OutdatedWrapper {
    std::string version;  ///< empty when the wrapper tells none
    std::string newest;   ///< the newest published one, or the installed one when that is not known
};

/// Both versions when they differ; nothing when they are equal, or when no master wrapper is known. While an
/// update of the wrapper is unfinished, its version is the one before it. Asks the site for the newest
/// version (at most once per process), so not on the main thread.
[[nodiscard]] std::optional<OutdatedWrapper> outdatedWrapper(const Wrapper& wrapper);

/// Whether a process has to do with the wrapper: `ps` shows its path. Blocks; any thread but the main one.
[[nodiscard]] bool isWrapperInUse(const Wrapper& wrapper);

enum class WrapperUpdate { updated, upToDate, failed };
/// Brings the master wrapper up to date, and the wrapper to its version, with the progress panel of the
/// creation; also one that an update has left in pieces. Its saved games are backed up
/// before, and without that there is no update. Nothing is changed in a wrapper whose programs run.
/// The user is told of each failure here. Blocks a worker, which is the creation's thread for that time: a
/// cancellation throws `Cancelled`.
WrapperUpdate updateOutdatedWrapper(const Wrapper& wrapper, Build& build);

}  // namespace morvane::building
