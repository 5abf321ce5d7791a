// building/engine_extraction.h: an engine out of the store and into a wrapper. A worker.
//
// An archive is unpacked in a passing folder of the store; the wrapper's old engine goes only when the new one lies
// beside it, complete.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "wrapper/program_header.h"

namespace morvane {

class Build;
class Wrapper;

enum class ExtractedEngine { failure = 0, installed = 1, alreadyThere = 2 };

/// Puts the engine, which has been prepared, into the wrapper; a failure is told.
[[nodiscard]] ExtractedEngine extractEngine(Build& build, const std::string& engine, const Wrapper& wrapper);
/// By what the engine says of itself.
[[nodiscard]] std::optional<std::string> getCaskeryWrapperEngineFromPath(const Wrapper& wrapper);

namespace building {

/// The engine that goes into the port's wrapper, once it is prepared: the named one, what a conversion has
/// made of it, or the most recent one that is compatible with it where only that was to be had. A wrapper
/// that holds one of the first two keeps it.
[[nodiscard]] std::string engineForWrapper(const std::string& engine, const Wrapper& wrapper);

/// Unpacks the engine's archive in a passing folder and hands its bundle on. False, without a call, for an
/// engine that is not in the store or cannot be unpacked.
bool lookIntoStoredEngine(const std::string& engine,
                          const std::function<void(const std::string& bundle)>& look);
/// Whether the engine runs programs of that machine: its archive is unpacked in a passing folder for that.
/// Yes for an engine that is not in the store or cannot be unpacked, of which the build tells.
[[nodiscard]] bool storedEngineRuns(const std::string& engine, Machine machine);

}  // namespace building

}  // namespace morvane
