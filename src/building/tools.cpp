#include "building/tools.h"

#include <cstdint>
#include <limits>
#include <random>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "platform/host.h"
#include "wrapper/layout.h"

namespace morvane::building {

namespace {

std::string creationLock() {
    return files::join(layout::supportFolder(), ".creation.lock");
}

}  // namespace

std::optional<files::Lock> lockSupportFolder() {
    static_cast<void>(files::createFolder(layout::supportFolder(), true));
    return files::Lock::tryLock(creationLock());
}

void tellOfNoLock() {
    // Whoever holds it has made it.
    const bool isHeld = files::kindOf(creationLock()) != files::Kind::none;
    MVAlert::showAlertErrorMessage(
        isHeld ? localized("You can't install two wrappers at the same time!")
               : localized("Nothing can be written to the folder \"%@\".", {layout::supportFolder()}));
}

SoleChange::SoleChange() {
    if (host().creation.begin()) {
        lock_ = lockSupportFolder();
        if (lock_) return;
        host().creation.end();
    }
    tellOfNoLock();
}

SoleChange::~SoleChange() {
    if (lock_) host().creation.end();
}

std::string cacheBuster() {
    std::random_device device;
    std::uniform_int_distribution<std::int32_t> number(0, std::numeric_limits<std::int32_t>::max());
    return "?" + std::to_string(number(device));
}

bool siteIsReachable() {
    return NSUtilities::isWebsiteOfUrlAvailable(host().sites.caskery);
}

}  // namespace morvane::building
