#include "platform/sites.h"

#include <utility>

#include "platform/folders.h"

namespace morvane {

namespace {

/// The address in the environment, else the build's.
std::string siteNamed(const char* variable, const char* ofBuild) {
    std::string address = environmentVariable(variable);
    return withFinalSlash(address.empty() ? ofBuild : std::move(address));
}

}  // namespace

std::string withFinalSlash(std::string address) {
    if (!address.empty() && !address.ends_with('/')) address += '/';
    return address;
}

Sites Sites::fromEnvironment() {
// The settings of the build have the names of the variables.
#define MORVANE_SITE(name) siteNamed(#name, name)
    return {
        .caskery = MORVANE_SITE(MORVANE_CASKERY_SITE),
        .catalogue = MORVANE_SITE(MORVANE_CATALOGUE),
        .verbs = MORVANE_SITE(MORVANE_VERBS_SITE),
        .sourceForge = MORVANE_SITE(MORVANE_SOURCEFORGE_SITE),
        .webArchive = MORVANE_SITE(MORVANE_WEB_ARCHIVE),
        .steam = MORVANE_SITE(MORVANE_STEAM_SITE),
        .origin = MORVANE_SITE(MORVANE_ORIGIN_SITE),
        .uplay = MORVANE_SITE(MORVANE_UPLAY_SITE),
        .galaxyDelivery = MORVANE_SITE(MORVANE_GALAXY_SITE),
        .gog = MORVANE_SITE(MORVANE_GOG_SITE),
        .modelNames = MORVANE_SITE(MORVANE_MODEL_NAMES_SITE),
    };
#undef MORVANE_SITE
}

}  // namespace morvane
