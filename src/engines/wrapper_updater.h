// engines/wrapper_updater.h: bringing an old wrapper up to the current master wrapper. Blocks a worker for as
// long as it takes; the wrapper must not run meanwhile.
//
// A failed copy, move or removal is told to the user where it happens, and the update goes on. An update that
// was killed at any moment is repaired by updating the wrapper again: nothing of the wrapper's own (engine,
// registry settings, game) ever exists only in memory or in a folder that the system empties.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace morvane::WrapperUpdater {

/// Called with one text per step, on the updater's thread.
using StatusBlock = std::function<void(const std::string& step)>;

/// `updateOldCaskeryWrapperAtPath:toCaskeryVersion:withStatusBlock:`. The version is the master wrapper's
/// name, without
/// ".app". True always.
bool updateOldCaskeryWrapperAtPath(const std::string& wrapper, const std::string& version,
                                   const StatusBlock& status);
/// `getWrapperDLLsOverrideFromWrapper:`.
[[nodiscard]] std::string getWrapperDLLsOverrideFromWrapper(const std::string& wrapper);
/// `getExesDLLsOverridesFromWrapper:`. Whole blocks, in file order.
[[nodiscard]] std::vector<std::string> getExesDLLsOverridesFromWrapper(const std::string& wrapper);
/// `getOpenGLConfigurationsFromWrapper:`.
[[nodiscard]] std::string getOpenGLConfigurationsFromWrapper(const std::string& wrapper);
/// `getDirect3DConfigurationsFromWrapper:`.
[[nodiscard]] std::string getDirect3DConfigurationsFromWrapper(const std::string& wrapper);

}  // namespace morvane::WrapperUpdater
