// A desktop with games in its library and ports in a catalogue of its own: main window, application and what they
// talk to, as the program puts them together.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/app_delegate.h"
#include "foundation/progress_view.h"
#include "foundation/settings.h"
#include "platform/property_list.h"
#include "support/loopback_site.h"
#include "views/desktop_interface.h"
#include "views/desktop_shell.h"
#include "views/library_list.h"
#include "views/main_window.h"
#include "views/views_machine.h"
#include "wrapper/wrapper.h"

namespace morvane::testing {

class DesktopStage : public ViewsMachine {
  public:
    /// Gives the bytes of a picture for the game of that number and name; empty ones for no picture.
    using Painter = std::function<std::string(int number, const std::string& name)>;

    explicit DesktopStage(MessageCatalogue texts = {}) : ViewsMachine(std::move(texts)) {
        machine->sites.catalogue = site.baseAddress();
    }
    ~DesktopStage() override { close(); }

    [[nodiscard]] std::string pathOf(const std::string& name) const {
        return home + "/Applications/" + name + ".app";
    }
    /// A wrapper whose launcher logs that it was started, and runs for as long as the file "runs" is in it.
    void addGame(const std::string& name, const std::string& icon = "") {
        const Wrapper wrapper(pathOf(name));
        put(wrapper.launcher(),
            "#!/bin/sh\necho started >> \"$0.log\"\nwhile [ -e \"$0.runs\" ]; do sleep 0.05; done\n", true);
        put(wrapper.tool(), "", true);
        put(wrapper.systemRegistry(), "");
        Dictionary plist{{"CFBundleName", name}, {"CFBundleExecutable", "CaskeryLauncher"}};
        if (!icon.empty()) {
            plist.set("CFBundleIconFile", "Icon.icns");
            put(wrapper.prefix() + "/Icon.icns", icon);
        }
        put(wrapper.infoPlist(), property_lists::xml(plist));
        games_.push_back(Dictionary{{"Name", name}, {"Path", wrapper.path()}});
    }
    /// The next port of the catalogue; its ID is one more than its place.
    void addPort(const std::string& name, const std::string& icon = "") {
        const std::string id = std::to_string(++ports_);
        list_ += id + " || Ada || " + name + " || 0 || 0 || --<br>";
        if (!icon.empty()) site.answer("/ckis/Ada/" + id + "/Icon.png", {.body = icon});
    }
    /// Starts the application, with what was added.
    void open() {
        settings::store(settings::appList, games_);
        settings::store(settings::mainFolder, Array{home + "/Applications/"});
        settings::set(settings::offeredGamesFolder, true);
        settings::set(settings::automaticUpdates, false);
        site.answer("/ckis/listPorts.php", {.body = list_});
        app = std::make_unique<AppDelegate>(shell, progress);
        window = std::make_unique<views::MainWindow>(*app, progress);
        interface.setMainWindow(window.get(), &window->progressPanel());
        shell.setMainWindow(window.get());
        window->show();
        list = window->findChild<views::LibraryList*>();
        app->library().showTab(localTab);
        const auto games = static_cast<int>(games_.size());
        runUntil([&] { return list->model()->rowCount() == games; });
    }
    void close() {
        shell.setMainWindow(nullptr);
        interface.setMainWindow(nullptr, nullptr);
        window.reset();
        app.reset();
    }
    void choose(int row) {
        list->setCurrentIndex(list->model()->index(row, 0));
        runUntil([&] { return app->gamePage().page().hasGame; });
    }

    LoopbackSite site;
    views::DesktopInterface interface;
    views::DesktopShell shell{interface};
    std::shared_ptr<NSProgressView> progress = std::make_shared<NSProgressView>();
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<views::MainWindow> window;
    views::LibraryList* list = nullptr;

  private:
    Array games_;
    std::string list_;
    int ports_ = 0;
};

}  // namespace morvane::testing
