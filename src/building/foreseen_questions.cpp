#include "building/foreseen_questions.h"

#include <utility>

#include "building/engine_archives.h"
#include "building/port_checks.h"
#include "building/tools.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/name_patterns.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::building {
namespace {

const std::vector<std::string>& programTypes() {
    static const std::vector<std::string> types{"exe", "EXE", "bat", "BAT", "msi", "MSI"};
    return types;
}

}  // namespace

Dialog agreementDialog(std::string agreement) {
    Dialog dialog;
    dialog.title = localized("License Agreement");
    dialog.text = localized("Read the license agreement before installing:");
    dialog.buttons = {localized("I Agree"), localized("I Disagree")};
    dialog.accessory = LongText{std::move(agreement)};
    return dialog;
}

Dialog foreignPortDialog(std::string signer) {
    Dialog dialog;
    dialog.title = localized("Warning");
    dialog.text = localized(
        "That port wasn't downloaded directly from our server. It might contain download links to malicious "
        "software which can damage your computer and steal personal data. There is also no warranty that "
        "this port is going to work properly.");
    dialog.buttons = {localized("Cancel"), localized("Install it anyway")};
    dialog.style = Dialog::Style::critical;
    if (!signer.empty()) dialog.accessory = LongText{std::move(signer)};
    return dialog;
}

SavePanel placePanel(const std::string& proposedName) {
    SavePanel panel;
    panel.title = localized("Create Port at...");
    panel.startFolder = folderForNewPorts();
    panel.proposedName = proposedName;
    panel.types = {"app"};
    return panel;
}

Dialog unsignedPortDialog() {
    return MVAlert::booleanDialog(
        localized("That CKI file doesn't have a valid signature, but it seems to have been downloaded from "
                  "our server. Please, send us an email about that. Do you want to install it anyway? We "
                  "don't recommend that."),
        "Error", false);
}

Dialog unfinishedDialog(const std::string& name) {
    return MVAlert::booleanDialog(
        localized(
            "The installation of %@ was stopped before its end. Do you want to go on with it? What its last step "
            "had begun is removed first. Otherwise it begins anew.",
            {name}),
        "Unfinished Installation", true);
}

Dialog requirementsDialog(const std::string& requirements) {
    return MVAlert::booleanDialog(
        localized("That port has some requirements that must be met in order to install that application "
                  "correctly. Do you have all the items from that list?\n\n%@",
                  {requirements}),
        "Warning", true);
}

Dialog engineLinkDialog(const std::string& engine) {
    return MVAlert::booleanDialog(
        localized("Your port engine (%@) seems to be unavailable at the Caskery download source and don't "
                  "contains a custom link. Do you have the custom engine download link?",
                  {engine}),
        "Warning", true);
}

Dialog engineLinkInput() {
    return MVAlert::inputDialog(localized("Paste here the engine download link"), "");
}

Dialog engineFileDialog(const std::string& engine, SiteIs site) {
    return MVAlert::booleanDialog(
        localized(
            site == SiteIs::reachable
                ? marked("Do you have the port engine (%@) in your computer?")
                : marked("Caskery website seems to be offline. Do you have the port engine (%@) in your "
                         "computer?"),
            {engine}),
        "Warning", true);
}

OpenPanel engineFilePanel(const std::string& engine) {
    OpenPanel panel;
    panel.title = localized("Select the engine %@", {engine});
    panel.types = engine_archives::kinds();
    panel.packagesAsFolders = true;
    return panel;
}

std::vector<ForeseenQuestion> foreseenEngineQuestions(const std::string& engine) {
    const bool reachable = siteIsReachable();
    const std::string yes = localized("Yes"), no = localized("No");
    const ForeseenQuestion file{
        .shown = engineFileDialog(engine, reachable ? SiteIs::reachable : SiteIs::offline),
        .answer = yes,
        .othersEnd = true,
        .branches = {
            {yes, {{.shown = engineFilePanel(engine), .answer = localized("the archive of the engine")}}}}};
    if (!reachable) return {file};
    const ForeseenQuestion link{.shown = engineLinkInput(), .answer = localized("OK")};
    return {{.shown = engineLinkDialog(engine), .answer = no, .branches = {{yes, {link}}, {no, {file}}}}};
}

Dialog manualDownloadDialog(const std::string& file) {
    return MVAlert::booleanDialog(
        localized("You need to download %@ and move it into the opened folder, otherwise the winetrick "
                  "installation won't work. Do you have already saved the file?",
                  {file}),
        "Warning", true);
}

Dialog noManualDownloadDialog() {
    return MVAlert::booleanDialog(
        localized("You haven't saved the file yet! If you don't save that file in that folder the "
                  "winetricks installation won't work! Are you sure you want to continue without "
                  "downloading?"),
        "Warning", false);
}

OpenPanel installerPanel(const std::string& name) {
    OpenPanel panel;
    panel.title = localized("Select the installer");
    panel.types = programTypes();
    panel.shouldEnable = [valid = NSValidInstallerDelegate(name)](const std::string& path) {
        return valid.shouldEnable(path);
    };
    return panel;
}

Dialog noInstallerDialog() {
    return MVAlert::booleanDialog(
        localized("That port requires an installer in order to work. If you don't provide an installer, that "
                  "port probably won't work. If you don't have an installer yet, check the port sources "
                  "list. Are you sure that you want to continue without selecting the installer?"),
        "Warning", false);
}

Dialog manualClientDialog(const std::string& client) {
    return MVAlert::booleanDialog(
        localized("Something wrong happened while installing %@. Do you want to perform the installation "
                  "manually by selecting an installer?",
                  {client}),
        "Error", true);
}

Dialog withoutClientDialog(const std::string& client) {
    return MVAlert::booleanDialog(
        localized("You didn't installed %@. Do you want to continue anyway?", {client}), "Error", false);
}

OpenPanel extraFilePanel(const ExtraFileEntry& entry) {
    const std::string origin = entry.origin.value_or("");
    OpenPanel panel;
    panel.title = localized("Select the file %@", {origin});
    panel.shouldEnable = [valid = NSValidInstallerDelegate(origin)](const std::string& path) {
        return valid.shouldEnable(path);
    };
    return panel;
}

OpenPanel programPanel(const std::string& name, const std::string& startFolder) {
    OpenPanel panel;
    panel.title = localized("Select the EXE of %@", {name});
    panel.startFolder = startFolder;
    panel.types = programTypes();
    panel.packagesAsFolders = true;
    return panel;
}

}  // namespace morvane::building
