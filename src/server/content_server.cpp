#include "server/content_server.h"

#include <charconv>
#include <string_view>
#include <utility>

#include "foundation/localization.h"
#include "platform/files.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

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

/// Whether a level of the path begins with a dot: a hidden file, or a way up.
bool hasHiddenLevel(std::string_view path) {
    return path.starts_with('.') || path.find("/.") != std::string_view::npos;
}

}  // namespace

struct ContentServer::State {
    explicit State(std::string served) : folder(std::move(served)) {}

    std::string folder;
    Address address;
    HttpListener listener;

    /// The file that the request names, with every link resolved.
    [[nodiscard]] std::optional<std::string> fileOf(const std::string& path) const {
        if (hasHiddenLevel(path) || path.find('\0') != std::string::npos) return std::nullopt;
        const auto root = files::resolved(folder), file = files::resolved(folder + path);
        if (!root || !file) return std::nullopt;
        const std::string below = root->ends_with('/') ? *root : *root + "/";
        if (!file->starts_with(below) || hasHiddenLevel(std::string_view(*file).substr(below.size())))
            return std::nullopt;
        return files::kindOf(*file) == files::Kind::file ? file : std::nullopt;
    }

    void route() {
        listener.server.Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
            const auto path = fileOf(request.path);
            if (path) return http_answers::file(*path, response);
            response.status = 404;
        });
    }
};

ContentServer::ContentServer(std::string folder) : state_(std::make_unique<State>(std::move(folder))) {
    state_->route();
}

ContentServer::~ContentServer() = default;

std::optional<Failure> ContentServer::listenOn(const std::string& address) {
    if (files::kindBehind(state_->folder) != files::Kind::folder)
        return Failure{localized("There is no folder at %@.", {state_->folder})};
    auto parsed = parsedAddress(address);
    if (!parsed) return Failure{localized("%@ is no address like 127.0.0.1:8080.", {address})};
    state_->address = *std::move(parsed);
    if (!state_->listener.listenOn(state_->address.host, state_->address.port))
        return Failure{localized("Nothing can listen on %@.", {address})};
    return std::nullopt;
}

std::string ContentServer::baseAddress() const {
    const std::string& host = state_->address.host;
    const std::string name = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return "http://" + name + ":" + std::to_string(state_->listener.port()) + "/";
}

}  // namespace morvane
