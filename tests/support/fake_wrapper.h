// tests/support/fake_wrapper.h: a small master wrapper and a small engine, packed with the real tar and
// 7-Zip.
//
// The command tool of the fake is a shell script: "CKS-wineprefixcreate" makes a small prefix,
// "CKS-installer" runs a hook; whatever it is asked is appended, one line each, to `commandLog`.
#pragma once

#include <string>
#include <vector>

#include "support/loopback_site.h"

namespace morvane::testing {

struct FakeWrapper {
    std::string version = "Caskery-2.6.2";
    /// Shell lines that run after the prefix was made; "$wrapper" is the wrapper's folder of the moment.
    std::string onPrefixCreate = {};
    /// Shell lines that run for "CKS-installer"; "$wrapper" as above, "$1" is the program to install.
    std::string onInstaller = {};
    bool makesPrefix = true;  ///< false: the prefix creation leaves nothing
};

/// Makes `<folder>/<version>.app` with the layout of a master wrapper; returns its path.
std::string makeFakeMasterWrapper(const std::string& folder, const FakeWrapper& wrapper = {});
/// Makes `<folder>/ckwine.bundle` with bin, lib, share and the version file; returns its path.
std::string makeFakeEngine(const std::string& folder, const std::string& name);
/// Makes what the prefix creation would leave: drive_c, dosdevices and the two registry files.
void makeFakePrefix(const std::string& wrapper);
/// The file that lists what the wrapper's command tool was asked.
[[nodiscard]] std::string commandLog(const std::string& wrapper);

/// Packs `<folder>/<entry>` as a tar file that 7-Zip packs; the tar file's name inside is `tarName`. The
/// bytes.
[[nodiscard]] std::string packedTar7z(const std::string& folder, const std::string& entry,
                                      const std::string& tarName);
/// The bytes of "<version>.app.tar.7z".
[[nodiscard]] std::string packedMasterWrapper(const FakeWrapper& wrapper = {});
/// The bytes of "<name>.tar.7z".
[[nodiscard]] std::string packedEngine(const std::string& name);

/// Runs a program of the machine in the folder; fails the test when it ends badly.
void runTool(const std::string& folder, const std::vector<std::string>& command);

/// What the download site answers.
void publishNewestVersion(LoopbackSite& site, const std::string& version);
/// The version file and the archive.
void publishMasterWrapper(LoopbackSite& site, const FakeWrapper& wrapper = {});
/// The engine list with these names, and their archives.
void publishEngines(LoopbackSite& site, const std::vector<std::string>& names);

/// A finished fake wrapper at the path, as a creation would leave it: layout, engine and prefix.
void makeFakeWrapperAt(const std::string& path, const std::string& engine, const FakeWrapper& wrapper = {});

}  // namespace morvane::testing
