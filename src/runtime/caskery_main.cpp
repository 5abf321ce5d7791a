// The one program inside every wrapper: command tool, launcher, settings tool and Custom EXE starter.

#include <string>
#include <vector>

#include "platform/files.h"
#include "runtime/commands.h"
#include "runtime/wine_session.h"

int main(int count, char** texts) {
    using namespace morvane;
    const auto program = files::destinationOfLink("/proc/self/exe");
    if (const Failure* failure = failureOf(program)) {
        runtime::tell("/proc/self/exe: " + failure->message);
        return 1;
    }
    const auto bundle = runtime::WrapperBundle::around(std::get<std::string>(program));
    if (const Failure* failure = failureOf(bundle)) {
        runtime::tell(failure->message);
        return 1;
    }
    return runtime::runCommand(std::get<runtime::WrapperBundle>(bundle), {texts + 1, texts + count});
}
