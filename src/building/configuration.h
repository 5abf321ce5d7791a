// building/configuration.h: the stages by which a wrapper with an engine and a prefix becomes the port.
#pragma once

#include <string>

#include "ports/port_data.h"

namespace morvane {

class Build;
class Wrapper;

/// True.
bool configureWrapperAt(Build& build, const Wrapper& wrapper, const NSPortData& port);

}  // namespace morvane
