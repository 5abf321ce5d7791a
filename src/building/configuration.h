// building/configuration.h: the stages by which a wrapper with an engine and a prefix becomes the port.
#pragma once

#include <string>

#include "ports/port_data.h"

namespace morvane {

class Build;
class Wrapper;

/// Each stage tells of its own failures, and the next one follows whatever has failed.
void configureWrapperAt(Build& build, const Wrapper& wrapper, const NSPortData& port);

}  // namespace morvane
