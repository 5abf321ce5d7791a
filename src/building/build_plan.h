// building/build_plan.h: what a build would do, without doing it. Blocks on the network; a worker.
//
// Nothing is written and nothing is asked. The plan reads the decisions that the stages take (the sources of
// engine and master wrapper, the order of configuration, the downloads of verbs, clients and extra files);
// what those depend on may change before the build. Texts of the port are shown as they are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "building/port_checks.h"
#include "platform/result.h"
#include "platform/user_interface.h"
#include "ports/port_data.h"

namespace morvane {

class Build;

struct PlannedDownload {
    std::string what;
    std::string link;
    std::optional<std::uint64_t> size;  ///< in bytes, where the server tells it
};

struct PlannedStage {
    std::string title;
    std::vector<std::string> present = {};  ///< what is there already and not fetched again
    std::vector<PlannedDownload> downloads = {};
    std::vector<std::string> actions = {};         ///< what is done beside, in order
    std::vector<ForeseenQuestion> questions = {};  ///< what the user will be asked
    std::vector<std::string> supplies = {};        ///< what the user must bring
};

struct BuildPlan {
    std::optional<std::string> obstacle;  ///< why nothing would be built; there are no stages then
    std::vector<PlannedStage> stages;
    /// In bytes: downloads of a known size, and the wrapper, estimated from what it is made of.
    std::uint64_t spaceNeeded = 0;
    bool sizesAreKnown = true;               ///< false: some download comes on top
    std::optional<std::uint64_t> spaceFree;  ///< in bytes, where the wrapper is made
};

/// Whether the place of the wrapper is settled, or what the save panel will propose.
enum class Place { chosen, proposed };

/// Of a port that the user has opened as a file.
[[nodiscard]] BuildPlan planOfBuild(const Build& build, const std::optional<Result<NSPortData>>& port,
                                    const std::string& wrapper, Place place);

/// All that will be asked, in order, with what is not asked this time.
[[nodiscard]] std::vector<ForeseenQuestion> questionsOf(const BuildPlan& plan);
/// What the installation of such a port will ask, from the first question on. Asks no server for sizes.
[[nodiscard]] std::vector<ForeseenQuestion> questionsOfBuild(const Build& build, const NSPortData& port,
                                                             const std::string& wrapper, Place place);
/// The same of a port of the catalogue, from the check of the port on.
[[nodiscard]] std::vector<ForeseenQuestion> questionsOfTrustedBuild(const Build& build,
                                                                    const NSPortData& port,
                                                                    const std::string& wrapper);
/// The same of a blank wrapper, whose place is known.
[[nodiscard]] std::vector<ForeseenQuestion> questionsOfBlank(const Build& build, const NSPortData& port,
                                                             const std::string& wrapper);

}  // namespace morvane
