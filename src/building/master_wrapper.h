// building/master_wrapper.h: the newest master wrapper, from which new wrappers are copied.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class Build;
class Wrapper;

/// Where the master wrapper of a build comes from.
struct MasterWrapperSource {
    enum class Kind { onDisk, download, archive, none } kind = Kind::none;
    std::string place;  ///< its path, the link of the archive, or the archive's path
};

/// How often `updateCaskery` downloads and unpacks before it gives up on an archive that never yields its
/// wrapper.
inline constexpr int masterWrapperPasses = 3;

/// Blocks on the network until an answer is known; a site that says nothing for some seconds leaves it
/// unknown until the next call.
[[nodiscard]] std::optional<std::string> getNewestCaskeryVersion();
[[nodiscard]] std::optional<std::string> getCurrentCaskeryVersion();
/// The newest version where it is on disk, else the one that is.
[[nodiscard]] std::optional<std::string> masterWrapperOnDisk(const std::optional<std::string>& newest);
[[nodiscard]] MasterWrapperSource masterWrapperSource(const Build& build);
/// True when the current master wrapper is on disk afterwards.
bool updateCaskery(Build& build);
bool copyingMasterWrapperToPath(Build& build, const Wrapper& wrapper);

}  // namespace morvane
