#include "engines/caskery_engine.h"

#include <filesystem>
#include <thread>

#include "foundation/text.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"

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

TEST(EngineNames, KnowTheirGenerationAndRuntime) {
    struct Kind {
        int generation;
        bool runtime;
        std::vector<const char*> names;
    };
    const Kind kinds[] = {{8,
                           false,
                           {"CK8Wine1.5.1", "CK8Wine1.5", "CK8Wine1.3.9", "CK8Wine1.4", "CK8Wine1.4rc1",
                            "CK8WineCX11.1.0", "CK8WineCX7.0", "CK9WineCXG14.0", "Wine1.2.3", "1.2.3"}},
                          {9,
                           false,
                           {"CK9Wine1.7.39", "CK9Wine1.7", "CK8Wine1.5.15", "CK8Wine1.4NK", "CK8Wine1.4.1",
                            "CK9WineCX11.2.0", "", "CK"}},
                          {9,
                           true,
                           {"CK9Wine1.7.40", "CK9Wine1.7.40-x", "CK9Wine1.8-rc1", "CK9Wine1.7-9.50",
                            "CK9Wine2.0", "CK8Wine1.44N", "CK9WineCX14.1.2", "CK9WineCX14", "CK9Wine3"}}};
    for (const Kind& kind : kinds) {
        for (const char* name : kind.names) {
            EXPECT_EQ(NSCaskeryEngine(name).getCaskeryMostRecentGenerationOfEngine(), kind.generation)
                << name;
            EXPECT_EQ(NSCaskeryEngine::isEngineVcrun2012Compatible(name), kind.runtime) << name;
        }
    }
}

TEST(EngineNames, AreBroughtUpToDate) {
    const struct {
        const char *name, *portType, *updated;
    } rows[] = {
        {"CK8Wine1.7.50", "Caskery", "CK9Wine1.7.50"},
        {"CK7Wine1.2.2ICE", "Caskery", "CK8Wine1.2.2ICE"},
        {"Custom", "Caskery", "Custom"},
        {"CK8WineCX11.0.1", "", "CK8WineCX11.0.1"},
        {"CX13.0Games", "CXEx Games Old", "CK9WineCX13.0"},
        {"CXG13.0", "CXEx  Old", "CK8WineCXG13.0"},
        {"CX10.0CXEx-", "CXEx- Old", "CK8WineCX10.0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NSCaskeryEngine(row.name).updateToMostRecentVersionForPortType(row.portType).engine,
                  row.updated)
            << row.name;
    }
}

class EngineCatalogue : public testing::TestMachine {
  protected:
    EngineCatalogue() { machine->sites.caskery = site.baseAddress(); }
    Names onWorkerThread(Names (*ask)()) {
        Names names;
        onWorker([&] { names = ask(); });
        return names;
    }
    Names online() { return onWorkerThread(&NSCaskeryEngine::getListOfAvailableEnginesOnline); }
    Names all() { return onWorkerThread(&NSCaskeryEngine::getListOfAvailableEngines); }
    void archive(const std::string& name) const { put(layout::enginesFolder() + "/" + name, "7z"); }

    testing::LoopbackSite site;
    const std::string list = "/Engines/EngineList.txt";
};

TEST_F(EngineCatalogue, IsDownloadedOnceInTheOrderOfTheFile) {
    site.answer(list, {.body = "CK8Wine1.7\nCK9Wine2.0\n\n\n"});
    EXPECT_EQ(online(), (Names{"CK8Wine1.7", "CK9Wine2.0"}));
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([] { EXPECT_EQ(NSCaskeryEngine::getListOfAvailableEngines().size(), 2U); });
    callers.clear();
    ASSERT_EQ(site.requests().size(), 1U);
    EXPECT_EQ(site.requests()[0].rfind("GET /Engines/EngineList.txt?", 0), 0U);
}

TEST_F(EngineCatalogue, IsAskedForAgainAfterAFailure) {
    site.answerInTurn(list, {{.body = "", .drop = true},
                             {.status = 404, .body = "<html>404</html>\n"},
                             {.body = "\r\n <!DOCTYPE html>\nCK9Wine1.0"},
                             {.body = ""},
                             {.body = "CK9\xFFWine"},
                             {.body = "CK9Wine2.0"}});
    archive("CK9Wine3.0.tar.7z");
    for (int failure = 0; failure < 5; ++failure) {
        EXPECT_EQ(all(), Names{"CK9Wine3.0"}) << "local names are no catalogue, time " << failure;
    }
    EXPECT_EQ(all(), (Names{"CK9Wine3.0", "CK9Wine2.0"}));
}

TEST_F(EngineCatalogue, HoldsLocalEnginesOnce) {
    site.answer(list, {.body = "CK9Wine2.0\nCK9WineCX15.0"});
    EXPECT_EQ(all(), (Names{"CK9Wine2.0", "CK9WineCX15.0"})) << "no engine folder, no dialog";
    for (const char* name : {"CK9Wine2.0.tar.7z", "CK9Wine3.0.tar.7z", "CK8WineOwn.tar.gz", "CK9Wine.tar.7z",
                             "CK.7z", "Other.tar.7z", ".hidden", "CK9Wone3.0.tar.7z"}) {
        archive(name);
    }
    const Names expected{"CK9Wine3.0", "CK9Wine2.0", "CK9WineCX15.0", "CK8WineOwn"};
    EXPECT_EQ(all(), expected);
    EXPECT_EQ(all(), expected);
    EXPECT_EQ(online().size(), 4U) << "local names join the list";
}

TEST_F(EngineCatalogue, FindsLocalArchivesByExtension) {
    const std::string folderPath = layout::enginesFolder();
    EXPECT_EQ(NSCaskeryEngine::localPathForEngine("CK9Wine1.0"), std::nullopt);
    archive("CK9Wine1.0.tar.7z");
    EXPECT_EQ(NSCaskeryEngine::localPathForEngine("CK9Wine1.0"), folderPath + "/CK9Wine1.0.tar.7z");
    archive("CK9Wine1.0.zip");
    archive("CK9Wine1.0.tar.gz");
    EXPECT_EQ(NSCaskeryEngine::localPathForEngine("CK9Wine1.0"), folderPath + "/CK9Wine1.0.zip");

    put(home + "/elsewhere.7z", "7z");
    std::filesystem::create_symlink(home + "/elsewhere.7z", folderPath + "/CK9Wine4.0.7z");
    EXPECT_EQ(NSCaskeryEngine::localPathForEngine("CK9Wine4.0"), folderPath + "/CK9Wine4.0.7z");

    put(layout::supportFolder() + "/secret.zip", "");
    for (const char* name : {"../secret", "", "..", "a/../../secret", "CK9Wine1.0\n"}) {
        EXPECT_EQ(NSCaskeryEngine::localPathForEngine(name), std::nullopt) << name;
    }
}

}  // namespace
}  // namespace morvane
