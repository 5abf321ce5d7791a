// app/port_files.h: the one way in which a port's file becomes a wrapper: for the command, for links and for files that
// are opened.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "building/build_record.h"

namespace morvane {

class WrapperCreation;

struct PortFile {
    std::string path;
    /// Where the wrapper is made, ending in ".app"; asked for when it is not given.
    std::optional<std::string> place = {};
    std::optional<BuildRecord> lock = {};  ///< of what the wrapper is to be made
};

/// Any thread; asks, then builds in the background. The finished wrapper, and each launcher in it, gets the port's
/// description; that it could not be stored is told and no failure. The completion is called on the creation's thread
/// with the wrapper's path, or nothing after a failure or a refusal in the build; it is dropped, uncalled, when the
/// user declines before. The creation is kept until then.
void installPortFile(const std::shared_ptr<WrapperCreation>& creation, const PortFile& file,
                     std::function<void(const std::optional<std::string>& wrapper)> completion);

}  // namespace morvane
