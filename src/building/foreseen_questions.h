// building/foreseen_questions.h: the questions of a build, made in one place for who asks them and for who
// foresees them. Any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/user_interface.h"
#include "ports/port_data.h"

namespace morvane::building {

[[nodiscard]] Dialog agreementDialog(std::string agreement);
/// Whether to install a port that did not come from the catalogue; its second button does. `signer` says below the
/// question who has signed it.
[[nodiscard]] Dialog foreignPortDialog(std::string signer);
[[nodiscard]] SavePanel placePanel(const std::string& proposedName);
/// A port of the catalogue that does not say who made it.
[[nodiscard]] Dialog unsignedPortDialog();
/// A build of the same port was stopped in that wrapper: whether it goes on.
[[nodiscard]] Dialog unfinishedDialog(const std::string& name);
[[nodiscard]] Dialog requirementsDialog(const std::string& requirements);

/// The first question about an engine that nobody has: for a link where the site can be reached, else for a
/// file.
[[nodiscard]] Dialog engineLinkDialog(const std::string& engine);
[[nodiscard]] Dialog engineLinkInput();
enum class SiteIs { reachable, offline };
[[nodiscard]] Dialog engineFileDialog(const std::string& engine, SiteIs site);
[[nodiscard]] OpenPanel engineFilePanel(const std::string& engine);

/// A component's file that has to be fetched by hand: whether it is there, and whether to go on without.
[[nodiscard]] Dialog manualDownloadDialog(const std::string& file);
[[nodiscard]] Dialog noManualDownloadDialog();

/// The name is the last level of the port's own; empty for any.
[[nodiscard]] OpenPanel installerPanel(const std::string& name);
[[nodiscard]] Dialog noInstallerDialog();
/// A store client whose silent installation has failed: whether the user selects its installer, and whether
/// to go on without it.
[[nodiscard]] Dialog manualClientDialog(const std::string& client);
[[nodiscard]] Dialog withoutClientDialog(const std::string& client);
[[nodiscard]] OpenPanel extraFilePanel(const ExtraFileEntry& entry);
/// The program of a port that names none.
[[nodiscard]] OpenPanel programPanel(const std::string& name, const std::string& startFolder);

/// Of all that is asked when the engine is nowhere to be had, from that question on.
[[nodiscard]] std::vector<ForeseenQuestion> foreseenEngineQuestions(const std::string& engine);
}  // namespace morvane::building
