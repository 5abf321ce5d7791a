// platform/sites.h: the addresses of the servers that the application asks.
#pragma once

#include <string>

namespace morvane {

/// Base addresses, each ending in "/"; an empty one is not known. Set before work starts.
struct Sites {
    std::string caskery;         ///< the wrapper technology's download site; empty: the embedded one
    std::string catalogue;       ///< the catalogue server; empty: the embedded one
    std::string verbs;           ///< raw contents of the repository that holds the Winetricks script
    std::string sourceForge;     ///< the download service that verbs name by a variable
    std::string webArchive;      ///< snapshots of pages; the page's whole address follows
    std::string steam;           ///< Steam's media host
    std::string origin;          ///< the download site that holds Origin's installer
    std::string uplay;           ///< Uplay's static content
    std::string galaxyDelivery;  ///< GOG's content delivery, which holds GOG Galaxy's installer
    std::string gog;             ///< GOG's web pages
    std::string modelNames;      ///< the computer maker's names of models

    /// Each from its variable (MORVANE_CASKERY_SITE, MORVANE_CATALOGUE, MORVANE_VERBS_SITE,
    /// MORVANE_SOURCEFORGE_SITE, MORVANE_WEB_ARCHIVE, MORVANE_STEAM_SITE, MORVANE_ORIGIN_SITE,
    /// MORVANE_UPLAY_SITE, MORVANE_GALAXY_SITE, MORVANE_GOG_SITE, MORVANE_MODEL_NAMES_SITE), else what this
    /// build was given under the same name (a CMake setting).
    [[nodiscard]] static Sites fromEnvironment();
};

/// The address with one "/" at its end; an empty one stays empty.
[[nodiscard]] std::string withFinalSlash(std::string address);

}  // namespace morvane
