#include "platform/picture_formats.h"

#include <dlfcn.h>

#include <array>

#include "platform/files.h"
#include "platform/host.h"

namespace morvane {

namespace {

/// Beside the folder of this program, which is "bin", or "morvane/programs" one level below.
std::string librariesFolder(const std::string& program) {
    std::string folder = files::parent(program);
    if (files::lastComponent(folder) == "programs") folder = files::parent(files::parent(folder));
    return files::join(files::parent(folder), "lib");
}

/// Of each package its own.
const PictureFormats* load() {
    const std::string program = files::resolved("/proc/self/exe").value_or("");
    const std::string libraries = librariesFolder(program);
    void* library = nullptr;
    std::string why;
    for (const std::string& owner : {files::lastComponent(program), std::string("morvane")}) {
        const std::string place = files::join(files::join(libraries, owner), "picture-formats.so");
        library = ::dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (library != nullptr) break;
        why = ::dlerror();
    }
    void* symbol = library != nullptr ? ::dlsym(library, "morvanePictureFormats") : nullptr;
    if (symbol != nullptr) return reinterpret_cast<decltype(&morvanePictureFormats)>(symbol)();
    if (hasHost()) host().log.write(Log::Level::warning, "No picture can be read or written: " + why);
    return nullptr;
}

}  // namespace

const PictureFormats* pictureFormats() {
    if (!hasHost()) return load();
    Host& here = host();
    if (const PictureFormats* known = here.pictureFormats) return known;
    static_cast<void>(here.mainQueue.callAndWait([&here] {
        if (here.pictureFormats == nullptr) here.pictureFormats = load();
    }));
    return here.pictureFormats;
}

}  // namespace morvane
