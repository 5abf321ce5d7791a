#include "building/plan_draft.h"

#include <chrono>
#include <utility>

#include "foundation/network.h"
#include "platform/host.h"
#include "platform/http.h"

namespace morvane {

using namespace std::chrono_literals;

PlannedStage& PlanDraft::begin(const std::string& title) {
    return plan.stages.emplace_back(PlannedStage{.title = title});
}

void PlanDraft::download(const std::string& what, const std::string& link) {
    const auto size = sizeBehind(link);
    stage().downloads.push_back({what, link, size});
    plan.spaceNeeded += size.value_or(0);
    if (!size) plan.sizesAreKnown = false;
}

std::optional<std::uint64_t> PlanDraft::sizeBehind(const std::string& link) {
    const auto parts = parseUrl(link);
    if (asking_ == AskForSizes::no || !parts || silent_.contains(parts->host) ||
        !NSUtilities::isWebsiteOfUrlAvailable(link))
        return std::nullopt;
    const HttpResponse head =
        http::fetch({.url = link, .idleTimeout = 5s, .headOnly = true}, &host().creation);
    if (!head.error.empty()) silent_.insert(parts->host);
    return head.status == 200 ? head.announcedLength : std::nullopt;
}

}  // namespace morvane
