// building/configuration_stages.h: the fixed order in which a wrapper becomes the port. Any thread.
#pragma once

#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

enum class ConfigurationStage {
    data,  ///< settings files, quit script, company, graphics settings, menu
    drives,
    extensions,
    verbScript,   ///< the refresh of the Winetricks script
    verbsBefore,  ///< Windows components before the game
    overrides,
    programs,
    steam,
    origin,
    uplay,
    gogGalaxy,
    extraFilesBefore,
    installer,  ///< the game's own
    extraFilesAfter,
    verbsAfter,  ///< Windows components after the game
    functionKeys,
    mainProgram,
};

/// The stages that the port goes through, in order.
[[nodiscard]] std::vector<ConfigurationStage> configurationStages(const NSPortData& port);

/// The progress line; empty for a stage that shows lines of its own or none.
[[nodiscard]] std::string progressLineOf(ConfigurationStage stage);

}  // namespace morvane
