#include "building/winetricks.h"

// The requests of a port's list of Windows components, one after the other.

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "building/build.h"
#include "building/engine_extraction.h"
#include "building/engine_preparation.h"
#include "building/port_texts.h"
#include "building/verb_script.h"
#include "building/winetricks_files.h"
#include "building/winetricks_lists.h"
#include "building/winetricks_script.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/cancellation.h"
#include "platform/host.h"
#include "wrapper/port_manager.h"
#include "wrapper/registry.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

using verb_script::Request;

/// Whether the text can be given to the script as one component. An option would change what the script does;
/// a path, and the name of a file of components, would have it run that file as a part of itself, outside of
/// Wine. Anything else does no harm as one argument.
bool canBeComponent(const std::string& name) {
    const bool isHarmless = !name.empty() && !name.starts_with('-') && !MVString::contains(name, "/") &&
                            !MVString::lowercased(name).ends_with(".verb") &&
                            !port_texts::hasControlCharacters(name) && MVString::isValidUtf8(name);
    if (!isHarmless) port_texts::refuse(name, localized("the name of a winetrick (Winetricks)"));
    return isHarmless;
}

/// Components whose installers show what the user has to see: they fail when they run unattended.
bool needsUser(const std::string& component) {
    return component == "corefonts" || component == "quicktime76";
}

/// Keeps the script out of silent mode while it lives, and also brings it back after a cancellation.
class Attended {
  public:
    explicit Attended(Wrapper wrapper) : wrapper_(std::move(wrapper)) {
        setWinetricksSilent(Silence::no, wrapper_);
    }
    ~Attended() {
        try {
            setWinetricksSilent(Silence::yes, wrapper_);
        } catch (const Cancelled&) {
            // Thrown before "chmod" would have run; the file is written by then, and has kept its
            // permissions.
        }
    }
    Attended(const Attended&) = delete;
    Attended& operator=(const Attended&) = delete;

  private:
    const Wrapper wrapper_;
};

/// The components that set the Windows version, and Wine's own names for the versions.
constexpr std::array<std::pair<std::string_view, const char*>, 15> windowsVersions{{
    {"win11", "win11"},
    {"win10", "win10"},
    {"win81", "win81"},
    {"win8", "win8"},
    {"win2k8r2", "win2008r2"},
    {"win7", "win7"},
    {"win2k8", "win2008"},
    {"vista", "vista"},
    {"win2k3", "win2003"},
    {"winxp", "winxp"},
    {"win2k", "win2k"},
    {"nt40", "nt40"},
    {"winme", "winme"},
    {"win98", "win98"},
    {"win95", "win95"},
}};

/// Sets the Windows version of the whole wrapper where the component does that and no script knows it: without
/// the network there may be none, and all that the script would do is to write the registry. Whether it was
/// that.
bool setWindowsVersion(const std::string& component, const Wrapper& wrapper) {
    const auto* version =
        std::ranges::find(windowsVersions, component, &decltype(windowsVersions)::value_type::first);
    if (version == windowsVersions.end()) return false;
    const std::string script =
        MVString::stringWithContentsOfFile(wrapper.winetricks(), Encoding::utf8).value_or("");
    if (verb_script::textOfComponent(script, component)) return false;
    NSUtilities::replaceRegistryStrings(R"([Software\\Wine])", {{"Version", version->second}}, "user",
                                        wrapper.path());
    return true;
}

void installComponent(const std::string& component, const NSPortManager& port) {
    if (setWindowsVersion(component, Wrapper(port.path))) return;
    std::optional<Attended> attended;
    if (needsUser(component)) attended.emplace(Wrapper(port.path));
    port.installWinetrick(component);
}

}  // namespace

bool installWinetricks(Build& build, const std::vector<std::string>& requests, const NSPortManager& port) {
    build.setSubtitle(localized("Please wait..."));
    std::set<std::string> visited;
    for (const std::string& entry : requests) {
        host().creation.throwIfRequested();
        // The card is asked for only where it matters: that runs a program the first time.
        const Request request = verb_script::requestOf(entry, MVString::contains(entry, "VC:")
                                                                  ? NSComputerInformation::graphicCardType()
                                                                  : std::nullopt);
        // A list with several markers is divided at the first.
        if (!request.applies || entry == installAppMarker) continue;
        if (request.kind == Request::Kind::engine) {
            verifyingWinetrickThatChangesEngine(build, request.words);
            build.setMessage(localized("Changing Engine to %@...", {request.name}));
            changeEngineTo(build, building::engineForWrapper(request.name, Wrapper(port.path)),
                           Wrapper(port.path));
        } else if (canBeComponent(request.name)) {
            winetricks::fetchFilesOf(build, request.name, Wrapper(port.path), visited);
            build.setMessage(localized("Installing %@...", {localized("winetrick %@", {request.name})}));
            installComponent(request.name, port);
            build.record.addComponent(request.name);
        }
    }
    build.setSubtitle("");
    for (const char* list :
         {"/Contents/Resources/winetricksInstalled.plist", "/winetricks/winetricksCached.plist"}) {
        MVFileManager::removeItemAtPath(port.path + list);
    }
    return true;
}

std::optional<std::string> winetricks::linkOfEngineRequest(const std::vector<std::string>& words) {
    if (words.size() < 2) return std::nullopt;
    auto link = verb_script::withoutEnds(words[1]);
    const bool canBeLink = link && (link->starts_with("http") || link->starts_with("ftp"));
    return canBeLink ? std::move(link) : std::nullopt;
}

void verifyingWinetrickThatChangesEngine(Build& build, const std::vector<std::string>& words) {
    static_cast<void>(
        prepareEngine(build, words.empty() ? "" : words.front(), winetricks::linkOfEngineRequest(words)));
}

void changeEngineTo(Build& build, const std::string& engine, const Wrapper& wrapper) {
    if (extractEngine(build, engine, wrapper) == ExtractedEngine::failure) return;
    const std::string launcher = wrapper.launcher();
    const auto run = [](const std::string& program, const std::vector<std::string>& arguments) {
        MVTask::ignoreEnding(MVTask::runProgram(program, "/", arguments, Wait::yes));
    };
    run("chmod", {"777", wrapper.engine()});
    run(launcher, {"CKS-InstallICE"});
    run(launcher, {"CKS-wineboot"});
}

}  // namespace morvane
