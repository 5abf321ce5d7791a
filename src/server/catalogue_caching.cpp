#include "server/catalogue_caching.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace morvane {
namespace {

struct Rule {
    std::string_view path;
    const char* kept;
};

/// Each download is counted: it is asked for here, whoever has the bytes.
constexpr const char* askedForEachTime = "no-cache";
constexpr const char* ratings = "public, max-age=10, stale-while-revalidate=10, stale-if-error=86400";
constexpr const char* texts = "public, max-age=60, stale-while-revalidate=60, stale-if-error=86400";
constexpr const char* files = "public, max-age=300, stale-while-revalidate=300, stale-if-error=86400";
constexpr const char* pictures = "public, max-age=3600, stale-while-revalidate=3600, stale-if-error=86400";
/// Somebody may just be about to put it there.
constexpr const char* missing = "public, max-age=10";

constexpr std::array<Rule, 13> rules = {{
    {"/", texts},
    {"/blog", texts},
    {"/blog/", texts},
    {"/ckis/download.php", askedForEachTime},
    {"/ckis/facebook/ratePort.php", keptByNobody},
    {"/ckis/instructions.php", files},
    {"/ckis/listPorts.php", texts},
    {"/ckis/portDescription.php", texts},
    {"/ckis/portRating.php", ratings},
    {"/ckis/rankingPorts.php", texts},
    {"/smf", texts},
    {"/smf/", texts},
    {"/smf/index.php", texts},
}};
static_assert(std::is_sorted(rules.begin(), rules.end(),
                             [](const Rule& a, const Rule& b) { return a.path < b.path; }));

}  // namespace

const char* cacheControlOf(const std::string& path, int status) {
    constexpr int ok = 200, notFound = 404;
    const auto* rule =
        std::find_if(rules.begin(), rules.end(), [&](const Rule& known) { return known.path == path; });
    const bool isKnown = rule != rules.end();
    if (isKnown && std::string_view(rule->kept) == keptByNobody) return keptByNobody;
    if (status == notFound) return missing;
    if (status != ok) return keptByNobody;
    if (isKnown) return rule->kept;
    return path.ends_with(".png") ? pictures : files;
}

}  // namespace morvane
