#include "server/catalogue_export.h"

#include <sys/stat.h>

#include <algorithm>

#include "catalogue_machine.h"
#include "foundation/static_catalogue.h"
#include "platform/files.h"
#include "platform/process.h"
#include "server/catalogue_texts.h"
#include "support/loopback_site.h"

namespace morvane {
namespace {

using testing::Browser;
using testing::CatalogueMachine;
using testing::LoopbackSite;

class Exporting : public CatalogueMachine {
  protected:
    Exporting() {
        PortToPublish half = port("Half Life", "GOG");
        half.sourceLinks = {"GOG=https://g.example/hl"};
        half.genres = {"Action"};
        idOf(publish(half));
        idOf(publish(port("Half Life")));
        PortToPublish brazil = port("half-breed");
        brazil.country = "BR";
        idOf(publish(brazil));
        PortToPublish hidden = port("A Half");
        hidden.developer = true;
        idOf(publish(hidden));
        idOf(publish(port("Another Half")));
        put(content + "/instructions", "GOG = https://v.example/gog\n");
        put(content + "/winetricks/winetricks", "#!/bin/sh\n");
        put(content + "/files/version.txt", "1.0\n");
        put(content + "/files/404.html", "ours is another");
        put(content + "/files/.hidden", "secret");
        EXPECT_TRUE(files::createSymbolicLink(content + "/files/out", "../private"));
        put(content + "/private", "secret");
        store = *CatalogueStore::open(content);
    }

    Result<ExportedCatalogue> write() { return exportCatalogue(*store, {.folder = out}); }
    /// The names of all files below the export's folder but those that begin with a dot.
    [[nodiscard]] std::vector<std::string> written() const {
        auto names = *files::listBelow(out);
        std::erase_if(names, [&](const std::string& name) {
            return name.starts_with('.') || files::kindOf(out + "/" + name) == files::Kind::folder;
        });
        return names;
    }

    std::unique_ptr<CatalogueStore> store;
    const std::string out = folder.path + "/out";
};

TEST_F(Exporting, WritesWhatChangesAndNothingElse) {
    const auto first = write();
    ASSERT_TRUE(first) << first.error().message();
    EXPECT_EQ(first->ports, 4U);
    EXPECT_EQ(first->written, written().size());
    for (const char* name :
         {"ckis/Bob/2/GOG.cki", "ckis/Bob/2/CD.cki", "ckis/Bob/3/Icon.png", "files/version.txt",
          "version.txt", "index.html", "ckis/winetricks/winetricks"}) {
        struct stat state {};
        ASSERT_EQ(::stat((out + "/" + name).c_str(), &state), 0) << name;
        EXPECT_EQ(state.st_mode & 0444U, 0444U) << name << " is for whoever serves it";
    }
    EXPECT_TRUE(get(out + "/404.html").starts_with("<html>"));
    for (const std::string& name : written())
        EXPECT_EQ(get(out + "/" + name).find("secret"), std::string::npos);

    const auto again = write();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->written + again->removed, 0U);
    EXPECT_EQ(again->unchanged, first->written);

