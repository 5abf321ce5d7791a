#include <gmock/gmock.h>

#include "building/configured_wrapper.h"
#include "building/wrapper_menu.h"
#include "wrapper/menu_scripts.h"

namespace morvane {
namespace {

class WrapperMenu : public testing::ConfiguredWrapper {
  protected:
    const std::string scripts = wrapper + layout::menuScripts;

    Names save(const NSPortData& port) {
        onWorker([&] { EXPECT_TRUE(saveCaskeryWrapperMenuForPort(port, Wrapper(wrapper))); });
        auto names = listing(scripts);
        std::erase(names, "CaskeryQuitScript");
        return names;
    }
    [[nodiscard]] std::string command(const std::string& script) const {
        static const std::string header =
            "#!/bin/bash\ncd \"$(dirname \"$0\")/../../\"\nCONTENTSFOLD=\"$PWD\"\n"
            "export PATH=\"$CONTENTSFOLD/Frameworks/bin:$CONTENTSFOLD/Frameworks/ckwine.bundle/bin:$PATH\"\n"
            "export WINEPREFIX=\"$CONTENTSFOLD/Resources\"\n";
        const std::string text = get(scripts + "/" + script);
        EXPECT_TRUE(text.starts_with(header)) << script;
        EXPECT_TRUE(files::isExecutable(scripts + "/" + script)) << script;
        return text.substr(std::min(text.size(), header.size()));
    }
};

TEST_F(WrapperMenu, NoEntryHasAnAddressThatLeadsNowhereOrLeavesItsQuotes) {
    for (const char* site : {"http://127.0.0.1:43210/", "http://localhost:1/",
                             "http://a.example/\"; rm -rf ~; \"/", "http://a.example/$(id)/", "nonsense"}) {
        machine->sites = {.caskery = site, .catalogue = site};
        EXPECT_THAT(save({}), ::testing::Each(::testing::StartsWith("AppEntry"))) << site;
    }
}

TEST_F(WrapperMenu, HostileEntriesAreRefusedWithoutAGapInTheNumbers) {
    link(home, scripts + "/AppEntry9--link");
    NSPortData port;
    port.portMenu = {{"../../../evil", "App", "x"},        {"a/b", "Help", "x"},
                     {std::string("a\0b", 3), "App", "x"}, {"line\nbreak", "App", "x"},
                     {std::string(250, 'n'), "App", "x"},  {"Good", "App", "good"}};
    for (int refused = 0; refused < 5; ++refused) ui.expectError("\"");
    const auto before = listing(home);
    EXPECT_EQ(save(port).front(), "AppEntry1--Good");
    EXPECT_EQ(command("AppEntry1--Good"), "good");
    EXPECT_EQ(listing(home), before);
    EXPECT_EQ(listing(wrapper), (Names{"Caskery.app", "Contents"}));
    port.portMenu = {{"Château", "App", "echo Château"}};
    EXPECT_EQ(save(port).front(), "AppEntry1--Château");
    EXPECT_EQ(command("AppEntry1--Château"), "echo Château");
}

}  // namespace
}  // namespace morvane
