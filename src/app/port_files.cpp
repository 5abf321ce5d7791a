#include "app/port_files.h"

#include <utility>

#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "library/local_items.h"
#include "platform/files.h"
#include "ports/port_data.h"
#include "ports/typed_stream.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

void storeBackup(const std::string& archive, const std::string& bundle) {
    if (const auto done = files::write(bundle + layout::backupCki, archive, files::Atomically::yes); !done) {
        MVAlert::showAlertErrorMessage(
            localized("The port description of %@ could not be stored: %@", {bundle, done.error().why}));
    }
}

/// Into the wrapper and each Custom EXE launcher of it.
void storeBackups(const Value& description, const std::string& wrapper) {
    const auto archive = typed_stream::archive(description);
    if (!archive) return MVAlert::showAlertErrorMessage(archive.error().message());
    storeBackup(*archive, wrapper);
    for (const LocalItem& launcher : local_items::checkForCustomEXEsInWrapper(wrapper)) {
        storeBackup(*archive, launcher.path);
    }
}

}  // namespace

void installPortFile(const std::shared_ptr<WrapperCreation>& creation, const PortFile& file,
                     std::function<void(const std::optional<std::string>& wrapper)> completion) {
    auto description = NSUtilities::loadArchivedObjectFromFile(file.path, "CKI");
    creation->locked = file.lock;
    // The handler keeps the creation for as long as it builds.
    creation->createPortFromCKIFile(
        file.path,
        [creation, description = std::move(description), completion = std::move(completion)](
            bool failed, const std::string& wrapper) {
            if (!failed && description) storeBackups(*description, wrapper);
            completion(failed ? std::nullopt : std::optional(wrapper));
        },
        file.place);
}

}  // namespace morvane
