#include "building/store_clients.h"

#include "building/configured_wrapper.h"
#include "foundation/text.h"
#include "support/loopback_site.h"
#include "wrapper/port_manager.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

const std::string originKey = R"([Software\\Origin])";
const std::string uplayKey = R"([Software\\Wine\\AppDefaults\\Uplay.exe\\DllOverrides])";
const std::string runKey = R"([Software\\Microsoft\\Windows\\CurrentVersion\\Run])";

class StoreClients : public testing::ConfiguredWrapper {
  protected:
    StoreClients() {
        auto& sites = machine->sites;
        sites.steam = sites.origin = sites.uplay = sites.galaxyDelivery = sites.gog = site.baseAddress();
        put(wrapper + layout::systemRegistry,
            "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1\n\"ProgramFilesDir "
            "(x86)\"=\"C:\\\\Programs\"\n\n" +
                originKey + " 2\n\"Autoupdate\"=\"true\"\n\"Keep\"=\"1\"\n\n");
        put(wrapper + layout::resources + "/user.reg",
            runKey + " 1\n\"a\"=\"b\"\n\n" + uplayKey + " 2\n\"crypt32\"=\"\"\n\"other\"=\"native\"\n\n");
        // The components that the catalogue supplies lie in the cache already.
        put(home + "/.cache/winetricks/msxml3/msxml3.msi", "MSI");
        put(home + "/.cache/winetricks/gdiplus_winxp/NDP1.0sp2-KB830348-X86-Enu.exe", "MZ");
    }
    bool install(bool (*operation)(Build&, const NSPortManager&)) {
        put(testing::commandLog(wrapper), "");
        bool result = false;
        onWorker([&] { result = operation(*build, NSPortManager::managerWithPath(wrapper)); });
        return result;
    }
    void expectAnswers(const std::string& client, const char* manual, const char* goOn) {
        const std::string wrong =
            "Something wrong happened while installing " + client +
            ". Do you want to perform the installation manually by selecting an installer?";
        ui.expect(wrong).titleIs("Error").defaultIs("Yes").answer(manual);
        if (goOn == nullptr) return;
        const std::string missing = "You didn't installed " + client + ". Do you want to continue anyway?";
        ui.expect(missing).titleIs("Error").defaultIs("No").answer(goOn);
    }
    testing::LoopbackSite site;
};

TEST_F(StoreClients, AreInstalledSilentlyOnceAfterTheirComponents) {
    const struct Row {
        std::string name;
        bool (*operation)(Build&, const NSPortManager&);
        std::string link, line, proof, components;
    } rows[] = {
        {"Steam", &installSteamAtPort, "/client/installer/SteamSetup.exe", R"("C:\SteamSetup.exe" /S)",
         "Steam/steam.exe", "nocrashdialog"},
        {"Origin", &installOriginAtPort, "/windows/desktop/origin-9.12.0/download", R"("C:\download" /S)",
         "Origin/Origin.exe", "msxml3 vcrun2013 vb6run nocrashdialog vcrun2010 macdriver=mac"},
        {"Uplay", &installUplayAtPort, "/orbit/launcher_installer/UplayInstaller.exe",
         R"("C:\UplayInstaller.exe" /S /NCRC)", "Ubisoft/Ubisoft Game Launcher/",
         "crypt32 gdiplus_winxp msxml3 winhttp"},
        {"GOG Galaxy", &installGOGGalaxyAtPort, "/open/galaxy/client/setup_galaxy_1.2.exe",
         R"("C:\setup_galaxy_1.2.exe" /VERYSILENT /NORESTART)", "GalaxyClient/GalaxyClient.exe",
         "msxml3 vcrun2012 nocrashdialog"},
    };
    site.answer("/galaxy", {.body = "\"" + site.baseAddress() + "open/galaxy/client/setup_galaxy_1.2.exe\""});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        site.answer(row.link, {.body = "MZ"});
        const std::string proof = "'" + driveC + "/Programs/" + row.proof + "'";
        whenInstalling("cat \"$1\" > \"$wrapper/line\"; mkdir -p \"$(dirname " + proof + ")\"\n" +
                       (row.proof.ends_with('/') ? "mkdir " : ": > ") + proof + "\n");
        const std::string components =
            "CKS-winetricks " + MVString::replacedAll(row.components, " ", "\nCKS-winetricks ") + "\n";
        EXPECT_TRUE(install(row.operation));
        EXPECT_EQ(get(wrapper + "/line"), "start " + row.line);
        EXPECT_TRUE(asked().starts_with(components + "CKS-installer ")) << asked();
        EXPECT_EQ(ui.statusLines().back(), "Installing " + row.name + " in the background...");
        EXPECT_EQ(ui.progress.back().subtitle, "");
        EXPECT_EQ(key(runKey, "user"), "");
        EXPECT_EQ(listing(driveC), (Names{"Programs", "windows"})) << "the installer is deleted";
        const auto requests = site.requests().size();
        EXPECT_TRUE(install(row.operation));
        EXPECT_EQ(asked(), components);
        EXPECT_EQ(site.requests().size() - requests, row.name == "GOG Galaxy" ? 1U : 0U) << "only the page";
    }
    EXPECT_EQ(
        key(originKey, "system"),
        "\"TelemOO\"=\"false\"\n\"AutopatchGlobal\"=\"false\"\n\"Autoupdate\"=\"false\"\n\"Keep\"=\"1\"");
    EXPECT_EQ(key(uplayKey, "user"), "\"cryptnet\"=\"native\"\n\"other\"=\"native\"");
    EXPECT_EQ(timesIn("system", originKey) + timesIn("user", uplayKey), 2);
}

TEST_F(StoreClients, GalaxysVersionIsNothingThatCannotBeOne) {
    const std::string prefix = site.baseAddress() + "open/galaxy/client/setup_galaxy_";
    for (const char* text : {"../../../evil", "1\" /x \"", "1%2f..%2fevil"}) {
        site.answer("/galaxy", {.body = prefix + text + ".exe"});
        EXPECT_EQ(store_clients::gogGalaxy().link, prefix + ".exe");
    }
}

}  // namespace
}  // namespace morvane
