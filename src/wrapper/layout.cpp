#include "wrapper/layout.h"

#include "platform/host.h"

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

namespace layout {

std::string supportFolder() {
    return host().folders.home + "/Library/Application Support/Caskery";
}
std::string masterFolder() {
    return supportFolder() + "/Wrapper";
}
std::string enginesFolder() {
    return supportFolder() + "/Engines";
}
std::string applicationSupportFolder() {
    return host().folders.home + "/Library/Application Support/Morvane";
}

}  // namespace layout
}  // namespace morvane
