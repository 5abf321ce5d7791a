// tests/server/catalogue_machine.h: a catalogue of a few ports in a temporary folder, and browsers that visit
// it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "foundation/text.h"
#include "platform/http.h"
#include "platform/pictures.h"
#include "ports/typed_stream.h"
#include "raw_client.h"
#include "server/catalogue_publish.h"
#include "server/catalogue_server.h"
#include "server/database.h"
#include "support/test_machine.h"

namespace morvane::testing {

class CatalogueMachine : public TestMachine {
  protected:
    CatalogueMachine() {
        put(files + "/icon.png", pictures::encodePng({2, 2, std::vector<std::uint8_t>(16, 200)}));
        put(files + "/about.html", "<p>Good<br>fun.</p>\n");
    }

    /// A recipe file of the source; a list key of its own makes it differ from others.
    std::string cki(const std::string& source, const std::string& company = "") {
        Dictionary recipe{{"CKI Version", "1.6.1"}, {"Company", company}};
        if (!source.empty()) recipe.set("Source", source);
        const std::string path = files + "/" + MVString::replacedAll(source, "/", "-") + company + ".cki";
        put(path, *typed_stream::archive(Value(recipe)));
        return path;
    }

    PortToPublish port(const std::string& name, const std::string& source = "CD") {
        return {.cki = cki(source),
                .name = name,
                .creator = "Bob",
                .description = files + "/about.html",
                .icon = files + "/icon.png"};
    }

    /// Through a store of its own, as another process would.
    Result<std::int64_t> publish(const PortToPublish& port) const {
        return publishPort(**CatalogueStore::open(content), port);
    }

    static std::int64_t idOf(const Result<std::int64_t>& published) {
        EXPECT_TRUE(published) << published.error().message();
        return published.value_or(0);
    }

    const std::string content = folder.path + "/content", files = folder.path + "/files";
};

/// A browser: keeps the cookie of the vote page, and can fill in its form.
class Browser {
  public:
    explicit Browser(const std::string& base) : port_(portOf(base)) {}

    /// Opens the vote page; false when there is none.
    bool open(std::int64_t game, const std::string& card = "NVIDIA") {
        const RawAnswer page = request(port_, "GET",
                                       std::string(path) + "?card=" + MVString::stringToWebStructure(card) +
                                           "&game=" + std::to_string(game),
                                       proxied + (cookie.empty() ? "" : "Cookie: " + cookie + "\r\n"));
        if (page.status != 200) return false;
        cookie = page.header("Set-Cookie");
        cookie.resize(cookie.find(';'));
        const std::string mark = "name=\"token\" value=\"";
        const std::size_t begin = page.body.find(mark) + mark.size();
        token = page.body.substr(begin, page.body.find('"', begin) - begin);
        return true;
    }

    /// The status of the answer; 0 without one.
    [[nodiscard]] int vote(std::int64_t game, const std::string& card, const std::string& stars) const {
        const auto field = [](const char* name, const std::string& value) {
            return std::string(name) + "=" + MVString::stringToWebStructure(value) + "&";
        };
        return request(port_, "POST", path, proxied + "Cookie: " + cookie + "\r\n",
                       field("game", std::to_string(game)) + field("card", card) + field("rate", stars) +
                           field("token", token))
            .status;
    }

    std::string cookie, token;
    std::string proxied;  ///< headers of a server in between

  private:
    static constexpr const char* path = "/ckis/facebook/ratePort.php";
    int port_;
};

}  // namespace morvane::testing
