#include "front/embedded_sites.h"

#include <utility>

#include "foundation/settings.h"
#include "platform/files.h"
#include "platform/older_library.h"
#include "runtime/system_engine.h"
#include "server/catalogue_publish.h"
#include "server/catalogue_server.h"
#include "server/site_server.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

void complete(std::string& site, const settings::Key<std::string>& setting) {
    if (!site.empty()) return;
    if (const std::string stored = settings::get(setting); !stored.empty()) site = withFinalSlash(stored);
}

}  // namespace

Host::Options optionsOfProcess() {
    Host::Options options;
    options.appsFolders = [] { return settings::storedFolders(settings::mainFolder); };
    options.folders = Folders::fromEnvironment();
    options.notes = settleLibrary(options.folders);
    options.texts = MessageCatalogue::ofUser(options.folders.resources);
    options.sites = Sites::fromEnvironment();
    options.searchPath = environmentVariable("PATH");
    return options;
}

EmbeddedSites::EmbeddedSites(std::function<void(const std::string&)> say) : say_(std::move(say)) {}

EmbeddedSites::~EmbeddedSites() {
    cancel();
}

void EmbeddedSites::completeFromSettings() {
    complete(host().sites.caskery, settings::caskerySite);
    complete(host().sites.catalogue, settings::catalogueSite);
}

void EmbeddedSites::provide() {
    if (host().sites.caskery.empty()) provideDownloads();
    if (host().sites.catalogue.empty()) provideCatalogue();
}

void EmbeddedSites::cancel() {
    if (engines_) engines_->cancel();
}

void EmbeddedSites::provideDownloads() {
    SiteServer::Content content;
    content.siteFolder = host().folders.resources + "/site";
    engines_ = std::make_unique<runtime::SystemEngineStore>();
    content.engineNames = [this] { return engines_->names(); };
    content.engineArchive = [this](const std::string& name) { return engines_->archive(name); };
    site_ = std::make_unique<SiteServer>(std::move(content));
    host().sites.caskery = site_->baseAddress();
}

void EmbeddedSites::provideCatalogue() {
    const std::string samples = host().folders.resources + "/samples/catalogue.plist";
    const std::string content = files::join(layout::applicationSupportFolder(), "Catalogue");
    if (files::kindOf(samples) == files::Kind::file) {
        if (const auto prepared = prepareSampleCatalogue(samples, content); !prepared) {
            say_(prepared.error().message());
        }
    }
    auto started = CatalogueServer::start({.content = content});
    if (!started) return say_(started.error().message());
    catalogue_ = *std::move(started);
    host().sites.catalogue = catalogue_->baseAddress();
}

}  // namespace morvane
