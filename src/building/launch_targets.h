// building/launch_targets.h: the programs of a port: the wrapper's own and launchers inside it.
#pragma once

#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class NSPortManager;
class Wrapper;

/// True.
bool saveEXEs(const std::vector<ExeEntry>& exes, NSPortManager& port);
/// Whether the player is asked for that program, after the installation.
[[nodiscard]] bool isProgramToChoose(const ExeEntry& exe);
/// The wrapper is the one that holds the target's programs.
void setMainExeDataAtPort(NSPortManager& target, const ExeEntry& exe, const Wrapper& wrapper);
void setScreenOptionsAtPort(NSPortManager& target, const ExeEntry& exe);
void createAliasToCustomEXE(const std::string& application, const Wrapper& wrapper);

}  // namespace morvane
