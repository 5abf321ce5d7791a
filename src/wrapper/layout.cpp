#include "wrapper/layout.h"

#include "platform/host.h"

namespace morvane {

namespace layout {

std::string supportFolder() {
    return host().folders.library + "/Library/Application Support/Caskery";
}
std::string masterFolder() {
    return supportFolder() + "/Wrapper";
}
std::string enginesFolder() {
    return supportFolder() + "/Engines";
}
std::string applicationSupportFolder() {
    return host().folders.library + "/Library/Application Support/Morvane";
}

}  // namespace layout
}  // namespace morvane
