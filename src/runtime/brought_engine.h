// runtime/brought_engine.h: engines made of any build of Wine that somebody brings. A worker, with the store for
// itself; blocks for as long as packing takes.
#pragma once

#include <optional>
#include <string>

#include "platform/cancellation.h"
#include "platform/result.h"
#include "runtime/archive_listing.h"

namespace morvane::runtime {

/// "wine-9.0 (Staging)" gives "CK9Wine9.0Staging", "wine-8.0-rc2" "CK9Wine8.0-rc2". Nothing for what is no
/// version of Wine.
[[nodiscard]] std::optional<std::string> engineNameFor(const std::string& version);
/// The name with which the user calls it: an engine's whole name, or what takes the place of the suffix. A
/// failure for what no engine can be called.
[[nodiscard]] Result<std::string> engineNameAs(const std::string& wanted, const std::string& version);

/// Makes an engine of the folder or archive at the place and puts it into the store: "bin", "lib", "share" lie at its
/// top or one folder down, or below "files" or "dist" in either. It is checked that nothing of an archive leads
/// out of it, that it has room, and that its Wine starts. The name of the engine; one that is taken is refused where
/// the user has given it, and else made another one. Nothing is left of a failure. `Cancelled` as elsewhere.
[[nodiscard]] Result<std::string> addEngine(const std::string& place, const std::optional<std::string>& name,
                                            Cancellation& cancellation, const ArchiveLimits& limits = {});

}  // namespace morvane::runtime
