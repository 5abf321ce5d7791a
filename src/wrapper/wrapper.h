// wrapper/wrapper.h: a wrapper, by where it lies, and an item of the library. Any thread.
//
// Both are texts with a meaning: places are computed, nothing has to be there. What is asked of the disk says so.
#pragma once

#include <string>

#include "wrapper/layout.h"

namespace morvane {

namespace MVString {

/// "/Contents/Frameworks/bin/Caskery". The wrapper path must
/// not end with "/", here and below.
[[nodiscard]] std::string pathByAppendingCaskeryFrameworkBinToPortPath(const std::string& wrapper);
/// "/Caskery.app/Contents/MacOS/Caskery".
[[nodiscard]] std::string pathByAppendingCaskeryAppBinaryToPortPath(const std::string& wrapper);
/// "/Contents/MacOS/CaskeryLauncher".
[[nodiscard]] std::string pathByAppendingCaskeryLauncherBinToPortPath(const std::string& wrapper);

}  // namespace MVString

class Wrapper {
  public:
    /// Final slashes are dropped.
    explicit Wrapper(std::string path);

    [[nodiscard]] const std::string& path() const { return path_; }
    /// Of the file, without ".app".
    [[nodiscard]] std::string name() const;

    /// Whether a wrapper lies there: one is recognised by its launcher. Reads the disk.
    [[nodiscard]] bool exists() const;
    /// Whether it can run Windows programs: by its command tool. Reads the disk.
    [[nodiscard]] bool runsPrograms() const;

    /// Runs the maintenance commands.
    [[nodiscard]] std::string tool() const {
        return MVString::pathByAppendingCaskeryFrameworkBinToPortPath(path_);
    }
    [[nodiscard]] std::string launcher() const {
        return MVString::pathByAppendingCaskeryLauncherBinToPortPath(path_);
    }
    [[nodiscard]] std::string settingsTool() const {
        return MVString::pathByAppendingCaskeryAppBinaryToPortPath(path_);
    }
    [[nodiscard]] std::string winetricks() const {
        return path_ + layout::settingsToolResources + "/winetricks";
    }
    [[nodiscard]] std::string customExeTemplate() const { return path_ + layout::customExeTemplate; }

    [[nodiscard]] std::string infoPlist() const { return path_ + layout::infoPlist; }
    [[nodiscard]] std::string prefix() const { return path_ + layout::resources; }
    [[nodiscard]] std::string driveC() const { return path_ + layout::driveC; }
    [[nodiscard]] std::string dosdevices() const { return path_ + layout::dosdevices; }
    /// Its presence is the sign that there is a prefix.
    [[nodiscard]] std::string systemRegistry() const { return path_ + layout::systemRegistry; }
    [[nodiscard]] std::string infoStrings() const { return path_ + layout::infoStrings; }
    [[nodiscard]] std::string menuScripts() const { return path_ + layout::menuScripts; }
    [[nodiscard]] std::string quitScript() const { return path_ + layout::quitScript; }
    [[nodiscard]] std::string logs() const { return prefix() + "/Logs"; }

    [[nodiscard]] std::string engine() const { return path_ + layout::engine; }
    [[nodiscard]] std::string engineBin() const { return engine() + "/bin"; }
    [[nodiscard]] std::string engineVersion() const { return path_ + layout::engineVersion; }

    /// The port that it was made from.
    [[nodiscard]] std::string backup() const { return path_ + layout::backupCki; }
    /// What it was made of, and, while it is being made, what was there before the step that runs.
    [[nodiscard]] std::string buildRecord() const { return path_ + layout::buildRecord; }
    [[nodiscard]] std::string buildSnapshot() const { return path_ + layout::buildSnapshot; }
    /// What its page shows.
    [[nodiscard]] std::string description() const { return path_ + layout::descriptionCkii; }

    bool operator==(const Wrapper&) const = default;

  private:
    std::string path_;
};

/// Something installed.
class LibraryItem {
  public:
    enum class Kind {
        wrapper,
        customEXE,    ///< a program's launcher inside a wrapper
        application,  ///< a native one, and whatever else is there
        boxerGame,
    };

    /// Reads the disk, once, for the kind. A path that nothing lies at is an application, or a Boxer bundle by
    /// its name.
    explicit LibraryItem(std::string path);

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] bool isWrapper() const { return kind_ == Kind::wrapper; }
    [[nodiscard]] bool isCustomEXE() const { return kind_ == Kind::customEXE; }
    [[nodiscard]] bool isBoxerGame() const { return kind_ == Kind::boxerGame; }
    /// Of the file, without ".app" or ".boxer".
    [[nodiscard]] std::string name() const;

    /// Where its programs lie: the wrapper itself, or the one around a launcher.
    [[nodiscard]] Wrapper wrapper() const;
    /// Where its settings lie.
    [[nodiscard]] std::string settingsFile() const;
    /// What starts it.
    [[nodiscard]] std::string launcher() const;

    /// By the name alone, as for a path that nothing lies at any more: directly inside a bundle.
    [[nodiscard]] static bool liesInBundle(const std::string& path);
    [[nodiscard]] static bool isBoxerName(const std::string& path);

  private:
    std::string path_;
    Kind kind_;
};

}  // namespace morvane
