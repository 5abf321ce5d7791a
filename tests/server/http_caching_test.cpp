#include "server/http_caching.h"

#include "catalogue_machine.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

using testing::Browser;
using testing::CatalogueMachine;
using testing::portOf;
using testing::RawAnswer;
using testing::request;

HttpQuery get(std::map<std::string, std::string> headers) {
    return {.method = "GET", .headers = std::move(headers)};
}

TEST(HttpCaching, TagsComeBeforeDates) {
    const Validators state{"\"b\"", 784111777};
    const std::string same = "Sun, 06 Nov 1994 08:49:37 GMT", before = "Sun, 06 Nov 1994 08:49:36 GMT";
    struct Row {
        std::map<std::string, std::string> headers;
        bool kept;
    };
    for (const Row& row : {Row{{}, false},
                           {{{"if-none-match", "\"b\""}}, true},
                           {{{"if-none-match", "\"a\", W/\"b\""}}, true},
                           {{{"if-none-match", "*"}}, true},
                           {{{"if-none-match", "\"bb\""}}, false},
                           {{{"if-none-match", "b"}}, false},
                           {{{"if-none-match", "\"a\""}, {"if-modified-since", same}}, false},
                           {{{"if-modified-since", same}}, true},
                           {{{"if-modified-since", before}}, false},
                           {{{"if-modified-since", "yesterday"}}, false}})
        EXPECT_EQ(isKept(get(row.headers), state), row.kept)
            << (row.headers.empty() ? "" : row.headers.begin()->second);
    EXPECT_FALSE(isKept({.method = "POST", .headers = {{"if-none-match", "*"}}}, state));
    EXPECT_FALSE(isKept(get({{"if-modified-since", same}}), {"\"b\"", std::nullopt}));
    EXPECT_TRUE(mayBePart(get({{"if-range", "\"b\""}}), state));
    EXPECT_FALSE(mayBePart(get({{"if-range", "W/\"b\""}}), state));
    EXPECT_FALSE(mayBePart(get({{"if-range", same}}), state));
}

class CachedCatalogue : public CatalogueMachine {
  protected:
    RawAnswer ask(const std::string& path, const std::string& headers = "",
                  const char* method = "GET") const {
        return request(portOf(server->baseAddress()), method, path, headers);
    }
    void serve() { server = *CatalogueServer::start({.content = content}); }
    std::unique_ptr<CatalogueServer> server;
};

}  // namespace
}  // namespace morvane
