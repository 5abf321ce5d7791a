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
#include "server/catalogue_store.h"
#include "server/catalogue_texts.h"
#include "server/database.h"
#include "server/http_listener.h"
#include "server/signer.h"
#include "server/static_files.h"

namespace morvane {
namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* plainText = "text/plain; charset=utf-8";
constexpr const char* html = "text/html; charset=utf-8";
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
constexpr std::size_t mostLists = 32;

enum Status { badRequest = 400, forbidden = 403, notFound = 404, notAllowed = 405, unavailable = 503 };

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

std::string cookieOf(const Request& request, std::string_view name) {
    for (const std::string& pair : MVString::split(request.get_header_value("Cookie"), ";")) {
        const std::string cookie = MVString::trimmed(pair);
        if (cookie.size() > name.size() && cookie.starts_with(name) && cookie[name.size()] == '=')
            return cookie.substr(name.size() + 1);
    }
    return {};
}

std::string valueOf(const httplib::Params& values, const std::string& key) {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

/// The text as UTF-8 without control characters but line breaks and tabs, cut to so many bytes.
std::string cleaned(std::string text, std::size_t most) {
    if (text.size() > most) {
        // Before a whole character.
        while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
        text.resize(most);
    }
    if (!MVString::isValidUtf8(text))
        std::replace_if(
            text.begin(), text.end(), [](unsigned char byte) { return byte >= 0x80; }, '?');
    std::erase_if(text, [](unsigned char c) { return (c < ' ' && c != '\n' && c != '\t') || c == 0x7f; });
    return text;
}

void answer(Response& response, std::string text, const char* type = plainText) {
    response.set_content(std::move(text), type);
}

void answerWithPage(Response& response, int status, std::string_view heading, std::string_view text) {
    response.status = status;
    answer(response, catalogue_texts::page(heading, text), html);
}

/// The answer that the application takes for a missing file.
void answerMissing(Response& response, const char* text = catalogue_texts::missingFile) {
    response.status = notFound;
    answer(response, text, html);
}

void answerWithFile(Response& response, const std::optional<std::string>& path,
                    const char* missing = catalogue_texts::missingFile) {
    if (path) http_answers::file(*path, response, contentTypeOf(*path));
    if (!path || response.status == notFound) answerMissing(response, missing);
}

}  // namespace

struct CatalogueServer::State {
    State(Options given, std::unique_ptr<CatalogueStore> opened, Signer secret)
        : options(std::move(given)),
          store(std::move(opened)),
          signer(std::move(secret)),
          listener(options.threads) {}

    /// The text of a list, while it is of today and nothing is published.
    struct ListText {
        std::int64_t publications, day;
        std::shared_ptr<const std::string> text;
    };

    const Options options;
    const std::unique_ptr<CatalogueStore> store;
    const Signer signer;
    Address address;
    Mutex listsMutex;
    std::map<std::pair<bool, std::string>, ListText> lists MV_GUARDED_BY(listsMutex);
    /// Last: its threads end before what they use.
    HttpListener listener;

    void route();
    void answerGet(const Request& request, Response& response);
    void answerPost(const Request& request, Response& response, const httplib::ContentReader& reader);
    /// Does the work; a failure of the database is told as a server that is busy.
    void guarded(Response& response, const std::function<void()>& work) const;

    void listPorts(const Request& request, Response& response);
    void portDescription(const Request& request, Response& response) const;
    void portRating(const Request& request, Response& response) const;
    void rankingPorts(const Request& request, Response& response) const;
    void download(const Request& request, Response& response) const;
    void instructions(const Request& request, Response& response) const;
    void showVote(const Request& request, Response& response) const;
    void castVote(const Request& request, const httplib::Params& form, Response& response) const;
    void takeMail(const Request& request, const httplib::Params& form, Response& response) const;
    void frontPage(const Request& request, Response& response) const;
    void news(const Request& request, Response& response) const;
    void forum(const Request& request, Response& response) const;

