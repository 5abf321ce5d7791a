#include "runtime/sandbox_temporary.h"

#include <fcntl.h>
#include <sys/file.h>

#include "platform/files.h"
#include "platform/private_folder.h"
#include "runtime/wine_session.h"
#include "wrapper/layout.h"

namespace morvane::runtime {

Result<SandboxTemporary> SandboxTemporary::of(const Wrapper& wrapper) {
    SandboxTemporary temporary;
    const std::string path = wrapper.path() + layout::sandboxTemporary;
    if (auto made = files::makePrivate(path); !made) return made.error();
    temporary.path_ = path;
    temporary.prefix_ = wrapper.prefix();
    temporary.folder_ = Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    temporary.emptyUnlessUsed();
    return temporary;
}

SandboxTemporary::~SandboxTemporary() {
    if (folder_.valid()) emptyUnlessUsed();
}

/// A start that has asked for the wineserver, and goes to make one, must not lose its folder to another that
/// saw none: whoever empties it is alone with it.
void SandboxTemporary::emptyUnlessUsed() const {
    const bool isAlone = ::flock(folder_.get(), LOCK_EX | LOCK_NB) == 0;
    if (isAlone && processesOf(prefix_).empty()) {
        const auto names = files::list(path_);
        if (names) {
            for (const std::string& name : *names) static_cast<void>(files::remove(files::join(path_, name)));
        }
    }
    ::flock(folder_.get(), LOCK_SH);
}

}  // namespace morvane::runtime
