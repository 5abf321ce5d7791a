// building/port_checks.h: whether a port can be built, where a new one goes, and what its user has to get ready.
#pragma once

#include <optional>
#include <string>

#include "platform/result.h"
#include "ports/port_data.h"

namespace morvane {

/// Whether the port came from the catalogue.
enum class Trust { no, yes };

enum class InstallerNow { no, yes };

/// What the blank-port panel holds (class `NSCustomPortView`).
struct NSCustomPortView {
    std::string engine;
    unsigned DRMs = 0;  ///< bits of `drm`
    MacDriver macDriver = MacDriver::no;
    /// Without one, a wrapper that no client goes into asks for no installer and no program, and starts
    /// Wine's file explorer.
    InstallerNow installer = InstallerNow::yes;
};

/// A blank wrapper about which nothing is left to ask.
struct BlankPort {
    std::string place;  ///< ends in ".app"
    NSCustomPortView view;
};

/// Whether a wrapper can be built from what was loaded.
[[nodiscard]] Result<> checkPort(const std::optional<Result<NSPortData>>& port);
/// Whether one can be made at the place.
[[nodiscard]] Result<> checkPlace(const std::string& wrapper);
/// The first of the user's apps folders. An older form of the setting is a single text.
[[nodiscard]] std::string folderForNewPorts();
/// Lines, or empty when there is nothing to ask.
[[nodiscard]] std::string requirementsListForPortData(const NSPortData& port);
/// The port that this builds; nothing when it cannot be described.
[[nodiscard]] std::optional<NSPortData> portOfBlank(const std::string& wrapper, const NSCustomPortView& view);

}  // namespace morvane