    [[nodiscard]] std::shared_ptr<const std::string> listText(bool developer, const std::string& country);
    [[nodiscard]] std::optional<std::string> voterOf(const Request& request) const;
    [[nodiscard]] std::string senderOf(const Request& request) const;
    bool answerWithOwnPage(const char* name, Response& response) const;
    void answerWithAnyFile(const std::string& path, Response& response) const;
    [[nodiscard]] std::optional<std::string> portFile(std::string_view place) const;
};

void CatalogueServer::State::route() {
    // Addresses are compared as texts: the library's own routes are regular expressions, tried one by one.
    listener.server.set_pre_routing_handler([this](const Request& request, Response& response) {
        using Handled = httplib::Server::HandlerResponse;
        if (request.method == "POST") return Handled::Unhandled;
        if (request.method == "GET" || request.method == "HEAD") {
            guarded(response, [&] { answerGet(request, response); });
        } else {
            response.status = notAllowed;
        }
        return Handled::Handled;
    });
    listener.server.Post(
        ".*", [this](const Request& request, Response& response, const httplib::ContentReader& reader) {
            guarded(response, [&] { answerPost(request, response, reader); });
        });
    listener.server.limitBody(mostBodyBytes);
    listener.server.set_default_headers({{"X-Content-Type-Options", "nosniff"}});
}

void CatalogueServer::State::guarded(Response& response, const std::function<void()>& work) const {
    try {
        work();
    } catch (const DatabaseError& error) {
        if (options.complain) options.complain(error.what());
        response.set_header("Retry-After", "5");
        answerWithPage(response, unavailable, "Busy", "The catalogue is busy. Please, try again later.");
    }
}

void CatalogueServer::State::answerGet(const Request& request, Response& response) {
    using Answer = void (State::*)(const Request&, Response&) const;
    static constexpr std::array<std::pair<std::string_view, Answer>, 12> addresses = {{
        {"/", &State::frontPage},
        {"/blog", &State::news},
        {"/blog/", &State::news},
        {"/ckis/download.php", &State::download},
        {"/ckis/instructions.php", &State::instructions},
        {"/ckis/portDescription.php", &State::portDescription},
        {"/ckis/portRating.php", &State::portRating},
        {"/ckis/rankingPorts.php", &State::rankingPorts},
        {votePath, &State::showVote},
        {"/smf", &State::forum},
        {"/smf/", &State::forum},
        {"/smf/index.php", &State::forum},
    }};
    if (request.path == "/ckis/listPorts.php") return listPorts(request, response);
    const auto* found = std::find_if(addresses.begin(), addresses.end(),
                                     [&](const auto& known) { return known.first == request.path; });
    if (found != addresses.end()) return (this->*found->second)(request, response);
    answerWithAnyFile(request.path, response);
}

/// Verb files and the ports' own; whatever is no such file may lie below "files".
void CatalogueServer::State::answerWithAnyFile(const std::string& path, Response& response) const {
    constexpr std::string_view verbs = "/ckis/winetricks/", ports = "/ckis/", others = "/files/";
    const char* missing = catalogue_texts::missingFile;
    std::optional<std::string> file;
    if (path.starts_with(verbs)) {
        file = fileBelow(options.content + "/winetricks", path.substr(verbs.size()));
        missing = catalogue_texts::missingVerb;
    } else if (path.starts_with(ports)) {
        file = portFile(std::string_view(path).substr(ports.size()));
    }
    if (!file)
        file = fileBelow(options.content + "/files",
                         path.starts_with(others) ? path.substr(others.size()) : path);
    answerWithFile(response, file, missing);
}

void CatalogueServer::State::answerPost(const Request& request, Response& response,
                                        const httplib::ContentReader& reader) {
    std::string body;
    // Read in any case: what stays in the connection would be taken for the next request.
    const bool read = reader([&](const char* bytes, std::size_t count) {
        body.append(bytes, count);
        return body.size() <= mostBodyBytes;
    });
    if (!read) {
        if (response.status < badRequest) response.status = badRequest;
        return;
    }
    httplib::Params form;
    httplib::detail::parse_query_text(body, form);
    if (request.path == votePath) return castVote(request, form, response);
    if (request.path == "/en/send_form_email.php") return takeMail(request, form, response);
    answerMissing(response);
}

void CatalogueServer::State::listPorts(const Request& request, Response& response) {
    const bool developer = valueOf(request.params, "developer") == "1";
    const std::string country = valueOf(request.params, "country");
    if (request.has_param("search")) {
        const auto wanted = country.empty() ? std::nullopt : std::optional(countryOf(country));
        return answer(response, catalogue_texts::list(
                                    store->search(valueOf(request.params, "search"), wanted, developer)));
    }
    const auto text = listText(developer, countryOf(country));
    if (text->empty()) return answer(response, "");
    response.set_content_provider(text->size(), plainText,
                                  [text](std::size_t place, std::size_t left, httplib::DataSink& sink) {
                                      return sink.write(text->data() + place, left);
                                  });
}

std::shared_ptr<const std::string> CatalogueServer::State::listText(bool developer,
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
            return found->second.text;
    }
    auto text =
        std::make_shared<const std::string>(catalogue_texts::list(store->list(developer, key.second)));
    const MutexLock lock(listsMutex);
    if (lists.size() >= mostLists) lists.clear();
    lists[key] = {publications, day, text};
    return text;
}

