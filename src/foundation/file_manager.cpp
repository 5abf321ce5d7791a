#include "foundation/file_manager.h"

#include <functional>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::MVFileManager {

namespace {

void report(std::string_view message, const std::string& description) {
    MVAlert::showAlertErrorMessage(localized(message, {description}));
}

bool succeeded(const files::Error& error, std::string_view message) {
    if (error) report(message, *error);
    return !error;
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
    const files::Error error = files::move(source, destination, untilCancelled());
    if (error) host().creation.throwIfRequested();
    return succeeded(error, "Error while moving file: %@");
}

bool copyItemAtPath(const std::string& source, const std::string& destination) {
    const files::Error error = files::copy(source, destination, untilCancelled());
    // A copy that was interrupted is no error to tell the user.
    if (error) host().creation.throwIfRequested();
    return succeeded(error, "Error while copying file: %@");
}

bool removeItemAtPath(const std::string& path) {
    if (!fileExistsAtPath(path)) return true;
    return succeeded(files::remove(path), "Error while removing file: %@");
}

std::vector<std::string> contentsOfDirectoryAtPath(const std::string& path) {
    auto names = files::list(path);
    if (const Failure* failure = failureOf(names)) {
        report("Error while listing folder contents: %@", failure->message);
        return {};
    }
    return std::get<std::vector<std::string>>(std::move(names));
}

std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path) {
    auto destination = files::destinationOfLink(path);
    if (const Failure* failure = failureOf(destination)) {
        report("Error while retrieving symbolic link destination: %@", failure->message);
        return std::nullopt;
    }
    return std::get<std::string>(std::move(destination));
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
    const auto items = files::listBelow(path);
    if (failureOf(items) != nullptr) return 0;
    std::uint64_t total = 0;
    for (const std::string& item : std::get<std::vector<std::string>>(items)) {
        const std::string itemPath = files::join(path, item);
        if (files::kindOf(itemPath) == files::Kind::link) continue;
        total += files::size(itemPath).value_or(0);
    }
    return total;
}

}  // namespace morvane::MVFileManager
