#include "library/apps_array.h"

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/settings_keys.h"
#include "platform/host.h"
#include "wrapper/processes.h"

namespace morvane {

namespace {

/// The stored list; empty before the library was ever made.
Array storedApps() {
    const std::optional<Value> list = host().defaults.get(settings::appList);
    const Array* apps = list ? list->as<Array>() : nullptr;
    return apps != nullptr ? *apps : Array{};
}

}  // namespace

NSAppsArray::~NSAppsArray() {
    *alive_ = false;
}

void NSAppsArray::askToKillAllCaskeryProcessesFromLocalApps() {
    const bool agreed = MVAlert::showBooleanAlertMessage(
        localized("This will kill all Caskery related process from all the apps in your local tab. "
                  "Do you really want to do it?"),
        "Warning", false);
    if (agreed) killAllCaskeryProcessesFromLocalAppsAfterLoading();
}

void NSAppsArray::killAllCaskeryProcessesFromLocalAppsAfterLoading() const {
    for (const Value& app : storedApps()) {
        const Dictionary* entry = app.as<Dictionary>();
        const std::string* path = entry != nullptr ? entry->get<std::string>("Path") : nullptr;
        // An entry without a path would mean "every wrapper", which comes last anyway.
        if (path == nullptr) continue;
        NSUtilities::terminateAllCaskeryProcessesForWrapper(*path, RemovingWrapper::no);
    }
    NSUtilities::terminateAllCaskeryProcessesForWrapper(std::nullopt, RemovingWrapper::no);
}

}  // namespace morvane
