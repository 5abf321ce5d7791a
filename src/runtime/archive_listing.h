// runtime/archive_listing.h: what an archive of a stranger's would unpack to, before any of it is. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "platform/result.h"

namespace morvane::runtime {

struct ArchiveLimits {
    std::uint64_t bytes = std::uint64_t{8} << 30;  ///< unpacked
    std::size_t entries = 60'000;
};

/// By its name: ".tar", ".tar.xz", ".tgz" and so on.
[[nodiscard]] bool isTarName(const std::string& path);

/// The bytes that it unpacks to. A failure, in words for the user, for one that is damaged or beyond a limit (it
/// is not read any further then), whose paths or links lead out of it, or that holds devices. A request to the
/// running creation ends it and throws `Cancelled` on the creation's thread.
[[nodiscard]] Result<std::uint64_t> checkArchive(const std::string& archive, const ArchiveLimits& limits);

}  // namespace morvane::runtime
