#include "server/catalogue_server.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/annotations.h"
#include "platform/files.h"
#include "platform/utf8.h"
#include "server/catalogue_caching.h"
#include "server/catalogue_store.h"
#include "server/catalogue_texts.h"
#include "server/database.h"
#include "server/http_listener.h"
#include "server/signer.h"
#include "server/static_files.h"

namespace morvane {
namespace {

constexpr const char* plainText = "text/plain; charset=utf-8";
constexpr const char* html = "text/html; charset=utf-8";
constexpr const char* downloadPath = "/ckis/download.php";
constexpr const char* votePath = "/ckis/facebook/ratePort.php";
constexpr const char* voterCookie = "voter";
constexpr int cookieSeconds = 365 * 86400;
constexpr std::size_t voterBytes = 16;
/// A crash report of a megabyte takes up to three when it is escaped.
constexpr std::size_t mostBodyBytes = 3U << 20;
constexpr std::size_t mostLineBytes = 300;  // of a mail
constexpr std::size_t mostInstructionBytes = 1U << 20;
constexpr int rankingRows = 25, mostRankingRows = 100, frontPageRows = 10;
constexpr int defaultStars = 4, mostStars = 5;
constexpr std::size_t mostLists = 32, mostChangeTimes = 20'000;
constexpr unsigned connectionsPerAddress = 64;

enum Status {
    ok = 200,
    badRequest = 400,
    forbidden = 403,
    notFound = 404,
    tooManyRequests = 429,
    unavailable = 503
};

struct Address {
    std::string host;
    int port;
};

/// "host:port"; an IPv6 host stands in brackets.
std::optional<Address> parsedAddress(std::string_view text) {
    constexpr int highestPort = 65535;
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    std::string_view host = text.substr(0, colon);
    if (host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    int port = -1;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + colon + 1, last, port);
    if (error != std::errc() || end != last || port < 0 || port > highestPort || host.empty())
        return std::nullopt;
    return Address{std::string(host), port};
}

bool isLoopback(const std::string& host) {
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

/// The number that the text is, whole; nothing for any other text.
std::optional<std::int64_t> numberOf(std::string_view text) {
    std::int64_t number = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    return error == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

/// A country as ports have it; anything else is none.
std::string countryOf(const std::string& text) {
    const std::string country = MVString::uppercased(text);
    const auto letter = [](char character) { return character >= 'A' && character <= 'Z'; };
    const bool code = country.size() == 2 && std::all_of(country.begin(), country.end(), letter);
    return code ? country : everyCountry;
}

std::string cookieOf(const HttpQuery& query, std::string_view name) {
    // Several headers have been joined by commas, which no cookie of ours holds.
    const std::string cookies = MVString::replacedAll(query.header("cookie"), ",", ";");
    for (const std::string& pair : MVString::split(cookies, ";")) {
        const std::string cookie = MVString::trimmed(pair);
        if (cookie.size() > name.size() && cookie.starts_with(name) && cookie[name.size()] == '=')
            return cookie.substr(name.size() + 1);
    }
    return {};
}

using Form = std::map<std::string, std::string>;

std::string valueOf(const Form& form, const std::string& key) {
    const auto found = form.find(key);
    return found == form.end() ? std::string() : found->second;
}

/// The text as UTF-8 without control characters but line breaks and tabs, cut to so many bytes.
std::string cleaned(std::string text, std::size_t most) {
    if (text.size() > most) {
        // Before a whole character.
        while (most > 0 && utf8::continues(text[most])) --most;
        text.resize(most);
    }
    if (!MVString::isValidUtf8(text))
        std::replace_if(
            text.begin(), text.end(), [](unsigned char byte) { return byte >= 0x80; }, '?');
    std::erase_if(text, [](unsigned char c) { return (c < ' ' && c != '\n' && c != '\t') || c == 0x7f; });
    return text;
}

HttpAnswer answer(std::string text, const char* type = plainText) {
    return HttpAnswer::of(std::move(text), type);
}

HttpAnswer pageAnswer(int status, std::string_view heading, std::string_view text) {
    return HttpAnswer::of(catalogue_texts::page(heading, text), html, status);
}

/// The answer that the application takes for a missing file.
HttpAnswer missing(const char* text = catalogue_texts::missingFile) {
    return HttpAnswer::of(text, html, notFound);
}

HttpAnswer fileAnswer(const std::optional<std::string>& path,
                      const char* whenMissing = catalogue_texts::missingFile) {
    return path && files::kindBehind(*path) == files::Kind::file
               ? HttpAnswer::ofFile(*path, contentTypeOf(*path))
               : missing(whenMissing);
}

}  // namespace

struct CatalogueServer::State {
    State(Options given, std::unique_ptr<CatalogueStore> opened, Signer secret, bool isLocal)
        : options(std::move(given)),
          store(std::move(opened)),
          signer(std::move(secret)),
          listener({.threads = options.threads,
                    .bodyLimit = mostBodyBytes,
                    // Behind another server all come from its address.
                    .perAddress = isLocal || options.behindProxy ? 0 : connectionsPerAddress,
                    .headers = {{"X-Content-Type-Options", "nosniff"}},
                    // What writes waits for the disk, and for other processes that hold the database.
                    .isSlow =
                        [](const HttpQuery& query) {
                            return query.method == "POST" || query.path == downloadPath;
                        },
                    .complain = options.complain},
                   [this](const HttpQuery& query) { return answerTo(query); }) {}

    /// The text of a list, while it is of today and nothing is published.
    struct ListText {
        std::int64_t publications = 0, day = 0;
        std::shared_ptr<const std::string> text = {};
        std::string tag = {};
    };

    const Options options;
    const std::unique_ptr<CatalogueStore> store;
    const Signer signer;
    Address address;
    Mutex listsMutex;
    std::map<std::pair<bool, std::string>, ListText> lists MV_GUARDED_BY(listsMutex);
    ChangeTimes changeTimes{mostChangeTimes};
    /// Last: its threads end before what they use.
    HttpListener listener;

    /// A failure of the database is told as a server that is busy.
    [[nodiscard]] HttpAnswer answerTo(const HttpQuery& query);
    [[nodiscard]] HttpAnswer answerGet(const HttpQuery& query);
    [[nodiscard]] HttpAnswer answerPost(const HttpQuery& query) const;

    [[nodiscard]] HttpAnswer listPorts(const HttpQuery& query);
    [[nodiscard]] HttpAnswer portDescription(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer portRating(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer rankingPorts(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer download(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer instructions(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer showVote(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer castVote(const HttpQuery& query, const Form& form) const;
    [[nodiscard]] HttpAnswer takeMail(const HttpQuery& query, const Form& form) const;
    [[nodiscard]] HttpAnswer frontPage(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer news(const HttpQuery& query) const;
    [[nodiscard]] HttpAnswer forum(const HttpQuery& query) const;

    [[nodiscard]] ListText listText(bool developer, const std::string& country);
    /// What caches may do with the answer, and when its text became what it is.
    void tellCaches(const HttpQuery& query, HttpAnswer& answer);
    [[nodiscard]] std::optional<std::string> voterOf(const HttpQuery& query) const;
    [[nodiscard]] std::string senderOf(const HttpQuery& query) const;
    [[nodiscard]] std::optional<HttpAnswer> ownPage(const char* name) const;
    [[nodiscard]] HttpAnswer anyFile(const std::string& path) const;
    [[nodiscard]] std::optional<std::string> portFile(std::string_view place) const;
};

HttpAnswer CatalogueServer::State::answerTo(const HttpQuery& query) {
    try {
        HttpAnswer answered = query.method == "POST" ? answerPost(query) : answerGet(query);
        tellCaches(query, answered);
        return answered;
    } catch (const DatabaseError& error) {
        if (options.complain) options.complain(error.what());
        HttpAnswer busy = pageAnswer(unavailable, "Busy", "The catalogue is busy. Please, try again later.");
        busy.headers["Retry-After"] = "5";
        tellCaches(query, busy);
        return busy;
    }
}

void CatalogueServer::State::tellCaches(const HttpQuery& query, HttpAnswer& answer) {
    const bool isRead = query.method != "POST";
    const std::string kept = isRead ? cacheControlOf(query.path, answer.status) : keptByNobody;
    answer.headers["Cache-Control"] = kept;
    // Searches are without end, and few are made twice.
    if (kept == keptByNobody || answer.status != ok || !answer.text || query.parameters.contains("search"))
        return;
    if (answer.validators.tag.empty()) answer.validators.tag = entityTagOf(*answer.text);
    std::string asked = query.path;
    for (const auto& [name, value] : query.parameters)
        asked.append("&").append(name).append("=").append(value);
    answer.validators.changed = changeTimes.of(asked, answer.validators.tag, std::time(nullptr));
}

HttpAnswer CatalogueServer::State::answerGet(const HttpQuery& query) {
    using Answer = HttpAnswer (State::*)(const HttpQuery&) const;
    static constexpr std::array<std::pair<std::string_view, Answer>, 12> addresses = {{
        {"/", &State::frontPage},
        {"/blog", &State::news},
        {"/blog/", &State::news},
        {downloadPath, &State::download},
        {"/ckis/instructions.php", &State::instructions},
        {"/ckis/portDescription.php", &State::portDescription},
        {"/ckis/portRating.php", &State::portRating},
        {"/ckis/rankingPorts.php", &State::rankingPorts},
        {votePath, &State::showVote},
        {"/smf", &State::forum},
        {"/smf/", &State::forum},
        {"/smf/index.php", &State::forum},
    }};
    if (query.path == "/ckis/listPorts.php") return listPorts(query);
    const auto* found = std::find_if(addresses.begin(), addresses.end(),
                                     [&](const auto& known) { return known.first == query.path; });
    return found != addresses.end() ? (this->*found->second)(query) : anyFile(query.path);
}

/// Verb files and the ports' own; whatever is no such file may lie below "files".
HttpAnswer CatalogueServer::State::anyFile(const std::string& path) const {
    constexpr std::string_view verbs = "/ckis/winetricks/", ports = "/ckis/", others = "/files/";
    const char* whenMissing = catalogue_texts::missingFile;
    std::optional<std::string> file;
    if (path.starts_with(verbs)) {
        file = fileBelow(options.content + "/winetricks", path.substr(verbs.size()));
        whenMissing = catalogue_texts::missingVerb;
    } else if (path.starts_with(ports)) {
        file = portFile(std::string_view(path).substr(ports.size()));
    }
    if (!file)
        file = fileBelow(options.content + "/files",
                         path.starts_with(others) ? path.substr(others.size()) : path);
    return fileAnswer(file, whenMissing);
}

HttpAnswer CatalogueServer::State::answerPost(const HttpQuery& query) const {
    if (query.path == votePath) return castVote(query, query.form());
    if (query.path == "/en/send_form_email.php") return takeMail(query, query.form());
    return missing();
}

HttpAnswer CatalogueServer::State::listPorts(const HttpQuery& query) {
    const bool developer = query.parameter("developer") == "1";
    const std::string country = query.parameter("country");
    if (query.parameters.contains("search")) {
        const auto wanted = country.empty() ? std::nullopt : std::optional(countryOf(country));
        return answer(catalogue_texts::list(store->search(query.parameter("search"), wanted, developer)));
    }
    const ListText list = listText(developer, countryOf(country));
    return {.contentType = plainText, .text = list.text, .validators = {.tag = list.tag}};
}

CatalogueServer::State::ListText CatalogueServer::State::listText(bool developer,
                                                                  const std::string& country) {
    const std::int64_t publications = store->publications();
    // The mark of a new port goes away with time.
    const std::int64_t day =
        std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now()).time_since_epoch().count();
    // Countries without a port of their own share one text.
    const std::pair key(developer, store->hasPortsFor(country) ? country : everyCountry);
    {
        const MutexLock lock(listsMutex);
        const auto found = lists.find(key);
        if (found != lists.end() && found->second.publications == publications && found->second.day == day)
            return found->second;
    }
    ListText made{publications, day};
    made.text =
        std::make_shared<const std::string>(catalogue_texts::list(store->list(developer, key.second)));
    made.tag = entityTagOf(*made.text);
    const MutexLock lock(listsMutex);
    if (lists.size() >= mostLists) lists.clear();
    lists[key] = made;
    return made;
}

HttpAnswer CatalogueServer::State::portDescription(const HttpQuery& query) const {
    const std::int64_t id = numberOf(query.parameter("id")).value_or(0);
    if (query.parameter("brief") == "true") {
        const auto entry = store->entry(id);
        return answer(entry ? catalogue_texts::list({*entry}) : "");
    }
    const auto details = store->details(id);
    return answer(details ? catalogue_texts::description(*details, store->ratings(id)) : "");
}

HttpAnswer CatalogueServer::State::portRating(const HttpQuery& query) const {
    const std::int64_t id = numberOf(query.parameter("game")).value_or(0);
    return answer(store->entry(id) ? catalogue_texts::ratings(store->ratings(id)) : "");
}

HttpAnswer CatalogueServer::State::rankingPorts(const HttpQuery& query) const {
    static constexpr std::array<std::pair<std::string_view, RankingKind>, 3> kinds = {
        {{"latest", RankingKind::latest},
         {"popular", RankingKind::popular},
         {"highrated", RankingKind::highrated}}};
    const std::string type = query.parameter("type");
    const auto* kind =
        std::find_if(kinds.begin(), kinds.end(), [&](const auto& known) { return known.first == type; });
    if (kind == kinds.end()) return answer("");
    const std::int64_t rows = numberOf(query.parameter("num")).value_or(rankingRows);
    const int count = static_cast<int>(std::clamp<std::int64_t>(rows, 0, mostRankingRows));
    return answer(catalogue_texts::ranking(
        store->ranking(kind->second, count, cardFamilyNamed(query.parameter("card")))));
}

HttpAnswer CatalogueServer::State::download(const HttpQuery& query) const {
    const std::int64_t id = numberOf(query.parameter("id")).value_or(0);
    HttpAnswer answered = fileAnswer(store->ckiPath(id, query.parameter("type")));
    // A look at the head, or the rest of a broken transfer, is no download of its own.
    const bool whole = query.method == "GET" && !query.headers.contains("range");
    if (!whole || answered.status == notFound) return answered;
    try {
        store->countDownload(id);
    } catch (const DatabaseError& error) {
        // The player gets his file all the same.
        if (options.complain) options.complain(error.what());
    }
    return answered;
}

/// The file at a place below "ckis/": creator, folder, file.
std::optional<std::string> CatalogueServer::State::portFile(std::string_view place) const {
    const std::size_t first = place.find('/'), last = place.rfind('/');
    if (first == std::string_view::npos || first == last) return std::nullopt;
    // A name may hold "/" itself: the folder is what stands between the first and the last one.
    const auto id = store->portAtFolder(std::string(place.substr(0, first)),
                                        std::string(place.substr(first + 1, last - first - 1)));
    const std::string_view file = place.substr(last + 1);
    constexpr std::string_view ending = ".cki";
    if (id && file == "Icon.png") return store->iconPath(*id);
    if (!id || !file.ends_with(ending)) return std::nullopt;
    return store->ckiPath(*id, std::string(file.substr(0, file.size() - ending.size())));
}

HttpAnswer CatalogueServer::State::instructions(const HttpQuery& query) const {
    const std::string path = options.content + "/instructions";
    const std::string source = MVString::lowercased(query.parameter("source"));
    if (files::size(path).value_or(mostInstructionBytes) >= mostInstructionBytes) return answer("");
    const auto read = files::read(path);
    if (read) {
        for (const std::string& line : MVString::split(*read, "\n")) {
            const std::size_t equals = line.find('=');
            if (equals != std::string::npos &&
                MVString::lowercased(MVString::trimmed(line.substr(0, equals))) == source)
                return answer(MVString::trimmed(line.substr(equals + 1)));
        }
    }
    return answer("");
}

/// The signed ID in the cookie; nothing without one that fits.
std::optional<std::string> CatalogueServer::State::voterOf(const HttpQuery& query) const {
    const std::string cookie = cookieOf(query, voterCookie);
    const std::size_t dot = cookie.find('.');
    if (dot == std::string::npos) return std::nullopt;
    const std::string voter = cookie.substr(0, dot);
    return signer.fits(cookie.substr(dot + 1), "voter", voter) ? std::optional(voter) : std::nullopt;
}

HttpAnswer CatalogueServer::State::showVote(const HttpQuery& query) const {
    const auto game = store->entry(numberOf(query.parameter("game")).value_or(0));
    if (!game) return pageAnswer(notFound, "No such game", "The catalogue has no game of that number.");
    auto voter = voterOf(query);
    if (!voter) voter = randomHex(voterBytes);
    const std::int64_t stars = numberOf(query.parameter("rate")).value_or(defaultStars);
    catalogue_texts::VoteForm form;
    form.game = *game;
    form.card = query.parameter("card");
    form.stars = stars >= 1 && stars <= mostStars ? static_cast<int>(stars) : defaultStars;
    form.token = signer.sign("vote form", *voter);
    HttpAnswer page = answer(catalogue_texts::voteForm(form), html);
    // Made anew each time, so that it lasts for a year from the last vote. A page of another site cannot send
    // it along with a form of its own.
    page.headers["Set-Cookie"] =
        filled("%@=%@.%@; Path=%@; Max-Age=%@; HttpOnly; SameSite=Lax",
               {voterCookie, *voter, signer.sign("voter", *voter), votePath, std::to_string(cookieSeconds)});
    page.headers["Content-Security-Policy"] =
        "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; frame-ancestors 'none'";
    return page;
}

HttpAnswer CatalogueServer::State::castVote(const HttpQuery& query, const Form& form) const {
    const auto voter = voterOf(query);
    if (!voter || !signer.fits(valueOf(form, "token"), "vote form", *voter))
        return pageAnswer(forbidden, "Not counted",
                          "The vote needs a cookie of this page. Please, allow it, and open the page again.");
    const auto family = cardFamilyNamed(valueOf(form, "card"));
    const std::int64_t stars = numberOf(valueOf(form, "rate")).value_or(0);
    if (!family || stars < 1 || stars > mostStars)
        return pageAnswer(badRequest, "Not counted",
                          "Please, go back and choose a graphics card and one to five stars.");
    const std::int64_t game = numberOf(valueOf(form, "game")).value_or(0);
    using Arrival = CatalogueStore::Arrival;
    const Arrival arrival =
        store->vote(*voter, senderOf(query), game, *family, static_cast<int>(stars), options.votesPerHour);
    if (arrival == Arrival::noSuchPort)
        return pageAnswer(notFound, "No such game", "The catalogue has no game of that number.");
    if (arrival == Arrival::tooMany)
        return pageAnswer(tooManyRequests, "Not counted",
                          "Too many votes came from your address. Please, try again in an hour.");
    return pageAnswer(ok, "Thank you",
                      filled("Your vote counts: %@ of 5 for %@.",
                             {std::to_string(stars), cardFamilyNames.at(static_cast<std::size_t>(*family))}));
}

std::string CatalogueServer::State::senderOf(const HttpQuery& query) const {
    if (!options.behindProxy) return query.sender;
    const std::string addresses = query.header("x-forwarded-for");
    return cleaned(MVString::trimmed(MVString::split(addresses, ",").back()), mostLineBytes);
}

/// Refusals have the status of a success too: the application shows only such an answer's text.
HttpAnswer CatalogueServer::State::takeMail(const HttpQuery& query, const Form& form) const {
    const Mail mail{senderOf(query), cleaned(valueOf(form, "name"), mostLineBytes),
                    cleaned(valueOf(form, "email"), mostLineBytes),
                    cleaned(valueOf(form, "subject"), mostLineBytes),
                    cleaned(valueOf(form, "comment"), mostBodyBytes)};
    if (MVString::trimmed(mail.comment).empty()) return answer("<p>The message is empty.</p>", html);
    if (store->addMail(mail) == CatalogueStore::Arrival::tooMany)
        return answer("<p>Too many messages were sent. Please, try again in an hour.</p>", html);
    return answer("<!-- Success --><p>Thank you. Your message was sent.</p>", html);
}

std::optional<HttpAnswer> CatalogueServer::State::ownPage(const char* name) const {
    const auto path = fileBelow(options.content + "/pages", name);
    return path ? std::optional(HttpAnswer::ofFile(*path, html)) : std::nullopt;
}

HttpAnswer CatalogueServer::State::frontPage(const HttpQuery&) const {
    if (auto own = ownPage("front.html")) return *own;
    return answer(
        catalogue_texts::frontPage(store->ranking(RankingKind::latest, frontPageRows, std::nullopt)), html);
}

HttpAnswer CatalogueServer::State::news(const HttpQuery&) const {
    if (auto own = ownPage("news.html")) return *own;
    return pageAnswer(ok, "News", "There is no news yet.");
}

HttpAnswer CatalogueServer::State::forum(const HttpQuery&) const {
    if (auto own = ownPage("forum.html")) return *own;
    return pageAnswer(ok, "Forum", "This catalogue has no forum yet.");
}

Result<std::unique_ptr<CatalogueServer>> CatalogueServer::start(const Options& options) {
    auto address = parsedAddress(options.listen);
    if (!address) return Failure{localized("%@ is no address like 127.0.0.1:8080.", {options.listen})};
    auto store = CatalogueStore::open(options.content, options.patience);
    if (!store) return store.error();
    auto signer = Signer::withSecretAt(options.content + "/secret");
    if (!signer) return signer.error();
    auto state =
        std::make_unique<State>(options, *std::move(store), *std::move(signer), isLoopback(address->host));
    state->address = *std::move(address);
    if (!state->listener.listenOn(state->address.host, state->address.port))
        return Failure{localized("Nothing can listen on %@.", {options.listen})};
    return std::unique_ptr<CatalogueServer>(new CatalogueServer(std::move(state)));
}

CatalogueServer::CatalogueServer(std::unique_ptr<State> state) : state_(std::move(state)) {}

CatalogueServer::~CatalogueServer() = default;

std::string CatalogueServer::baseAddress() const {
    const std::string& host = state_->address.host;
    const std::string name = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return "http://" + name + ":" + std::to_string(state_->listener.port()) + "/";
}

}  // namespace morvane
