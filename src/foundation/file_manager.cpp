#include "foundation/file_manager.h"

#include <functional>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/folder_size.h"
#include "platform/host.h"

namespace morvane::MVFileManager {

namespace {

void report(std::string_view message, const std::string& description) {
    MVAlert::showAlertErrorMessage(localized(message, {description}));
}

bool succeeded(const Result<>& result, std::string_view message) {
    if (!result) report(message, result.error().why);
    return result.has_value();
}

/// For what may take long on the thread of the running creation.
std::function<bool()> untilCancelled() {
    if (!host().creation.runsHere()) return {};
    return [] { return !host().creation.requested(); };
}

}  // namespace

bool createSymbolicLinkAtPath(const std::string& path, const std::string& destination) {
    return succeeded(files::createSymbolicLink(path, destination), "Error while creating symbolic link: %@");
}

bool createDirectoryAtPath(const std::string& path, IntermediateFolders intermediate) {
    return succeeded(files::createFolder(path, intermediate == IntermediateFolders::yes),
                     "Error while creating folder: %@");
}

bool moveItemAtPath(const std::string& source, const std::string& destination) {
    const auto moved = files::move(source, destination, untilCancelled());
    if (!moved) host().creation.throwIfRequested();
    return succeeded(moved, "Error while moving file: %@");
}

bool copyItemAtPath(const std::string& source, const std::string& destination) {
    const auto copied = files::copy(source, destination, untilCancelled());
    // A copy that was interrupted is no error to tell the user.
    if (!copied) host().creation.throwIfRequested();
    return succeeded(copied, "Error while copying file: %@");
}

bool removeItemAtPath(const std::string& path) {
    if (!fileExistsAtPath(path)) return true;
    return succeeded(files::remove(path), "Error while removing file: %@");
}

std::vector<std::string> contentsOfDirectoryAtPath(const std::string& path) {
    auto names = files::list(path);
    if (!names) {
        report(marked("Error while listing folder contents: %@"), names.error().why);
        return {};
    }
    return *std::move(names);
}

std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path) {
    auto destination = files::destinationOfLink(path);
    if (!destination) {
        report(marked("Error while retrieving symbolic link destination: %@"), destination.error().why);
        return std::nullopt;
    }
    return *std::move(destination);
}

bool directoryExistsAtPath(const std::string& path) {
    return files::kindBehind(path) == files::Kind::folder;
}

bool regularFileExistsAtPath(const std::string& path) {
    const files::Kind kind = files::kindBehind(path);
    return kind != files::Kind::none && kind != files::Kind::folder;
}

bool fileExistsAtPath(const std::string& path) {
    return files::kindBehind(path) != files::Kind::none;
}

std::uint64_t sizeOfDirectoryAtPath(const std::string& path) {
    return files::sizeBelow(path);
}

}  // namespace morvane::MVFileManager
