#include "library/trailer_pages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"

namespace morvane {

namespace {

/// Whoever reaches this host has internet.
constexpr const char* wellKnownHost = "example.com";
constexpr std::string_view vimeoSite = "vimeo.com/", vimeoPlayer = "player.vimeo.com/video/";
constexpr std::string_view vubePlayer = "https://vube.com/embed/video/";
constexpr std::string_view twitchDomain = "twitch.tv";
constexpr std::string_view twitchPlayer = "https://www.twitch.tv/widgets/archive_embed_player.swf";

constexpr std::string_view pageStart =
    R"(<HTML><HEAD></HEAD><BODY bgcolor="black" style="margin: 0; padding: 0">)";
constexpr std::string_view pageEnd = "</BODY></HTML>";

std::string errorPage(std::string_view message) {
    return NSUtilities::errorHTMLWithMessage(MVString::uppercased(localized(message)));
}

bool canBeEmbedded(std::string_view link) {
    const std::string start = MVString::lowercased(link.substr(0, link.find("://")));
    return start.size() < link.size() && (start == "http" || start == "https");
}

/// A size in points as the attribute's whole number.
std::string wholeNumber(double size) {
    constexpr double largest = 100000;
    if (std::isnan(size)) return "0";
    return std::to_string(static_cast<int>(std::clamp(size, -largest, largest)));
}

/// For an attribute in either kind of quotes. Ordinary links stay as they are.
std::string attribute(std::string_view text, char quote = '"') {
    std::string escaped;
    for (const char character : text) {
        if (character == '<') {
            escaped += "&lt;";
        } else if (character == '>') {
            escaped += "&gt;";
        } else if (character == quote) {
            escaped += quote == '"' ? "&quot;" : "&#39;";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

std::string cutBefore(const std::string& text, std::string_view marker) {
    return text.substr(0, text.find(marker));
}

std::string lastPart(const std::string& link) {
    return link.substr(link.rfind('/') + 1);
}

/// The seconds of "1h2m3s"; a number without a unit counts nothing.
std::int64_t secondsOf(std::string text) {
    constexpr std::array<std::pair<char, std::int64_t>, 3> units{{{'h', 3600}, {'m', 60}, {'s', 1}}};
    constexpr std::int64_t most = 1'000'000;  // of each, far from what could overflow
    std::int64_t seconds = 0;
    for (const auto& [unit, length] : units) {
        const std::size_t end = text.find(unit);
        if (end == std::string::npos) continue;
        seconds += std::min(MVString::initialIntValue(text.substr(0, end)), most) * length;
        text.erase(0, end + 1);
    }
    return seconds;
}

std::string youTubeAddress(const std::string& link) {
    const std::string embedded = MVString::replacedAll(link, "watch?v=", "embed/");
    const std::string address = cutBefore(embedded, "?") + "?version=3";
    if (!MVString::contains(embedded, "?t=")) return address;
    const std::int64_t start = secondsOf(NSUtilities::getFragmentAfter("t=", "&", embedded));
    return address + "&start=" + std::to_string(start);
}

std::string vimeoAddress(const std::string& link) {
    if (MVString::contains(link, vimeoPlayer)) return link;
    const std::string bare = MVString::replacedAll(link, "www.vimeo.com/", vimeoSite);
    return MVString::replacedAll(bare, vimeoSite, vimeoPlayer);
}

std::string twitchPlayerFor(const std::string& chapter, const std::string& width, const std::string& height) {
    return filled(
        "<object bgcolor='#000000' data='%@' height='%d' id='clip_embed_player_flash' "
        "type='application/x-shockwave-flash' width='%d'><param name='movie' value='%@' />"
        "<param name='allowScriptAccess' value='always' />"
        "<param name='allowNetworking' value='all' />"
        "<param name='allowFullScreen' value='true' />"
        "<param name='flashvars' value='auto_play=false&amp;start_volume=25&amp;chapter_id=%@' />"
        "</object>",
        {twitchPlayer, height, width, twitchPlayer, attribute(chapter, '\'')});
}

/// The element that plays the link, by the service that it names.
std::string playerFor(const std::string& link, const std::string& width, const std::string& height) {
    const auto names = [&](std::string_view service) { return MVString::contains(link, service); };
    if (names("youtube")) {
        return filled(
            R"(<iframe width="%d" height="%d" src="%@&rel=0" frameborder="0" allowfullscreen></iframe>)",
            {width, height, attribute(youTubeAddress(link))});
    }
    if (names("vimeo")) {
        return filled(R"(<iframe src="%@" width="%d" height="%d" frameborder="0" webkitallowfullscreen )"
                      R"(mozallowfullscreen allowfullscreen></iframe>)",
                      {attribute(vimeoAddress(link)), width, height});
    }
    if (names("yahoo")) {
        return filled(R"(<iframe width="%d" height="%d" scrolling="no" frameborder="0" src="%@" )"
                      R"(allowfullscreen="true" mozallowfullscreen="true" webkitallowfullscreen="true" )"
                      R"(allowtransparency="true"></iframe>)",
                      {width, height, attribute(MVString::replacedAll(link, ".html", ".html?format=embed"))});
    }
    if (names("dailymotion")) {
        const std::string address = cutBefore(MVString::replacedAll(link, "video", "embed/video"), "_");
        return filled(R"(<iframe frameborder="0" width="%d" height="%d" src="%@" allowfullscreen></iframe>)",
                      {width, height, attribute(address)});
    }
    if (names("vube")) {
        const std::string address =
            std::string(vubePlayer) + cutBefore(lastPart(link), "?") + "?autoplay=false&fit=true";
        return filled(R"(<iframe type="text/html" width="%d" height="%d" src="%@" allowfullscreen )"
                      R"(frameborder="0"></iframe>)",
                      {width, height, attribute(address)});
    }
    if (names(twitchDomain)) return twitchPlayerFor(lastPart(link), width, height);
    return filled(R"(<iframe width="%d" height="%d" src="%@" frameborder="0" allowfullscreen></iframe>)",
                  {width, height, attribute(link)});
}

bool isPicture(std::string_view link) {
    constexpr std::array<std::string_view, 4> endings{".png", ".jpg", ".bmp", ".gif"};
    return std::ranges::any_of(endings, [&](std::string_view ending) { return link.ends_with(ending); });
}

/// Where a service keeps the still pictures of its videos.
struct VideoService {
    std::string_view host, beforeId;
    const char* picture;
};
constexpr const char* youTubePicture = "https://img.youtube.com/vi/%@/hqdefault.jpg";
constexpr const char* dailymotionPicture = "https://www.dailymotion.com/thumbnail/video/%@";
constexpr std::array<VideoService, 5> videoServices{{{"youtube.", "v=", youTubePicture},
                                                     {"youtube", "/embed/", youTubePicture},
                                                     {"://", "youtu.be/", youTubePicture},
                                                     {"dailymotion.", "/embed/video/", dailymotionPicture},
                                                     {"dailymotion.", "/video/", dailymotionPicture}}};
constexpr const char* charactersOfIds = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

}  // namespace

std::string trailerPageFromLink(const std::string& link, double width, double height) {
    if (!canBeEmbedded(link)) return errorPage("No trailer available");
    if (!NSUtilities::isWebsiteAvailable(wellKnownHost)) return errorPage("No internet connection");
    return isPicture(link) ? imageViewPageFromLink(link, width, height)
                           : videoPlayerPageFromLink(link, width, height);
}

std::optional<std::string> stillPictureOfLink(const std::string& link) {
    if (!canBeEmbedded(link)) return std::nullopt;
    if (isPicture(link)) return link;
    for (const VideoService& service : videoServices) {
        const std::size_t found = link.find(service.beforeId);
        if (found == std::string::npos || !MVString::contains(link.substr(0, found), service.host)) continue;
        const std::string rest = link.substr(found + service.beforeId.size());
        // Some end in words: "x2_name-of-the-video".
        std::string id = rest.substr(0, rest.find_first_not_of(charactersOfIds));
        if (service.picture == dailymotionPicture) id = cutBefore(id, "_");
        if (!id.empty()) return filled(service.picture, {id});
    }
    return std::nullopt;
}

std::string imageViewPageFromLink(const std::string& link, double width, double height) {
    if (!canBeEmbedded(link)) return errorPage("No trailer available");
    return std::string(pageStart) +
           filled(R"(<img width="%d" height="%d" src="%@">)",
                  {wholeNumber(width), wholeNumber(height), attribute(link)}) +
           std::string(pageEnd);
}

std::string videoPlayerPageFromLink(const std::optional<std::string>& link, double width, double height) {
    if (!link || !canBeEmbedded(*link)) return errorPage("No trailer available");
    if (!NSUtilities::isWebsiteAvailable(wellKnownHost)) return errorPage("No internet connection");
    return std::string(pageStart) + playerFor(*link, wholeNumber(width), wholeNumber(height)) +
           std::string(pageEnd);
}

}  // namespace morvane
