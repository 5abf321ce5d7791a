#include "building/build_plan.h"

#include "building/building_machine.h"
#include "building/plan_text.h"
#include "platform/json.h"

namespace morvane {
namespace {

class Plan : public testing::BuildingMachine {
  protected:
    BuildPlan planOf(const Dictionary& keys, const std::string& place) {
        BuildPlan plan;
        const std::string file = cki(keys);
        create([&](WrapperCreation& creation) {
            plan = planOfBuild(creation, NSPortData::initWithCkiAtPath(file), place, Place::chosen);
        });
        return plan;
    }
    /// The stage of that title; fails without one.
    static PlannedStage stageOf(const BuildPlan& plan, const std::string& title) {
        for (const PlannedStage& stage : plan.stages) {
            if (stage.title == title) return stage;
        }
        ADD_FAILURE() << "no stage " << title << " in:\n" << shown(plan, option);
        return {};
    }
    /// "what link size" of each download.
    static Names downloadsOf(const PlannedStage& stage) {
        Names lines;
        for (const PlannedDownload& each : stage.downloads) {
            lines.push_back(each.what + " " + each.link + " " +
                            (each.size ? std::to_string(*each.size) : "?"));
        }
        return lines;
    }
    /// "TITLE=ANSWER" of what is asked on the way that the plan recommends.
    static Names asked(const std::vector<ForeseenQuestion>& questions) {
        Names lines;
        for (const ForeseenQuestion& question : questions) {
            if (!question.isAsked) continue;
            const auto title = [](const auto& shown) { return shown.title; };
            lines.push_back(std::visit(title, question.shown) + "=" + question.answer);
            for (const auto& branch : question.branches) {
                if (branch.button != question.answer) continue;
                for (std::string& line : asked(branch.questions)) lines.push_back(std::move(line));
            }
        }
        return lines;
    }
    static std::string option(const ForeseenQuestion&) { return "the option"; }
    const std::string base = site.baseAddress();
};

TEST_F(Plan, TellsWhatTheBuildTakesAndMakesNothing) {
    testing::publishMasterWrapper(site);
    testing::publishEngines(site, {"CK9Wine3.0"});
    machine->sites.verbs = base + "raw/";
    machine->sites.steam = base;
    scriptProgram("system_profiler", "");
    site.answer(
        "/raw/Winetricks/winetricks/master/src/winetricks",
        {.body = "#!/bin/sh\nw_metadata fonts dlls\nload_fonts()\n{\n    w_call more\n    w_download " +
                 base +
                 "fonts.zip abc\n}\nw_metadata more dlls\n{\n    w_download file:///etc/passwd x\n"
                 "    w_download " +
                 base + "kept.zip def\n}\n"});
    site.answer("/fonts.zip", {.body = std::string(1234, 'f')});
    site.answer("/client/installer/SteamSetup.exe", {.body = std::string(77, 's')});
    site.answer("/extra.zip", {.body = "extra", .withoutLength = true});
    put(home + "/.cache/winetricks/more/kept.zip", "zip");
    put(home + "/Downloads/setup-1.exe", "MZ");
    const Names before = namesIn(home), engineStore = namesIn(engines);

    const BuildPlan plan = planOf(
        {{"Engine", "CK9Wine3.0"},
         {"Is Steam", true},
         {"Is Origin", true},
         {"Original Installer Needed", true},
         {"Original Installer Name", "setup*.exe"},
         {"Winetricks", Array{"fonts", "d3dx9 | VC:NVIDIA", "Install App", "Change Engine: CK9Wine4.0"}},
         {"Before Extra Files", Array{Dictionary{{"origin", base + "extra.zip"}, {"destiny", "C:/Game"}},
                                      Dictionary{{"origin", "patch.exe"}, {"autorun", true}}}}},
        wrapper);

    EXPECT_EQ(plan.obstacle, std::nullopt);
    EXPECT_EQ(downloadsOf(stageOf(plan, "Engine")).front().substr(0, 18), "engine CK9Wine3.0 ");
    EXPECT_TRUE(stageOf(plan, "Engine").downloads.front().size);
    EXPECT_EQ(stageOf(plan, "Master wrapper").downloads.size(), 1U);
    const PlannedStage verbs = stageOf(plan, "Installing winetricks...");
    EXPECT_EQ(downloadsOf(verbs), Names{"winetrick fonts " + base + "fonts.zip 1234"});
    EXPECT_EQ(verbs.present, Names{home + "/.cache/winetricks/more/kept.zip"});
    EXPECT_EQ(verbs.actions,
              (Names{"Installing winetrick fonts...", "file:///etc/passwd is no link that can be followed",
                     "d3dx9 | VC:NVIDIA is left out: it is for another graphics card"}));
    EXPECT_EQ(downloadsOf(stageOf(plan, "Installing Steam in the background...")),
              Names{"Steam installer " + base + "client/installer/SteamSetup.exe 77"});
    const PlannedStage origin = stageOf(plan, "Installing Origin in the background...");
    EXPECT_EQ(downloadsOf(origin).size(), 1U) << "a component's";
    EXPECT_TRUE(origin.actions.back().starts_with("This version of Morvane knows no address of Origin"));
    EXPECT_EQ(stageOf(plan, "Requesting Installer...").present, Names{home + "/Downloads/setup-1.exe"});
    EXPECT_FALSE(plan.sizesAreKnown) << "the extra file's is not told";
    EXPECT_GT(plan.spaceNeeded, 185'000'000U);
    EXPECT_TRUE(plan.spaceFree);
    // A component's engine that nobody has, then what this port needs from the user, by their real titles.
    EXPECT_EQ(asked(questionsOf(plan)),
              (Names{"License Agreement=I Agree", "Warning=Install it anyway", "Warning=Yes", "Error=Yes",
                     "Select the installer=Origin installer", "Select the file patch.exe=patch.exe",
                     "Warning=No", "Warning=Yes", "Select the engine CK9Wine4.0=the archive of the engine"}))
        << shown(plan, option);
    EXPECT_NE(shown(plan, option).find("question: Select the file patch.exe\n             the option\n"),
              std::string::npos);
    EXPECT_NE(jsonText(asValue(plan, option)).find("\"supplies\":[\"patch.exe\"]"), std::string::npos);

    EXPECT_EQ(namesIn(home), before);
    EXPECT_EQ(namesIn(engines), engineStore);
    EXPECT_FALSE(exists(wrapper));
}

TEST_F(Plan, OfWhatCannotBeBuiltIsTheReason) {
    testing::publishMasterWrapper(site);
    EXPECT_EQ(planOf({{"CKI Version", "1.5.3"}}, wrapper).obstacle, "That CKI file version is incompatible!");
    EXPECT_TRUE(
        planOf({}, "/nowhere/at/all.app").obstacle.value_or("").starts_with("The wrapper can't be created"));
    EXPECT_TRUE(planOf({}, "/nowhere/at/all.app").stages.empty());
}

}  // namespace
}  // namespace morvane
