#include "building/build.h"

#include <utility>

#include "building/master_wrapper.h"
#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "foundation/progress_view.h"

namespace morvane {

Build::Build(std::shared_ptr<NSProgressView> progress)
    : Download(std::move(progress), Keep::untilForgotten),
      newestCaskery(getNewestCaskeryVersion()),
      currentCaskery(masterWrapperOnDisk(newestCaskery)) {}

void Build::setMessage(const std::string& message) const {
    if (const auto log = BuildLog::current()) log->stage(message);
    progressWindow->setMessage(message, CreatingPort::yes);
}

void Build::setSubtitle(const std::string& subtitle) const {
    progressWindow->setSubtitle(subtitle, CreatingPort::yes);
}

bool Build::downloadFileToPath(const std::string& url, const std::string& path, const std::string& type,
                               const std::string& query) {
    setMessage(localized("Downloading %@...", {type}));
    return downloadFile(url, path, Silence::no, query);
}

}  // namespace morvane
