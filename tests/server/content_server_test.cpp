#include "server/content_server.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "platform/http.h"
#include "platform/process.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TestMachine;

class Content : public TestMachine {
  protected:
    Content() {
        put(root + "/file.txt", "whole");
        put(root + "/empty", "");
        put(root + "/sub/page.html", "<html>");
        put(root + "/archive/http:/127.0.0.1:80/a", "snapshot");
        put(root + "/.hidden", "secret");
        put(root + "/sub/.git/config", "secret");
        put(folder.path + "/secret", "secret");
        put(root + "-beside", "secret");
        for (const auto& [link, destination] : {std::pair{"/out", "../secret"},
                                                {"/up", ".."},
                                                {"/tohidden", ".hidden"},
                                                {"/in", "sub/page.html"}})
            EXPECT_FALSE(files::createSymbolicLink(root + link, destination));
    }
    const std::string root = folder.path + "/content";
};

TEST_F(Content, FilesOfTheFolderAndNothingElse) {
    ContentServer server(root);
    ASSERT_FALSE(server.listenOn("127.0.0.1:0"));
    struct Row {
        const char* path;
        int status;
        const char* body;
    };
    for (const Row& row : {Row{"file.txt", 200, "whole"},
                           {"file.txt?v=1&w=../secret", 200, "whole"},
                           {"empty", 200, ""},
                           {"sub/page.html", 200, "<html>"},
                           {"sub//page%2Ehtml", 200, "<html>"},
                           {"in", 200, "<html>"},
                           {"archive/http://127.0.0.1:80/a", 200, "snapshot"},
                           {"", 404, ""},
                           {"sub", 404, ""},
                           {"sub/", 404, ""},
                           {"none", 404, ""},
                           {".hidden", 404, ""},
                           {"sub/.git/config", 404, ""},
                           {"tohidden", 404, ""},
                           {"out", 404, ""},
                           {"up/secret", 404, ""},
                           {"..%2Fsecret", 404, ""},
                           {"sub/%2e%2e/%2e%2e/secret", 404, ""},
                           {"file.txt%00.png", 404, ""}}) {
        const HttpResponse response = http::fetch({server.baseAddress() + row.path});
        EXPECT_EQ(response.status, row.status) << row.path;
        EXPECT_TRUE(row.status == 404 || response.body == row.body) << row.path << response.body;
    }
    ContentServer second(root);
    const std::string taken = server.baseAddress().substr(std::string("http://").size());
    EXPECT_TRUE(second.listenOn(taken.substr(0, taken.size() - 1)));
    for (const char* wrong : {"", "8080", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:70000", ":80"})
        EXPECT_TRUE(second.listenOn(wrong)) << wrong;
    EXPECT_TRUE(ContentServer(root + "/file.txt").listenOn("127.0.0.1:0"));
}

TEST_F(Content, HeadTellsTheLengthAndAPieceIsAPiece) {
    std::string big(3'000'000, 'x');
    big += "end";
    put(root + "/big", big);
    ContentServer server(root);
    ASSERT_FALSE(server.listenOn("127.0.0.1:0"));
    std::string port = server.baseAddress();
    port = port.substr(port.rfind(':') + 1);
    port.pop_back();
    ProcessRequest head;
    head.program = "/bin/bash";
    head.arguments = {"-c", "exec 3<>/dev/tcp/127.0.0.1/" + port +
                                "; printf 'HEAD /big HTTP/1.0\\r\\n\\r\\n' >&3; cat <&3"};
    EXPECT_NE(processes::run(head)->output.find("Content-Length: 3000003\r\n"), std::string::npos);
    EXPECT_EQ(http::fetch({server.baseAddress() + "big"}).body, big);
    EXPECT_EQ(http::fetch({server.baseAddress() + "big", std::nullopt, {"Range: bytes=2999999-"}}).body,
              "xend");
}

}  // namespace
}  // namespace morvane
