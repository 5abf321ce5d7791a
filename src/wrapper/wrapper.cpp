#include "wrapper/wrapper.h"

#include <utility>

#include "platform/files.h"

namespace morvane {

namespace MVString {

std::string pathByAppendingCaskeryFrameworkBinToPortPath(const std::string& wrapper) {
    return wrapper + "/Contents/Frameworks/bin/Caskery";
}

std::string pathByAppendingCaskeryAppBinaryToPortPath(const std::string& wrapper) {
    return wrapper + "/Caskery.app/Contents/MacOS/Caskery";
}

std::string pathByAppendingCaskeryLauncherBinToPortPath(const std::string& wrapper) {
    return wrapper + "/Contents/MacOS/CaskeryLauncher";
}

}  // namespace MVString

namespace {

std::string withoutFinalSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

bool isFile(const std::string& path) {
    return files::kindBehind(path) == files::Kind::file;
}

LibraryItem::Kind kindOf(const std::string& path) {
    if (LibraryItem::isBoxerName(path)) return LibraryItem::Kind::boxerGame;
    if (isFile(path + layout::customExeMark)) return LibraryItem::Kind::customEXE;
    const Wrapper wrapper(path);
    return wrapper.exists() || wrapper.runsPrograms() ? LibraryItem::Kind::wrapper
                                                      : LibraryItem::Kind::application;
}

}  // namespace

Wrapper::Wrapper(std::string path) : path_(withoutFinalSlashes(std::move(path))) {}

std::string Wrapper::name() const {
    return files::withoutExtension(files::lastComponent(path_));
}

bool Wrapper::exists() const {
    return isFile(launcher());
}

bool Wrapper::runsPrograms() const {
    return isFile(tool());
}

LibraryItem::LibraryItem(std::string path)
    : path_(withoutFinalSlashes(std::move(path))), kind_(kindOf(path_)) {}

std::string LibraryItem::name() const {
    return files::withoutExtension(files::lastComponent(path_));
}

Wrapper LibraryItem::wrapper() const {
    return Wrapper(isCustomEXE() ? files::parent(path_) : path_);
}

std::string LibraryItem::settingsFile() const {
    switch (kind_) {
        case Kind::customEXE:
            return path_ + layout::customExePlist;
        case Kind::boxerGame:
            return path_ + layout::boxerPlist;
        case Kind::wrapper:
        case Kind::application:
            break;
    }
    return path_ + layout::infoPlist;
}

std::string LibraryItem::launcher() const {
    return isCustomEXE() ? path_ + layout::customExeMark : wrapper().launcher();
}

bool LibraryItem::liesInBundle(const std::string& path) {
    return files::parent(path).ends_with(".app");
}

bool LibraryItem::isBoxerName(const std::string& path) {
    return path.ends_with(".boxer");
}

}  // namespace morvane
