#include "engines/caskery_engine.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace morvane {
namespace {

using Names = std::vector<std::string>;

TEST(EngineOrder, PutsNewerEnginesFirst) {
    // Each name stands before all that follow it.
    const char* order =
        "CK9Wine10.0 CK8Wine2.0.1 CK9Wine2.0 CK9Wine1.9rc1 CK9Wine1.9 CK8Wine1.7.50 CK9Wine1.7.5 "
        "CK9WineCX15.0.1 CK9WineCX15.0 CK9WineCX9.0 CK9WineCXG17.0.1 CK9WineCXG9.0 CK9Wine0.9 "
        "CK9WineStaging CK9WineStaging2 CK9Other1.0 CK9Wone1.0 CK CK9Wine Alpha Wine";
    const Names sorted = MVString::split(order, " ");
    for (std::size_t first = 0; first < sorted.size(); ++first) {
        EXPECT_EQ(NSCaskeryEngine::engineOrder(sorted[first], sorted[first]), 0) << sorted[first];
        for (std::size_t second = first + 1; second < sorted.size(); ++second) {
            const std::string pair = sorted[first] + " " + sorted[second];
            EXPECT_EQ(NSCaskeryEngine::engineOrder(sorted[first], sorted[second]), -1) << pair;
            EXPECT_EQ(NSCaskeryEngine::engineOrder(sorted[second], sorted[first]), 1) << pair;
        }
    }
    EXPECT_EQ(NSCaskeryEngine::engineOrder("CK9Wine1.7.5", "CK8Wine1.7.5"), 0);
}

}  // namespace
}  // namespace morvane
