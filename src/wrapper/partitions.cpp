#include "wrapper/partitions.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/utf8.h"
#include "platform/volumes.h"

namespace morvane::NSPartitionMounter {
namespace {

/// Where the columns of the list begin, in characters.
struct Columns {
    std::size_t number, name, size, identifier;
};

std::optional<Columns> columnsOf(const std::string& header) {
    const Columns columns{header.find("#:"), header.find("NAME"), header.find("SIZE"),
                          header.find("IDENTIFIER")};
    const bool inOrder = columns.identifier != std::string::npos && columns.number < columns.name &&
                         columns.name - columns.number > 3 && columns.name < columns.size &&
                         columns.size < columns.identifier;
    return inOrder ? std::optional(columns) : std::nullopt;
}

/// The characters from one position to before the other; names on discs are not all ASCII.
std::string characters(const std::string& line, std::size_t from, std::size_t to = std::string::npos) {
    std::size_t position = 0, begin = line.size();
    std::size_t index = 0;
    for (; position < line.size() && index < to; ++index) {
        if (index == from) begin = position;
        static_cast<void>(utf8::next(line, position));
    }
    return line.substr(begin, position - std::min(begin, position));
}

std::string withoutBlanksAtEnd(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

struct Row {
    std::string type, name, identifier;
};

/// Nothing for a line that does not reach the identifiers.
std::optional<Row> rowOf(const std::string& line, const Columns& columns) {
    Row row;
    row.identifier = withoutBlanksAtEnd(characters(line, columns.identifier));
    if (row.identifier.empty()) return std::nullopt;
    // A blank is before the names; a whole disc's size has its asterisk before the column.
    row.type = characters(line, columns.number + 2, columns.name - 1);
    row.type.erase(0, row.type.find_first_not_of(' '));
    row.name = withoutBlanksAtEnd(characters(line, columns.name, columns.size - 1));
    return row;
}

std::string shownText(const std::string& name, const std::string& identifier) {
    return localized("%@ (%@)", {name, identifier});
}

/// What comes from a list or a command line becomes part of a path below /dev.
bool isDeviceName(std::string_view identifier) {
    return !identifier.empty() && std::all_of(identifier.begin(), identifier.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
}

}  // namespace

std::string mountPoint() {
    return files::join(volumes::parent(host().folders), "MV_WIN_DISC");
}

std::vector<MountableDisk> mountableDisksList() {
    return mountableDisksIn(MVTask::outputOf(
        MVTask::runProgram("diskutil", std::nullopt, MVTask::Arguments({"list"}), Wait::yes)));
}

std::vector<MountableDisk> mountableDisksIn(std::string_view listing) {
    std::vector<MountableDisk> disks;
    const std::vector<std::string> lines = MVString::split(listing, "\n");
    if (lines.size() < 3) return disks;
    const auto columns = columnsOf(lines[1]);
    if (!columns) return disks;

    bool inDisk = false;  // whether the lines belong to the last one of `disks`
    for (auto line = lines.begin() + 2; line != lines.end(); ++line) {
        if (line->starts_with("/dev/")) {
            inDisk = false;
            continue;
        }
        const auto row = rowOf(*line, *columns);
        if (!row) continue;
        if (row->type == "Apple_partition_scheme") {
            disks.push_back({row->identifier, shownText(localized("No name"), row->identifier)});
            inDisk = true;
        } else if (inDisk && !row->name.empty()) {
            disks.back().text = shownText(row->name, disks.back().identifier);
        }
    }
    return disks;
}

Mounting mountAndOpenDiscWithID(const std::string& identifier) {
    if (!isDeviceName(identifier)) {
        MVAlert::showAlertErrorMessage(localized("\"%@\" is not the identifier of a disc.", {identifier}));
        return Mounting::impossible;
    }
    const std::string folder = mountPoint();
    // A link whose target is gone counts as well: the unmounting makes a folder of it again.
    if (files::kindOf(folder) == files::Kind::none)
        MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::no);
    MVTask::ignoreEnding(MVTask::runProgram("umount", std::nullopt, MVTask::Arguments({folder}), Wait::yes));
    MVTask::ignoreEnding(MVTask::runProgram(
        "mount", std::nullopt,
        MVTask::Arguments({"-t", "cd9660", "-r", filled("/dev/%@", {identifier}), folder}), Wait::yes));
    (void)host().mainQueue.callAndWait([&] { host().userInterface.openPath(folder); });
    return Mounting::tried;
}

Mounting mountWindowsPartition() {
    const std::vector<MountableDisk> disks = mountableDisksList();
    if (disks.empty()) {
        MVAlert::showAlertErrorMessage(localized("Please, insert a disc first and then press that button."));
        return Mounting::impossible;
    }
    Dialog dialog;
    dialog.title = localized("Mount Disc Windows Partition");
    dialog.text = localized(
        "From which disc do you want to mount the Windows partition? Remember, you can only mount a Windows "
        "partition from one disc at time.");
    dialog.icon = Dialog::Icon::picture;
    dialog.iconPath = files::join(host().folders.resources, "cd.png");
    dialog.buttons = {localized("OK"), localized("Cancel")};
    ChoiceBox box;
    for (const MountableDisk& disk : disks) box.options.push_back(disk.text);
    dialog.accessory = box;
    const DialogAnswer answer = MVAlert::showDialog(dialog);
    if (answer.button != 0 || answer.chosen >= disks.size()) return Mounting::cancelled;
    return mountAndOpenDiscWithID(disks[answer.chosen].identifier);
}

}  // namespace morvane::NSPartitionMounter
