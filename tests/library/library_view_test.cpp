#include "library/library_view.h"
#include "library/grid_size.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "library/apps_folders_list.h"
#include "library/game_data.h"
#include "library/icon_cache.h"
#include "library/library_machine.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

class LibraryViews : public testing::LibraryMachine {
  protected:
    void store(std::initializer_list<const char*> names) {
        Array list;
        for (const std::string name : names) {
            list.push_back(Dictionary{{"Name", name}, {"Path", applications + name + ".app"}});
        }
        settings::store(settings::appList, list);
    }
    /// Serves the main queue until the rows were reloaded so many times.

    int reloads = 0;
    NSAppsArray apps;
    LibraryView view{apps, {.reload = [this] { ++reloads; }, .installCkiFile = {}}};
};

TEST_F(LibraryViews, CatalogueLinesAreReadAsTheyShouldBe) {
    machine->sites.catalogue = "http://server/";
    struct Row {
        const char* line;
        std::optional<CatalogueLine> expected;
    } const rows[] = {
        {"12 || Bob || Half Life || 0 || 1 || --",
         CatalogueLine{12, "Bob", "Half Life", false, true, "--", "http://server/ckis/Bob/12/", {}, {}}},
        {"\n12 || Bob || Half Life || 1 || 0 || -- || 0",
         CatalogueLine{
             12, "Bob", "Half Life", true, false, "--", "http://server/ckis/Bob/Half%20Life/", {}, {}}},
        {"12 || Bob || A&B || x || 0 || BR || 0 || 7 || 1",
         CatalogueLine{12, "Bob", "A&B", false, false, "BR", "http://server/ckis/Bob/A%26B%20(BR)/", 7,
                       true}},
        {"x || Bob || A || 0 || 0 ||  || 1 || y || ",
         CatalogueLine{0, "Bob", "A", false, false, "", "http://server/ckis/Bob/0/", 0, false}},
        {"1 || Bob || A || 0 || 0", std::nullopt},
        {"1 || Bob || \xFF || 0 || 0 || --", std::nullopt},
        {"", std::nullopt}};
    for (const Row& row : rows) {
        EXPECT_EQ(generateDictionaryForPortListLine(row.line), row.expected) << row.line;
    }
}

TEST_F(LibraryViews, TheGridIsReducedByTheScale) {
    struct Row {
        std::optional<Value> scale;
        GridItemSize size;
    };
    const double notANumber = std::numeric_limits<double>::quiet_NaN(),
                 endless = std::numeric_limits<double>::infinity();
    const Row rows[] = {{std::nullopt, {191, 240}},      {Value(0.0), {191, 240}},
                        {Value(1.5), {127, 160}},        {Value(2), {95, 120}},
                        {Value(0.5), {382, 480}},        {Value(1e-300), {764, 960}},
                        {Value(-2.0), {191, 240}},       {Value(endless), {23, 30}},
                        {Value(notANumber), {191, 240}}, {Value("big"), {191, 240}}};
    for (const Row& row : rows) {
        settings::store(settings::collectionViewIconsScale, row.scale);
        EXPECT_EQ(gridItemSize(), row.size) << row.size.width;
    }
}

TEST_F(LibraryViews, IconsComeOnceTheyAreAskedFor) {
    const std::string wrapper = applications + "a.app", boxer = applications + "b.boxer";
    makeWrapper(wrapper);
    setPlist(wrapper, {{"CFBundleIconFile", "Game"}});
    put(wrapper + "/Contents/Resources/Game.icns", png(3));
    put(wrapper + "/t.app/Contents/MacOS/CustomEXE", "");
    put(wrapper + "/t.app/Contents/Info.plist.cexe",
        property_lists::xml(Dictionary{{"CFBundleIconFile", "Own"}}));
    put(wrapper + "/t.app/Contents/Resources/Own.icns", png(4));
    put(boxer + "/.icon.png", png(5));
    makeWrapper(applications + "z.app");
    for (const std::string& app : {wrapper, applications + "z.app"}) put(Wrapper(app).systemRegistry(), "");
    std::vector<std::size_t> told;
    LibraryView icons(
        apps,
        {.reload = {}, .rowChanged = [&](std::size_t row) { told.push_back(row); }, .installCkiFile = {}});
    const auto width = [&](std::size_t row) {
        const auto icon = icons.icon(row);
        return icon ? icon->width : 0;
    };
    const auto settle = [&] {
        machine->workQueues.joinAll();
        machine->mainQueue.drain();
    };
    icons.showTab(localTab);
    settle();
    for (std::size_t row = 0; row < 5; ++row) EXPECT_EQ(width(row), 0) << row;
    EXPECT_TRUE(told.empty());
    settle();
    std::ranges::sort(told);
    EXPECT_EQ(told, (std::vector<std::size_t>{0, 1, 2})) << "a wrapper, a bundle, a launcher";
    EXPECT_EQ(width(0), 3);
    EXPECT_EQ(width(1), 5);
    EXPECT_EQ(width(2), 4);

    // A new picture is shown after the next reload, and the old one until then.
    put(wrapper + "/Contents/Resources/Game.icns", png(6));
    icons.reload();
    EXPECT_EQ(width(0), 3);
    settle();
    EXPECT_EQ(width(0), 6);
    std::filesystem::rename(applications + "z.app", applications + "y.app");
    std::filesystem::remove(Wrapper(wrapper).systemRegistry());
    told.clear();
    icons.lookAtItems();
    settle();
    EXPECT_EQ(told, (std::vector<std::size_t>{0, 3}));
    EXPECT_EQ(icons.rows()[0].state, ItemState{.isUnfinished = true});
    EXPECT_EQ(icons.rows()[3].state, ItemState{.isMissing = true});
    {
        const auto first = icons.runs(wrapper), second = icons.runs(wrapper);
        EXPECT_TRUE(icons.isRunning(wrapper) && !icons.isRunning(boxer));
    }
    EXPECT_EQ(told, (std::vector<std::size_t>{0, 3, 0}));
    settle();
    EXPECT_FALSE(icons.isRunning(wrapper)) << "both have ended";
    EXPECT_EQ(told, (std::vector<std::size_t>{0, 3, 0, 0}));

    const std::string list = "1 || Bob || A || 0 || 0 || --<br>2 || Bob || B || 0 || 0 || --";
    site.answer("/ckis/listPorts.php", {.body = list});
    site.answer("/ckis/Bob/1/Icon.png", {.body = png(7)});
    site.answer("/ckis/Bob/2/Icon.png", {.body = "<html>"});
    reachable = [](const std::string&) { return true; };
    told.clear();
    icons.showTab(catalogueTab);
    settle();
    for (int time = 0; time < 3; ++time) {
        for (std::size_t row = 0; row < 2; ++row) static_cast<void>(width(row));
        settle();
    }
    EXPECT_EQ(width(0), 7);
    EXPECT_EQ(told, std::vector<std::size_t>{0});
    const auto asked = [&](const char* what) {
        return std::ranges::count(site.requests(), std::string(what));
    };
    EXPECT_EQ(asked("GET /ckis/Bob/1/Icon.png"), 1);
    EXPECT_EQ(asked("GET /ckis/Bob/2/Icon.png"), icon_cache::attempts) << "and not again";
    icons.refreshList();
    settle();
    site.answer("/ckis/Bob/2/Icon.png", {.body = png(8)});
    static_cast<void>(width(1));
    settle();
    EXPECT_EQ(width(1), 8);
}

}  // namespace
}  // namespace morvane
