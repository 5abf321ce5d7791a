#include <gtest/gtest.h>

#include "platform/http.h"

namespace morvane {
namespace {

// Without questions to any name server: the tests run on machines without one.
TEST(Reachability, Hosts) {
    const struct {
        const char* host;
        bool reachable;
    } rows[] = {
        {"localhost", true},
        {"127.0.0.1", true},
        {"127.9.8.7", true},
        {"ip6-localhost.invalid", false},  // that domain exists nowhere
        {"", false},
        {"--help", false},
        {"-s", false},
        {"two words", false},
        {"a/b", false},
        {"999.1.1.1", false},
        {"255.255.255.255.255", false},
    };
    for (const auto& row : rows) EXPECT_EQ(isHostReachable(row.host), row.reachable) << row.host;
}

// Through the resolver and its child, with the name that every machine's hosts file gives itself.
TEST(Reachability, ResolvesNames) {
    EXPECT_TRUE(isHostReachable("LocalHost"));
}

}  // namespace
}  // namespace morvane
