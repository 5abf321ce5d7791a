#include "library/menu_entries.h"

#include <filesystem>

#include "foundation/text.h"
#include "library/library_machine.h"
#include "platform/desktop_menu.h"
#include "platform/process.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

class MenuEntries : public testing::LibraryMachine {
  protected:
    MenuEntries() { makeGame("Half Life", applications + "Half Life.app"); }

    void makeGame(const std::string& name, const std::string& path) {
        makeWrapper(path);
        setPlist(path,
                 {{"CFBundleName", name}, {"CFBundleIconFile", "Icon.icns"}, {"Associations", "sav ../x"}});
        put(Wrapper(path).prefix() + "/Icon.icns", png(64));
        items.push_back(Dictionary{{"Name", name}, {"Path", path}});
    }
    void settle() {
        settings::store(settings::appList, items);
        onWorker([] { menu_entries::settle(); });
    }
    /// The entries' files, each with its text.
    [[nodiscard]] std::map<std::string, std::string> entries() const {
        std::map<std::string, std::string> found;
        for (const std::string& name : files::list(menu).value_or(std::vector<std::string>()))
            if (name.ends_with(".desktop")) found[name] = get(menu + name);
        return found;
    }
    [[nodiscard]] std::string entryOf(const std::string& name) const {
        for (const auto& [file, text] : entries())
            if (MVString::contains(text, "\nName=" + name + "\n") && !MVString::contains(text, "NoDisplay"))
                return menu + file;
        return "";
    }
    /// What the desktop's own reader of such files says about it; empty when it is content.
    static std::string complaint(const std::string& file) {
        const auto validator = processes::search("desktop-file-validate", "/usr/bin:/bin");
        if (validator.empty()) return "";
        const auto result = processes::run({.program = validator.front(), .arguments = {file}});
        return result ? result->output : result.error().message();
    }

    Array items;
    const std::string data = machine->folders.applicationData, menu = data + "/applications/";
};

TEST_F(MenuEntries, ComeAndGoWithTheItems) {
    settle();
    const std::string entry = entryOf("Half Life");
    ASSERT_NE(entry, "");
    EXPECT_EQ(complaint(entry), "");
    EXPECT_TRUE(MVString::contains(get(entry),
                                   "\nTryExec=" + Wrapper(applications + "Half Life.app").launcher() + "\n"));
    const std::string icon =
        data + "/icons/hicolor/64x64/apps/" + files::withoutExtension(files::lastComponent(entry)) + ".png";
    EXPECT_EQ(get(icon), png(64));
    EXPECT_TRUE(MVString::contains(get(data + "/mime/packages/app.morvane.items.xml"), "pattern=\"*.sav\""));
    EXPECT_EQ(entries().size(), 2U) << "and what opens its files";
    // Nothing has changed: nothing is written.
    const auto written = fs::last_write_time(entry);
    settle();
    EXPECT_EQ(fs::last_write_time(entry), written);
    // Two of one name, and one that has moved.
    makeGame("Half Life", applications + "More/Half Life.app");
    settle();
    EXPECT_EQ(entries().size(), 4U);
    items = {};
    makeGame("Half Life", applications + "Elsewhere.app");
    settle();
    EXPECT_EQ(entries().size(), 2U);
    EXPECT_FALSE(fs::exists(icon));
    settings::set(settings::menuEntries, false);
    settle();
    EXPECT_TRUE(entries().empty());
    EXPECT_FALSE(fs::exists(data + "/mime/packages/app.morvane.items.xml"));
}

TEST_F(MenuEntries, OfOthersAndOfTheUserStay) {
    settle();
    const std::string entry = entryOf("Half Life");
    put(entry, MVString::replacedAll(get(entry), "Categories=Game;", "Categories=Game;Education;"));
    put(menu + "other.desktop", "[Desktop Entry]\n");
    put(menu + "app.morvane.item.mine.desktop", "[Desktop Entry]\n");
    items = {};
    settle();
    EXPECT_EQ(entries().size(), 3U);
    EXPECT_TRUE(MVString::contains(get(entry), "Education"));
}

TEST_F(MenuEntries, HostileNamesStayTexts) {
    const std::string odd = applications + "a\"b`c$d\\e%f;g.app", broken = applications + "a\nExec=evil.app";
    makeGame("Name\nExec=evil \\s;\xE2\x80\xAE" + std::string(300, 'x'), odd);
    makeGame("Broken", broken);
    settle();
    EXPECT_EQ(entryOf("Broken"), "") << "no command line can hold its path";
    std::string file;
    for (const auto& [name, text] : entries())
        if (MVString::contains(text, "Name=Name") && !MVString::contains(text, "NoDisplay"))
            file = menu + name;
    ASSERT_NE(file, "");
    EXPECT_EQ(complaint(file), "");
    EXPECT_FALSE(MVString::contains(get(file), "\nExec=evil"));
    EXPECT_TRUE(MVString::contains(get(file), R"(a\\"b\\`c\\$d\\\\e%%f;g.app")")) << get(file);
}

}  // namespace
}  // namespace morvane
