// The one program inside every wrapper: command tool, launcher, settings tool and Custom EXE starter.

#include <string>
#include <vector>

#include "platform/files.h"
#include "runtime/commands.h"
#include "runtime/wine_session.h"

int main(int count, char** texts) {
    using namespace morvane;
    const auto program = files::destinationOfLink("/proc/self/exe");
    if (!program) {
        runtime::tell("/proc/self/exe: " + program.error().message());
        return 1;
    }
    const auto bundle = runtime::WrapperBundle::around(*program);
    if (!bundle) {
        runtime::tell(bundle.error().message());
        return 1;
    }
    return runtime::runCommand(*bundle, {texts + 1, texts + count});
}
