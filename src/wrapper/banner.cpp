#include "wrapper/banner.h"

#include "foundation/file_manager.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"

namespace morvane {

bool addHollinBannerAtFile(const std::string& wrapper) {
    static constexpr const char* name = "CaskeryBanner.jpg";
    const std::string banner = files::join(host().folders.resources, name);
    if (!MVFileManager::regularFileExistsAtPath(banner)) return true;
    const std::string place = wrapper + layout::settingsToolResources + "/" + name;
    MVFileManager::removeItemAtPath(place);
    MVFileManager::copyItemAtPath(banner, place);
    return true;
}

}  // namespace morvane
