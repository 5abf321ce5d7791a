#include "platform/notifications.h"

#include <sys/stat.h>

#include <filesystem>

#include "platform/pictures.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class Notifications : public testing::TestMachine {
  protected:
    Notifications() {
        setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
        setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    }
    ~Notifications() override {
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        unsetenv("XDG_RUNTIME_DIR");
    }
    /// Writes down its arguments, then does as the script says.
    void scriptService(const std::string& script) {
        scriptProgram("notify-send",
                      "printf '%s\\n' \"$@\" > \"$0.new\"; mv \"$0.new\" \"$0.log\"\n" + script);
    }
    [[nodiscard]] std::string shown() const { return get(log); }

    const std::string log = programsFolder + "/notify-send.log";
    const Notification notification{
        .title = "-Installed",
        .message = "A <b> & C",
        .info = "/Applications/A.app",
        .actionTitle = "Play",
        .image = ImageData{pictures::encodePng({2, 2, std::vector<std::uint8_t>(16, 9)})}};
};

TEST_F(Notifications, AClickBringsWhatTheNotificationCarries) {
    struct Row {
        const char *printed, *activated;
    };
    for (const Row& row :
         {Row{"default", "/Applications/A.app"}, Row{"action", "/Applications/A.app"}, Row{"", ""}}) {
        scriptService(std::string("printf '") + row.printed + "'");
        std::string activated;
        NotificationService service([&](const std::string& info) { activated = info; });
        service.show(notification);
        onWorker([this] { machine->workQueues.joinAll(); });
        EXPECT_EQ(activated, row.activated) << row.printed;
        EXPECT_EQ(shown(),
                  "--app-name=Morvane\n--icon=app.morvane.Morvane\n"
                  "--hint=string:desktop-entry:app.morvane.Morvane\n--hint=string:image-path:" +
                      folder.path +
                      "/morvane-notification.png\n--action=default=Play\n"
                      "--action=action=Play\n--\n-Installed\nA &lt;b&gt; &amp; C\n");
    }
    EXPECT_EQ(pictures::decode(get(folder.path + "/morvane-notification.png")).value_or(Picture{}).width,
              128);
}

}  // namespace
}  // namespace morvane