void CatalogueServer::State::portDescription(const Request& request, Response& response) const {
    const std::int64_t id = numberOf(valueOf(request.params, "id")).value_or(0);
    if (valueOf(request.params, "brief") == "true") {
        const auto entry = store->entry(id);
        return answer(response, entry ? catalogue_texts::list({*entry}) : "");
    }
    const auto details = store->details(id);
    answer(response, details ? catalogue_texts::description(*details, store->ratings(id)) : "");
}

void CatalogueServer::State::portRating(const Request& request, Response& response) const {
    const std::int64_t id = numberOf(valueOf(request.params, "game")).value_or(0);
    answer(response, store->entry(id) ? catalogue_texts::ratings(store->ratings(id)) : "");
}

void CatalogueServer::State::rankingPorts(const Request& request, Response& response) const {
    static constexpr std::array<std::pair<std::string_view, RankingKind>, 3> kinds = {
        {{"latest", RankingKind::latest},
         {"popular", RankingKind::popular},
         {"highrated", RankingKind::highrated}}};
    const std::string type = valueOf(request.params, "type");
    const auto* kind =
        std::find_if(kinds.begin(), kinds.end(), [&](const auto& known) { return known.first == type; });
    if (kind == kinds.end()) return answer(response, "");
    const std::int64_t rows = numberOf(valueOf(request.params, "num")).value_or(rankingRows);
    const int count = static_cast<int>(std::clamp<std::int64_t>(rows, 0, mostRankingRows));
    answer(response, catalogue_texts::ranking(store->ranking(
                         kind->second, count, cardFamilyNamed(valueOf(request.params, "card")))));
}

