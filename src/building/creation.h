// building/creation.h: the spine of the pipeline: a port is built in four stages, and a wrapper gets its engine and its prefix.
#pragma once

#include <string>

#include "ports/port_data.h"

namespace morvane {

class Build;
class Wrapper;

bool buildPortAt(Build& build, const Wrapper& wrapper, const NSPortData& port);
bool createWrapperAt(Build& build, const Wrapper& wrapper, const std::string& engine);
/// What a new wrapper is called while its prefix is created, in a folder where it is alone. A wrapper that
/// was there before stays in its place, and so does one for which no such folder can be had.
[[nodiscard]] std::string temporaryNameFor(const std::string& wrapper);

}  // namespace morvane
