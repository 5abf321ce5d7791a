// building/engine_change.h: another engine for a wrapper that has one. A worker.
#pragma once

#include <string>

#include "platform/result.h"

namespace morvane {

class Build;
class Wrapper;

namespace building {

/// Puts the engine, which has been prepared, in the place of the wrapper's, and has it bring the drive up to date.
/// Refused while the wrapper runs, and for an engine that cannot run the wrapper's programs. After any failure, and
/// a cancellation, the old engine and the registry are in their places again; a kill leaves one of the two
/// engines there, whole.
[[nodiscard]] Result<> changeEngine(Build& build, const Wrapper& wrapper, const std::string& engine);

}  // namespace building
}  // namespace morvane
