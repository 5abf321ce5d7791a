#include "building/store_clients.h"

#include "building/configured_wrapper.h"
#include "platform/cancellation.h"
#include "support/loopback_site.h"

namespace morvane {
namespace {

class StoreClients : public testing::ConfiguredWrapper {
  protected:
    using Operation = bool (WrapperCreation::*)(const NSPortManager&);

    StoreClients() : port(NSPortManager::managerWithPath(wrapper)) {
        auto& sites = machine->sites;
        sites.steam = sites.origin = sites.uplay = sites.galaxyDelivery = sites.gog = site.baseAddress();
        put(wrapper + layout::systemRegistry,
            "WINE REGISTRY Version 2\n\n[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1\n"
            "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n"
            "\"ProgramFilesDir (x86)\"=\"C:\\\\Program Files (x86)\"\n\n"
            "[Software\\\\Origin] 2\n\"Autoupdate\"=\"true\"\n\"Keep\"=\"1\"\n\n[Last] 3\n\"a\"=\"b\"\n");
        put(wrapper + layout::resources + "/user.reg",
            "WINE REGISTRY Version 2\n\n" + runKey + " 1\n\"Client\"=\"C:\\\\client.exe\"\n\n" + uplayKey +
                " 2\n\"crypt32\"=\"builtin\"\n\"other\"=\"native\"\n\n");
        // The components that the catalogue supplies lie in the cache already.
        put(home + "/.cache/winetricks/msxml3/msxml3.msi", "MSI");
        put(home + "/.cache/winetricks/gdiplus_winxp/NDP1.0sp2-KB830348-X86-Enu.exe", "MZ");
    }

    bool install(Operation operation) {
        bool result = false;
        onWorker([&] { result = (creation.get()->*operation)(port); });
        return result;
    }
    /// The installer that is run puts the file there, or the folder for a path that ends in "/".
    void installerMakes(const std::string& path) {
        const std::string full = "\"$wrapper/Contents/Resources/drive_c/Program Files (x86)/" + path + "\"";
        whenInstalling("cat \"$1\" > \"$wrapper/batch\"\nmkdir -p \"$(dirname " + full + ")\"\n" +
                       (path.ends_with('/') ? "mkdir -p " : ": > ") + full + "\n");
    }
    void expectManual(const std::string& client, const std::string& button) {
        ui.expect("Something wrong happened while installing " + client +
                  ". Do you want to perform the installation manually by selecting an installer?")
            .titleIs("Error")
            .defaultIs("Yes")
            .answer(button);
    }
    void expectContinue(const std::string& client, const std::string& button) {
        ui.expect("You didn't installed " + client + ". Do you want to continue anyway?")
            .titleIs("Error")
            .defaultIs("No")
            .answer(button);
    }

