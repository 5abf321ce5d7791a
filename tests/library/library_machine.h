// tests/library/library_machine.h: a machine with installed things, and a catalogue that answers.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "foundation/settings.h"
#include "library/apps_array.h"
#include "platform/files.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/typed_stream.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"

namespace morvane::testing {

class LibraryMachine : public TestMachine {
  protected:
    LibraryMachine() { machine->sites.catalogue = site.baseAddress(); }

    void makeWrapper(const std::string& path, const std::string& bundleName = "") {
        put(path + "/Contents/MacOS/CaskeryLauncher", "", true);
        put(path + "/Contents/Frameworks/bin/Caskery", "", true);
        if (!bundleName.empty()) setPlist(path, {{"CFBundleName", bundleName}});
    }
    void setPlist(const std::string& bundle, const Dictionary& plist) {
        put(bundle + "/Contents/Info.plist", property_lists::xml(plist));
    }
    void putArchive(const std::string& path, const Dictionary& dictionary) {
        put(path, *typed_stream::archive(dictionary));
    }
    /// Serves the main queue until the operation has called its completion.
    void complete(const std::function<void(NSAppsArray::Completion)>& operation) {
        bool done = false;
        operation([&] { done = true; });
        machine->mainQueue.runUntil([&] { return done; });
    }
    static std::string png(int width) {
        Picture picture{.width = width, .height = 1, .rgba = {}};
        picture.rgba.assign(static_cast<std::size_t>(width) * 4, 255);
        return pictures::encodePng(picture);
    }
    /// "Name=path below Applications" of each item.
    [[nodiscard]] std::vector<std::string> shown(const std::vector<LocalItem>& items) const {
        std::vector<std::string> lines;
        for (const LocalItem& item : items) {
            const bool isBelow = item.path.starts_with(applications);
            lines.push_back(item.name + "=" + (isBelow ? item.path.substr(applications.size()) : item.path));
        }
        return lines;
    }
    /// The same of what the settings hold.
    [[nodiscard]] std::vector<std::string> stored() const {
        NSAppsArray fresh;
        bool done = false;
        fresh.loadLocalAppsBlock([&] { done = true; });
        EXPECT_TRUE(done) << "there is no stored list";
        return shown(fresh.localAppsArray());
    }

    LoopbackSite site;
    const std::string applications = home + "/Applications/";
    using Lines = std::vector<std::string>;
};

}  // namespace morvane::testing