    put(out + "/mine.txt", "not of an export");
    ASSERT_TRUE(store->withdraw(3));
    const auto less = write();
    ASSERT_TRUE(less);
    EXPECT_EQ(less->removed, 7U) << "three texts, an icon, a recipe, the country's two lists";
    EXPECT_EQ(files::kindOf(out + "/ckis/Bob/3"), files::Kind::none);
    EXPECT_EQ(files::kindOf(out + "/ckis/static/3"), files::Kind::none);
    EXPECT_EQ(get(out + "/ckis/static/list-every").find("half-breed"), std::string::npos);
    EXPECT_EQ(get(out + "/mine.txt"), "not of an export");
}

TEST_F(Exporting, WritesIntoNoFolderOfOthersAndRemovesNothingOutsideItsOwn) {
    put(out + "/holiday.jpg", "picture");
    EXPECT_FALSE(write());
    EXPECT_EQ(files::list(out)->size(), 1U);
    EXPECT_TRUE(files::remove(out));
    ASSERT_TRUE(write());
    // Whoever can write there may have changed the list of what was written.
    put(folder.path + "/outside", "kept");
    put(folder.path + "/elsewhere/file", "kept");
    EXPECT_TRUE(files::createSymbolicLink(out + "/link", folder.path + "/elsewhere"));
    put(out + "/.morvane-export",
        get(out + "/.morvane-export") + "../outside\n/etc/hosts\nlink/file\nlink\n.\n");
    const auto again = write();
    ASSERT_TRUE(again) << again.error().message();
    EXPECT_EQ(again->removed, 0U);
    EXPECT_EQ(get(folder.path + "/outside") + get(folder.path + "/elsewhere/file"), "keptkept");
    // A folder of the export that has become a link out of it is not followed either.
    EXPECT_TRUE(files::remove(out + "/ckis/Bob"));
    EXPECT_TRUE(files::createSymbolicLink(out + "/ckis/Bob", folder.path + "/elsewhere"));
    EXPECT_FALSE(write());
    EXPECT_EQ(files::list(folder.path + "/elsewhere")->size(), 1U);
}

/// The command, a process of its own, with its home and the catalogue.
class PlainFiles : public Exporting {
  protected:
    PlainFiles() {
        EXPECT_TRUE(write());
        // As any such server: what follows the "?" is not looked at.
        for (const std::string& name : written()) host.answer("/" + name, {.body = get(out + "/" + name)});
        auto started = CatalogueServer::start({.content = content});
        EXPECT_TRUE(started) << started.error().message();
        if (started) server = *std::move(started);
    }
    [[nodiscard]] std::string run(const std::string& site, std::vector<std::string> arguments) const {
        const std::map<std::string, std::string> environment = {{"PATH", "/usr/bin:/bin"},
                                                                {"MORVANE_HOME", folder.path + "/home"},
                                                                {"MORVANE_CATALOGUE", site},
                                                                {"MORVANE_CASKERY_SITE", site}};
        const auto result = processes::run({.program = MORVANE_BUILD_FOLDER "/bin/morvane",
                                            .arguments = std::move(arguments),
                                            .environment = environment});
        return result ? result->output : result.error().message();
    }

    LoopbackSite host;
    std::unique_ptr<CatalogueServer> server;
};

TEST_F(PlainFiles, AreToTheClientAsTheServerIs) {
    ASSERT_TRUE(server);
    Browser browser(server->baseAddress());
    ASSERT_TRUE(browser.open(2));
    ASSERT_EQ(browser.vote(2, "NVIDIA", "5"), 200);
    store->countDownload(2);
    ASSERT_TRUE(write());
    for (const std::string& name : written()) host.answer("/" + name, {.body = get(out + "/" + name)});
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"catalogue", "list"},
                                               {"catalogue", "list", "another"},
                                               {"catalogue", "show", "2"},
                                               {"catalogue", "show", "3"},
                                               {"catalogue", "show", "99"},
                                               {"catalogue", "rankings", "latest"},
                                               {"catalogue", "rankings", "popular"},
                                               {"catalogue", "rankings", "highrated"}}) {
        const std::string words = command[1] + " " + command.back();
        const std::string ofServer = run(server->baseAddress(), command);
        EXPECT_EQ(run(host.baseAddress(), command), ofServer) << words;
        EXPECT_EQ(ofServer.empty(), command.back() == "99") << words;
    }
    const std::string saved = folder.path + "/saved.cki";
    EXPECT_EQ(run(host.baseAddress(), {"catalogue", "save", "2", saved, "--source", "GOG"}), saved + "\n");
    EXPECT_EQ(get(saved), get(cki("GOG")));
}

}  // namespace
}  // namespace morvane
