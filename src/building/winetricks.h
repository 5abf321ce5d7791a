// building/winetricks.h: Windows components, in the order of a port's list, and changes of the engine.
#pragma once

#include <string>
#include <vector>

namespace morvane {

class Build;
class NSPortManager;
class Wrapper;

/// Components, each with its graphics conditions, and engine changes, in order. True.
bool installWinetricks(Build& build, const std::vector<std::string>& requests, const NSPortManager& port);
/// Prepares the engine of a request's words: its name and, in quotes, a link.
void verifyingWinetrickThatChangesEngine(Build& build, const std::vector<std::string>& words);
/// Puts the prepared engine into the wrapper and brings the prefix up to date.
void changeEngineTo(Build& build, const std::string& engine, const Wrapper& wrapper);

}  // namespace morvane
