// tests/end_to_end/pipeline.h: what the tests of the whole way share: a home of its own, the samples, the
// command.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "end_to_end/command.h"
#include "platform/property_list.h"

namespace morvane::testing {

namespace fs = std::filesystem;

inline const std::string samples = MORVANE_BUILD_FOLDER "/samples/";

/// The whole way with the real 7-Zip, tar, Wine and installer, in a home of its own.
class Pipeline : public ::testing::Test {
  protected:
    Pipeline() {
        for (const char* name : {"/home/Downloads", "/home/Desktop", "/home/Applications", "/home/Volumes"}) {
            fs::create_directories(folder.path + name);
        }
        // The network stays out of the tests: nothing listens there, and the last good script is at hand.
        morvane.environment = {"MORVANE_HOME=" + home,
                               "STAR_CATCHER_SILENT=1",
                               "NO_COLOR=1",
                               "MORVANE_CASKERY_SITE=",
                               "DISPLAY=",
                               "MORVANE_VERBS_SITE=http://127.0.0.1:9/"};
        TestMachine::put(home + "/Library/Application Support/Caskery/winetricks/winetricks",
                         TestMachine::get(MORVANE_SOURCE_FOLDER "/samples/verbs/winetricks"));
    }

    ~Pipeline() override {
        for (const auto& entry : fs::directory_iterator(home + "/Applications")) {
            if (!entry.is_symlink()) morvane.run({"stop", entry.path().string()});
        }
        EXPECT_EQ(processesBelow(folder.path), std::vector<std::string>());
    }

    [[nodiscard]] std::vector<std::string> installing(const std::string& cki,
                                                      const std::string& wrapper) const {
        return {"install",  cki,
                "--to",     wrapper,
                "--answer", "License Agreement=I Agree",
                "--answer", "Warning=Install it anyway",
                "--answer", "Warning=Yes"};
    }

    static std::string registry(const std::string& wrapper, const char* name) {
        return TestMachine::get(wrapper + "/Contents/Resources/" + name + ".reg");
    }

    static Dictionary settings(const std::string& path) {
        const auto list = property_lists::read(path);
        const auto* dictionary = list ? list->as<Dictionary>() : nullptr;
        return dictionary != nullptr ? *dictionary : Dictionary();
    }

    TemporaryFolder folder;
    const std::string home = folder.path + "/home";
    const std::string app = home + "/Applications/Star Catcher.app";
    const std::string game = "/Contents/Resources/drive_c/Program Files/Star Catcher/";
    Command morvane;
};

}  // namespace morvane::testing