void CatalogueServer::State::download(const Request& request, Response& response) const {
    const std::int64_t id = numberOf(valueOf(request.params, "id")).value_or(0);
    answerWithFile(response, store->ckiPath(id, valueOf(request.params, "type")));
    // A look at the head, or the rest of a broken transfer, is no download of its own.
    const bool whole = request.method == "GET" && request.ranges.empty();
    if (!whole || response.status == notFound) return;
    try {
        store->countDownload(id);
    } catch (const DatabaseError& error) {
        // The player gets his file all the same.
        if (options.complain) options.complain(error.what());
    }
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

void CatalogueServer::State::instructions(const Request& request, Response& response) const {
    const std::string path = options.content + "/instructions";
    const std::string source = MVString::lowercased(valueOf(request.params, "source"));
    if (files::size(path).value_or(mostInstructionBytes) >= mostInstructionBytes) return answer(response, "");
    const auto read = files::read(path);
    if (failureOf(read) == nullptr) {
        for (const std::string& line : MVString::split(std::get<std::string>(read), "\n")) {
            const std::size_t equals = line.find('=');
            if (equals != std::string::npos &&
                MVString::lowercased(MVString::trimmed(line.substr(0, equals))) == source)
                return answer(response, MVString::trimmed(line.substr(equals + 1)));
        }
    }
    answer(response, "");
}

/// The signed ID in the cookie; nothing without one that fits.
std::optional<std::string> CatalogueServer::State::voterOf(const Request& request) const {
    const std::string cookie = cookieOf(request, voterCookie);
    const std::size_t dot = cookie.find('.');
    if (dot == std::string::npos) return std::nullopt;
    const std::string voter = cookie.substr(0, dot);
    return signer.fits(cookie.substr(dot + 1), "voter", voter) ? std::optional(voter) : std::nullopt;
}

void CatalogueServer::State::showVote(const Request& request, Response& response) const {
    const auto game = store->entry(numberOf(valueOf(request.params, "game")).value_or(0));
    if (!game)
        return answerWithPage(response, notFound, "No such game",
                              "The catalogue has no game of that number.");
    auto voter = voterOf(request);
    if (!voter) voter = randomHex(voterBytes);
    const std::int64_t stars = numberOf(valueOf(request.params, "rate")).value_or(defaultStars);
    catalogue_texts::VoteForm form;
    form.game = *game;
    form.card = valueOf(request.params, "card");
    form.stars = stars >= 1 && stars <= mostStars ? static_cast<int>(stars) : defaultStars;
    form.token = signer.sign("vote form", *voter);
    answer(response, catalogue_texts::voteForm(form), html);
    // Made anew each time, so that it lasts for a year from the last vote. A page of another site cannot send
    // it along with a form of its own.
    response.set_header("Set-Cookie", filled("%@=%@.%@; Path=%@; Max-Age=%@; HttpOnly; SameSite=Lax",
                                             {voterCookie, *voter, signer.sign("voter", *voter), votePath,
                                              std::to_string(cookieSeconds)}));
    response.set_header("Cache-Control", "no-store");
    response.set_header(
        "Content-Security-Policy",
        "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; frame-ancestors 'none'");
}

void CatalogueServer::State::castVote(const Request& request, const httplib::Params& form,
                                      Response& response) const {
    const auto voter = voterOf(request);
    if (!voter || !signer.fits(valueOf(form, "token"), "vote form", *voter))
        return answerWithPage(
            response, forbidden, "Not counted",
            "The vote needs a cookie of this page. Please, allow it, and open the page again.");
    const auto family = cardFamilyNamed(valueOf(form, "card"));
    const std::int64_t stars = numberOf(valueOf(form, "rate")).value_or(0);
    if (!family || stars < 1 || stars > mostStars)
        return answerWithPage(response, badRequest, "Not counted",
                              "Please, go back and choose a graphics card and one to five stars.");
    const std::int64_t game = numberOf(valueOf(form, "game")).value_or(0);
    if (!store->vote(*voter, game, *family, static_cast<int>(stars)))
        return answerWithPage(response, notFound, "No such game",
                              "The catalogue has no game of that number.");
    answerWithPage(response, 200, "Thank you",
                   filled("Your vote counts: %@ of 5 for %@.",
                          {std::to_string(stars), cardFamilyNames.at(static_cast<std::size_t>(*family))}));
}

std::string CatalogueServer::State::senderOf(const Request& request) const {
    if (!options.behindProxy) return request.remote_addr;
    const std::string addresses = request.get_header_value("X-Forwarded-For");
    return cleaned(MVString::trimmed(MVString::split(addresses, ",").back()), mostLineBytes);
}

/// Refusals have the status of a success too: the application shows only such an answer's text.
void CatalogueServer::State::takeMail(const Request& request, const httplib::Params& form,
                                      Response& response) const {
    const Mail mail{senderOf(request), cleaned(valueOf(form, "name"), mostLineBytes),
                    cleaned(valueOf(form, "email"), mostLineBytes),
                    cleaned(valueOf(form, "subject"), mostLineBytes),
                    cleaned(valueOf(form, "comment"), mostBodyBytes)};
    if (MVString::trimmed(mail.comment).empty())
        return answer(response, "<p>The message is empty.</p>", html);
    if (store->addMail(mail) == CatalogueStore::MailResult::tooMany)
        return answer(response, "<p>Too many messages were sent. Please, try again in an hour.</p>", html);
    answer(response, "<!-- Success --><p>Thank you. Your message was sent.</p>", html);
}

bool CatalogueServer::State::answerWithOwnPage(const char* name, Response& response) const {
    const auto path = fileBelow(options.content + "/pages", name);
    if (path) http_answers::file(*path, response, html);
    return path && response.status != notFound;
}

void CatalogueServer::State::frontPage(const Request&, Response& response) const {
    if (answerWithOwnPage("front.html", response)) return;
    answer(response,
           catalogue_texts::frontPage(store->ranking(RankingKind::latest, frontPageRows, std::nullopt)),
           html);
}

void CatalogueServer::State::news(const Request&, Response& response) const {
    if (!answerWithOwnPage("news.html", response))
        answerWithPage(response, 200, "News", "There is no news yet.");
}

void CatalogueServer::State::forum(const Request&, Response& response) const {
    if (!answerWithOwnPage("forum.html", response))
        answerWithPage(response, 200, "Forum", "This catalogue has no forum yet.");
}

Result<std::unique_ptr<CatalogueServer>> CatalogueServer::start(const Options& options) {
    auto address = parsedAddress(options.listen);
    if (!address) return Failure{localized("%@ is no address like 127.0.0.1:8080.", {options.listen})};
    auto store = CatalogueStore::open(options.content, options.patience);
    if (const Failure* failure = failureOf(store)) return *failure;
    auto signer = Signer::withSecretAt(options.content + "/secret");
    if (const Failure* failure = failureOf(signer)) return *failure;
    auto state =
        std::make_unique<State>(options, std::get<0>(std::move(store)), std::get<0>(std::move(signer)));
    state->address = *std::move(address);
    state->route();
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
