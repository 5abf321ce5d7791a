// fuzz/fuzz_machine.h: a machine for targets that need files, dialogs or settings: a temporary home, and a user
// who takes every default.
#pragma once

#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/host.h"
#include "platform/private_folder.h"

namespace morvane::fuzzing {

class QuietUser : public UserInterface {
  public:
    DialogAnswer showDialog(const Dialog& dialog) override {
        return {.button = dialog.defaultButton, .text = "", .chosen = 0};
    }
    std::vector<std::string> chooseFiles(const OpenPanel&) override { return {}; }
    std::optional<std::string> chooseSavePath(const SavePanel&) override { return std::nullopt; }
    void showProgress(const ProgressState&) override {}
    void notify(const Notification&) override {}
    void openLink(const std::string&) override {}
    void openPath(const std::string&) override {}
    void revealPath(const std::string&) override {}
    void launchBundle(const std::string&) override {}
    void bringToFront(const std::string&) override {}
};

/// One for the whole run; removed when the run ends without a fault.
class FuzzMachine {
  public:
    static FuzzMachine& instance() {
        static FuzzMachine machine;
        return machine;
    }

    /// A wrapper with the drive C, and a game in it.
    [[nodiscard]] std::string wrapper() const { return folder_.path() + "/home/Applications/Game.app"; }
    [[nodiscard]] std::string driveC() const { return wrapper() + "/Contents/Resources/drive_c"; }
    void put(const std::string& path, std::string_view bytes) const {
        static_cast<void>(files::createFolder(files::parent(path), true));
        static_cast<void>(files::write(path, bytes, files::Atomically::no));
    }

  private:
    /// In memory where that can be: registry files are flushed at each edit.
    static std::string sharedFolder() {
        const std::string folder = files::isWritable("/dev/shm") ? "/dev/shm" : "/tmp";
        files::PrivateFolder::removeLeftovers(folder);
        return folder;
    }

    FuzzMachine() : folder_(*files::PrivateFolder::makeInShared(sharedFolder())) {
        Host::Options options;
        options.folders.home = folder_.path() + "/home";
        options.folders.applications = options.folders.home + "/Applications";
        options.folders.volumes = folder_.path() + "/Volumes";
        options.folders.temporary = folder_.path() + "/passing";
        options.folders.sharedTemporary = folder_.path();
        options.folders.resources = options.folders.programs = folder_.path() + "/none";
        options.folders.desktop = options.folders.home + "/Desktop";
        options.folders.downloads = options.folders.home + "/Downloads";
        options.folders.systemRoot = folder_.path();
        options.sites = {.caskery = "http://127.0.0.1:1/", .catalogue = "http://127.0.0.1:1/"};
        options.reachability = [](const std::string&) { return false; };
        host_ = std::make_unique<Host>(std::move(options), user_);
        put(driveC() + "/Program Files/Game/Game.exe", "MZ");
        const std::string drives = wrapper() + "/Contents/Resources/dosdevices";
        static_cast<void>(files::createFolder(drives, true));
        static_cast<void>(files::createSymbolicLink(drives + "/c:", "../drive_c"));
        static_cast<void>(files::createSymbolicLink(drives + "/z:", "/"));
    }

    files::PrivateFolder folder_;
    QuietUser user_;
    std::unique_ptr<Host> host_;
};

}  // namespace morvane::fuzzing
