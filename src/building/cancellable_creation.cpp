#include "building/cancellable_creation.h"

#include "building/wrapper_creation.h"
#include "platform/host.h"

namespace morvane {

std::shared_ptr<WrapperCreation> building::cancellableCreation(
    const std::shared_ptr<NSProgressView>& progress) {
    if (host().creation.running()) return std::make_shared<WrapperCreation>(progress);
    const auto end = [progress](WrapperCreation* ended) {
        progress->setCancelAction(nullptr);
        delete ended;
    };
    std::shared_ptr<WrapperCreation> creation(new WrapperCreation(progress), end);
    // Held while it is pressed: the installation may end meanwhile.
    progress->setCancelAction([weak = std::weak_ptr(creation)] {
        if (const auto running = weak.lock()) running->cancelWrapperCreation();
    });
    return creation;
}

}  // namespace morvane
