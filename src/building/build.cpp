#include "building/build.h"

#include <chrono>
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
    waitForEarly(url);
    if (!downloadFile(url, path, Silence::no, query)) return false;
    useFile(path, url);
    return true;
}

void Build::useFile(const std::string& path, const std::string& link) {
    const auto file = UsedFile::at(path, link);
    if (!file) return;
    if (const auto allowed = locked ? locked->allows(*file) : Result<>(); !allowed)
        throw BuildRefused(allowed.error());
    record.add(*file);
}

std::shared_ptr<EarlyDownloads> Build::fetchEarly(const std::vector<std::string>& links) {
    auto early = std::make_shared<EarlyDownloads>(links);
    early_ = early;
    return early;
}

void Build::waitForEarly(const std::string& link) {
    const auto early = early_.lock();
    if (!early) return;
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    std::optional<EarlyDownloads::Sum> first, last;
    early->waitFor(link, [&](const EarlyDownloads::Sum& sum) {
        if (!first) first = last = sum;
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        const auto average =
            static_cast<std::uint64_t>(static_cast<double>(sum.arrived - first->arrived) / elapsed);
        if (sum.whole > 0) progressWindow->setCurrentValue(static_cast<int>(sum.done * 1000 / sum.whole));
        setSubtitle(lineOfTransfer(sum.done, sum.whole, sum.arrived - last->arrived, average));
        last = sum;
    });
    if (last) setSubtitle("");
}

}  // namespace morvane
