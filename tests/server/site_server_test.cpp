#include "server/site_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/files.h"
#include "platform/http.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TestMachine;

class Site : public TestMachine {
  protected:
    Site() {
        put(folder.path + "/site/Wrapper/NewestVersion.txt", "Caskery-1.0");
        put(folder.path + "/site/Wrapper/.hidden", "secret");
        put(folder.path + "/site/Wrapper/sub/file", "secret");
        put(folder.path + "/site/secret", "secret");
        big = std::string(3'000'000, 'x') + "end";
        put(folder.path + "/site/Wrapper/Caskery-1.0.app.tar.7z", big);
        EXPECT_TRUE(files::createSymbolicLink(folder.path + "/site/Wrapper/link", "../secret"));
        content.siteFolder = folder.path + "/site";
        content.engineNames = [] { return std::vector<std::string>{"CK9Wine8.0", "CK9WineBroken"}; };
        content.engineArchive = [this](const std::string& name) -> Result<std::string> {
            ++packed;
            if (name != "CK9Wine8.0") return Failure{"cannot"};
            put(folder.path + "/engine.7z", "the engine");
            return folder.path + "/engine.7z";
        };
    }
    static HttpResponse get(const SiteServer& server, const std::string& path) {
        return http::fetch({server.baseAddress() + path});
    }
    SiteServer::Content content;
    std::string big;
    std::atomic<int> packed = 0;
};

TEST_F(Site, ServesTheFilesAndEnginesOfTheSite) {
    const SiteServer server(content);
    EXPECT_EQ(get(server, "Wrapper/NewestVersion.txt?123").body, "Caskery-1.0");
    EXPECT_EQ(get(server, "Wrapper/Caskery-1.0.app.tar.7z?5").body, big);
    EXPECT_EQ(get(server, "Engines/EngineList.txt?77").body, "CK9Wine8.0\nCK9WineBroken\n");
    EXPECT_EQ(packed, 0);
    EXPECT_EQ(get(server, "Engines/CK9Wine8.0.tar.7z?77").body, "the engine");
    EXPECT_EQ(packed, 1);
}

TEST_F(Site, NothingElseIsFound) {
    const SiteServer server(content);
    for (const char* path :
         {"", "Wrapper/", "Wrapper/none", "Wrapper/.hidden", "Wrapper/sub", "Wrapper/sub/file",
          "Wrapper/link", "Wrapper/..%2Fsecret", "Wrapper/%2e%2e%2fsecret", "Wrapper/..",
          "Wrapper/NewestVersion.txt%00.png", "secret", "Engines/CK9Wine9.tar.7z",
          "Engines/CK9WineBroken.tar.7z", "Engines/CK9Wine8.0", "Engines/.tar.7z",
          "Engines/..%2FCK9Wine8.0.tar.7z", "Engines/"}) {
        const HttpResponse response = get(server, path);
        EXPECT_EQ(response.status, 404) << path;
        EXPECT_EQ(response.body.find("secret"), std::string::npos) << path;
    }
    EXPECT_EQ(packed, 1);  // the listed one that fails
}

TEST_F(Site, StopsInTheMiddleOfATransferAndWithoutAnyRequest) {
    { const SiteServer unused(content); }
    auto server = std::make_unique<SiteServer>(content);
    std::atomic<bool> over = false;
    bool stopped = false;
    http::TransferHandlers handlers;
    handlers.data = [&](std::uint64_t) {
        if (!std::exchange(stopped, true)) server.reset();
    };
    handlers.failed = [&](const std::string&) { over = true; };
    handlers.ended = [&] { over = true; };
    const http::Transfer transfer(
        machine->mainQueue, {server->baseAddress() + "Wrapper/Caskery-1.0.app.tar.7z"}, std::move(handlers));
    machine->mainQueue.runUntil([&] { return over.load(); });
    EXPECT_TRUE(stopped);
}

}  // namespace
}  // namespace morvane
