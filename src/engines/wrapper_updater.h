// engines/wrapper_updater.h: bringing an old wrapper up to the current master wrapper. Blocks a worker for as
// long as it takes; the wrapper must not run meanwhile.
//
// A failed copy, move or removal is told to the user where it happens, and the update goes on. An update that
// was killed or cancelled at any moment, or in which something failed, is repaired by updating the wrapper
// again: nothing of the wrapper's own (engine, registry settings, game) ever exists only in memory or in a
// folder that the system empties. Until then the wrapper says that its update is unfinished.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"

namespace morvane::WrapperUpdater {

/// Called with one text per step, on the updater's thread.
using StatusBlock = std::function<void(const std::string& step)>;

/// The version is the master wrapper's name, without ".app". True always. Without a usable master wrapper,
/// and where the wrapper can't be written to, the user is told so and nothing is changed.
bool updateOldCaskeryWrapperAtPath(const std::string& wrapper, const std::string& version,
                                   const StatusBlock& status);
[[nodiscard]] std::string getWrapperDLLsOverrideFromWrapper(const std::string& wrapper);
/// Whole blocks, in file order.
[[nodiscard]] std::vector<std::string> getExesDLLsOverridesFromWrapper(const std::string& wrapper);
[[nodiscard]] std::string getOpenGLConfigurationsFromWrapper(const std::string& wrapper);
[[nodiscard]] std::string getDirect3DConfigurationsFromWrapper(const std::string& wrapper);

/// The version that the wrapper had before an update of it that has not finished; nothing when none is
/// unfinished.
[[nodiscard]] std::optional<std::string> versionBeforeUnfinishedUpdate(const std::string& wrapper);
/// Whether an update of the wrapper has not finished, by this or another tool: its engine is away as well.
[[nodiscard]] bool needsRepair(const std::string& wrapper);
/// The name that the wrapper has for the time of one step. An update that is killed then leaves it there.
[[nodiscard]] std::string passingName(const std::string& wrapper);
/// Where the wrapper of that path lies while an update that was killed has left it away from its place;
/// nothing when it does not.
[[nodiscard]] std::optional<std::string> leftAwayAt(const std::string& path);
/// The wrapper of that path in its place, also for the path that it has while it is away. Moves a wrapper
/// back that an update has left away from it; refuses when both places are taken.
[[nodiscard]] Result<std::string> backInItsPlace(const std::string& path);

}  // namespace morvane::WrapperUpdater