    const std::string runKey = R"([Software\\Microsoft\\Windows\\CurrentVersion\\Run])";
    const std::string uplayKey = R"([Software\\Wine\\AppDefaults\\Uplay.exe\\DllOverrides])";
    const std::string originKey = R"([Software\\Origin])";
    testing::LoopbackSite site;
    NSPortManager port;
};

TEST_F(StoreClients, AreInstalledSilentlyOnceAfterTheirComponents) {
    site.answer("/galaxy",
                {.body = "<a href=\"" + site.baseAddress() + "open/galaxy/client/setup_galaxy_1.2.3.exe\">"});
    const struct Row {
        const char* name;
        Operation operation;
        std::string link, batch, proof;
        Names components;
    } rows[] = {
        {"Steam",
         &WrapperCreation::installSteamAtPort,
         "/client/installer/SteamSetup.exe",
         "\"C:\\SteamSetup.exe\" /S",
         "Steam/steam.exe",
         {"nocrashdialog"}},
        {"Origin",
         &WrapperCreation::installOriginAtPort,
         "/windows/desktop/origin-9.12.0/download",
         "\"C:\\download\" /S",
         "Origin/Origin.exe",
         {"msxml3", "vcrun2013", "vb6run", "nocrashdialog", "vcrun2010", "macdriver=mac"}},
        {"Uplay",
         &WrapperCreation::installUplayAtPort,
         "/orbit/launcher_installer/UplayInstaller.exe",
         "\"C:\\UplayInstaller.exe\" /S /NCRC",
         "Ubisoft/Ubisoft Game Launcher/",
         {"crypt32", "gdiplus_winxp", "msxml3", "winhttp"}},
        {"GOG Galaxy",
         &WrapperCreation::installGOGGalaxyAtPort,
         "/open/galaxy/client/setup_galaxy_1.2.3.exe",
         "\"C:\\setup_galaxy_1.2.3.exe\" /VERYSILENT /NORESTART",
         "GalaxyClient/GalaxyClient.exe",
         {"msxml3", "vcrun2012", "nocrashdialog"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        site.answer(row.link, {.body = "MZ"});
        installerMakes(row.proof);
        std::string components;
        for (const std::string& component : row.components)
            components += "CKS-winetricks " + component + "\n";
        put(testing::commandLog(wrapper), "");
        EXPECT_TRUE(install(row.operation));
        EXPECT_EQ(get(wrapper + "/batch"), "start " + row.batch);
        EXPECT_EQ(asked().find(components + "CKS-installer "), 0U) << asked();
        const std::string name = row.name;
        const Names lines = ui.statusLines();
        EXPECT_EQ(Names(lines.end() - 2, lines.end()),
                  (Names{"Downloading extra file " + name + " installer...",
                         "Installing " + name + " in the background..."}));
        EXPECT_EQ(ui.progress.back().subtitle, "");
        EXPECT_TRUE(key(runKey, "user").empty());
        // The installer is gone; what it installed is there, and is enough the next time.
        EXPECT_EQ(listing(driveC), (Names{"Program Files (x86)", "windows"}));
        const auto requests = site.requests().size();
        put(testing::commandLog(wrapper), "");
        EXPECT_TRUE(install(row.operation));
        EXPECT_EQ(asked(), components);
        EXPECT_EQ(site.requests().size() - requests, name == "GOG Galaxy" ? 1U : 0U) << "only GOG's page";
    }
    EXPECT_EQ(
        key(originKey, "system"),
        "\"TelemOO\"=\"false\"\n\"AutopatchGlobal\"=\"false\"\n\"Autoupdate\"=\"false\"\n\"Keep\"=\"1\"");
    EXPECT_EQ(timesIn("system", originKey), 1);
    EXPECT_EQ(key(uplayKey, "user"), "\"cryptnet\"=\"native\"\n\"other\"=\"native\"");
    EXPECT_EQ(timesIn("user", uplayKey), 1);
    EXPECT_EQ(key("[Last]", "system"), "\"a\"=\"b\"");
}

TEST_F(StoreClients, TheUserDecidesWhatFollowsAFailedInstallation) {
    const std::string setup = driveC + "/SteamSetup.exe", link = "/client/installer/SteamSetup.exe";
    const auto untouched = get(wrapper + layout::systemRegistry);
    site.answer(link, {.body = "MZ"});

    expectManual("Steam", "No");
    expectContinue("Steam", "Yes");
    EXPECT_FALSE(install(&WrapperCreation::installSteamAtPort));
    EXPECT_TRUE(exists(setup)) << "stays until the client is installed";
    EXPECT_FALSE(key(runKey, "user").empty());

    // Once more with what lies there, which is not run; then downloaded again; then a chosen installer.
    put(home + "/Chosen.exe", "MZ");
    whenInstalling("case \"$1\" in */Chosen.exe) mkdir -p '" + driveC + "/Program Files (x86)/Steam'; : > '" +
                   driveC + "/Program Files (x86)/Steam/steam.exe';; esac\n");
    ui.expect("There is already a file called \"SteamSetup.exe\"").answer("Yes");
    expectManual("Steam", "No");
    expectContinue("Steam", "No");
    ui.expect("There is already a file called \"SteamSetup.exe\"").answer("No");
    ui.expect("Do you want to override it?").answer("Yes");
    expectManual("Steam", "Yes");
    ui.expectChoice("Select the installer", {home + "/Chosen.exe"});
    EXPECT_TRUE(install(&WrapperCreation::installSteamAtPort));
    EXPECT_EQ(site.requests(), (Names{"GET " + link, "GET " + link}));
    EXPECT_FALSE(exists(setup));

    // No address, and no name for a file: nothing to download.
    machine->sites.origin.clear();
    expectManual("Origin", "No");
    expectContinue("Origin", "Yes");
    EXPECT_FALSE(install(&WrapperCreation::installOriginAtPort));
    EXPECT_EQ(get(wrapper + layout::systemRegistry), untouched) << "no client, no settings of it";
    expectManual("Store", "No");
    expectContinue("Store", "Yes");
    onWorker([&] {
        EXPECT_FALSE(creation->installDRM("Store", site.baseAddress() + "%2e%2e", "", "p.exe", {}, port));
    });
    EXPECT_EQ(site.requests().size(), 2U);
}

TEST_F(StoreClients, ACancellationEndsTheLoop) {
    site.answer("/client/installer/SteamSetup.exe", {.body = "MZ"});
    whenInstalling(": > \"$wrapper/started\"; exec tail -f /dev/null\n");
    const auto timer = machine->mainQueue.every(std::chrono::milliseconds(2), [this] {
        if (exists(wrapper + "/started")) machine->creation.request();
    });
    onWorker([&] {
        ASSERT_TRUE(host().creation.begin());
        EXPECT_THROW(creation->installSteamAtPort(port), Cancelled);
        host().creation.end();
    });
    machine->mainQueue.cancelTimer(timer);
}

TEST_F(StoreClients, GalaxysVersionComesFromGogsPage) {
    const std::string prefix = site.baseAddress() + "open/galaxy/client/setup_galaxy_";
    const std::pair<std::string, std::string> rows[] = {
        {"x " + prefix + "1.2.17.9.exe\" " + prefix + "2.0.exe", "1.2.17.9"},
        {"nothing", ""},
        {"", ""},
        {prefix + "no end", ""},
        {prefix + "../../../evil.exe", ""},
        {prefix + "1\" /x \".exe", ""},
        {prefix + "1%2f..%2fevil.exe", ""},
        {prefix + std::string(1'000'000, '1') + ".exe", ""},
        {prefix + "1.0.exe \xff", ""},
    };
    for (const auto& [page, version] : rows) {
        site.answer("/galaxy", {.body = page});
        onWorker([&, &expected = version] {
            EXPECT_EQ(store_clients::gogGalaxy().link, prefix + expected + ".exe");
        });
    }
    machine->sites.galaxyDelivery.clear();
    EXPECT_EQ(store_clients::gogGalaxy().link, "");
}

}  // namespace
}  // namespace morvane
