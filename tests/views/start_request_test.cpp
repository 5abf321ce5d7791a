// What a start asks for, and what of it survives the way to another process.

#include "views/start_request.h"

#include <gtest/gtest.h>

namespace morvane::views {
namespace {

using Kind = StartRequest::Kind;

TEST(StartRequests, CountPathsFromTheFolderOfTheirOwnStart) {
    struct Row {
        std::string argument;
        std::vector<std::string> items;
    };
    for (const Row& row : std::vector<Row>{
             {"a.cki", {"/home/u/games/a.cki"}},
             {"./a b.exe", {"/home/u/games/a b.exe"}},
             {"../x.app", {"/home/u/games/../x.app"}},
             {"/mnt/100%25.exe", {"/mnt/100%25.exe"}},
             {"file:///mnt/100%25%20a.exe", {"/mnt/100% a.exe"}},
             {"file://localhost/a.cki", {"/a.cki"}},
             {"file://elsewhere/a.cki", {}},
             {"file:///a%00b.cki", {}},
             {"mvid://1234", {"mvid://1234"}},
             {"morvane://Half%20Life/DE", {"morvane://Half%20Life/DE"}},
             {"no link://x", {"/home/u/games/no link://x"}},
             {"", {}},
         }) {
        const auto request = requestOfArguments({row.argument}, "/home/u/games");
        EXPECT_EQ(request.items, row.items) << row.argument;
        EXPECT_EQ(request.kind, Kind::open) << row.argument;
    }
    EXPECT_EQ(requestOfArguments({}, "/home").kind, Kind::activate);
}

TEST(StartRequests, AreRefusedWhenTheyAreTooMuchForOne) {
    EXPECT_TRUE(messageOf({.kind = Kind::open, .items = std::vector<std::string>(1000, "/a")}));
    EXPECT_FALSE(messageOf({.kind = Kind::open, .items = std::vector<std::string>(1001, "/a")}));
    EXPECT_FALSE(messageOf(
        {.kind = Kind::open, .items = std::vector<std::string>(900, "/" + std::string(2000, 'a'))}));
}

TEST(StartRequests, OfStrangersHaveNoEffect) {
    for (const std::string line : {"", "hello", "morvane-1", "morvane-1 open", "morvane-1 open x /a",
                                   "morvane-2 activate =", "morvane-1 activate = /a", "morvane-1 action =",
                                   "morvane-1 action = erase", "morvane-1 action = quit quit"}) {
        EXPECT_FALSE(requestOfMessage(line)) << line;
    }
    const auto request =
        requestOfMessage("morvane-1 open =%0A relative file:///ok %6avascript:x file:////x%00");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->items, std::vector<std::string>{"/ok"});
    EXPECT_EQ(request->activationToken, "");
    std::string many = "morvane-1 open =";
    for (int item = 0; item < 1001; ++item) many += " file:///a";
    EXPECT_FALSE(requestOfMessage(many));
}

}  // namespace
}  // namespace morvane::views
