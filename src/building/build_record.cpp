#include "building/build_record.h"

#include <algorithm>

#include "foundation/localization.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/property_list.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

constexpr std::int64_t version = 1;

std::vector<std::string> textsOf(const Dictionary& record, std::string_view key) {
    std::vector<std::string> texts;
    if (const auto* list = record.get<Array>(key)) {
        for (const Value& each : *list) {
            if (const auto* text = each.as<std::string>()) texts.push_back(*text);
        }
    }
    return texts;
}

std::string textOf(const Dictionary& record, std::string_view key) {
    const auto* text = record.get<std::string>(key);
    return text != nullptr ? *text : "";
}

bool isSet(const Dictionary& record, std::string_view key) {
    const auto* flag = record.get<bool>(key);
    return flag != nullptr && *flag;
}

std::vector<UsedFile> filesOf(const Dictionary& record) {
    std::vector<UsedFile> found;
    const auto* list = record.get<Array>("Files");
    for (const Value& each : list != nullptr ? *list : Array()) {
        const auto* entry = each.as<Dictionary>();
        if (entry == nullptr) continue;
        const auto* size = entry->get<std::int64_t>("Size");
        found.push_back({.link = textOf(*entry, "Link"),
                         .name = textOf(*entry, "Name"),
                         .size = size != nullptr && *size > 0 ? static_cast<std::uint64_t>(*size) : 0,
                         .sum = textOf(*entry, "SHA-256")});
    }
    return found;
}

std::optional<BuildRecord> recordAt(const std::string& path) {
    const auto value = property_lists::read(path);
    const auto* record = value ? value->as<Dictionary>() : nullptr;
    const auto* number = record != nullptr ? record->get<std::int64_t>("Version") : nullptr;
    if (number == nullptr || *number != version) return std::nullopt;
    return BuildRecord{.port = textOf(*record, "Port"),
                       .master = textOf(*record, "Master"),
                       .engine = textOf(*record, "Engine"),
                       .components = textsOf(*record, "Components"),
                       .stages = textsOf(*record, "Stages"),
                       .files = filesOf(*record),
                       .isFinished = isSet(*record, "Finished"),
                       .isBuiltOver = isSet(*record, "Built Over")};
}

Array listOf(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

}  // namespace

std::optional<UsedFile> UsedFile::at(const std::string& path, const std::string& link) {
    const auto place = files::resolved(path);
    const auto sum = place ? digest::sha256OfFile(*place) : std::nullopt;
    const auto size = place ? files::size(*place) : std::nullopt;
    if (!sum || !size) return std::nullopt;
    return UsedFile{.link = link, .name = files::lastComponent(path), .size = *size, .sum = *sum};
}

std::optional<BuildRecord> BuildRecord::of(const Wrapper& wrapper) {
    return recordAt(wrapper.buildRecord());
}

Result<BuildRecord> BuildRecord::readLock(const std::string& path) {
    const auto record = recordAt(path);
    if (!record || !record->isFinished) {
        return Failure{localized("%@ is no lock of a finished wrapper.", {path}),
                       {},
                       localized("\"morvane lock APP\" prints one.")};
    }
    return *record;
}

std::string BuildRecord::xml() const {
    Array used;
    for (const UsedFile& file : files) {
        Dictionary entry{
            {"Name", file.name}, {"Size", static_cast<std::int64_t>(file.size)}, {"SHA-256", file.sum}};
        if (!file.link.empty()) entry.set("Link", file.link);
        used.emplace_back(std::move(entry));
    }
    return property_lists::xml(Dictionary{{"Version", version},
                                          {"Port", port},
                                          {"Master", master},
                                          {"Engine", engine},
                                          {"Components", listOf(components)},
                                          {"Stages", listOf(stages)},
                                          {"Finished", isFinished},
                                          {"Built Over", isBuiltOver},
                                          {"Files", std::move(used)}});
}

Result<> BuildRecord::writeTo(const Wrapper& wrapper) const {
    return files::write(wrapper.buildRecord(), xml(), files::Atomically::yes);
}

void BuildRecord::add(const UsedFile& file) {
    const auto same = [&file](const UsedFile& known) {
        return known.link == file.link && (!file.link.empty() || known.name == file.name);
    };
    const auto known = std::ranges::find_if(files, same);
    known != files.end() ? * known = file : files.emplace_back(file);
}

void BuildRecord::addComponent(const std::string& component) {
    if (std::ranges::find(components, component) == components.end()) components.push_back(component);
}

Result<> BuildRecord::allows(const UsedFile& file) const {
    const auto isIt = [&file](const UsedFile& known) {
        return known.link == file.link && known.sum == file.sum && known.size == file.size;
    };
    if (std::ranges::any_of(files, isIt)) return {};
    const auto known = std::ranges::find_if(files, [&file](const UsedFile& each) {
        return file.link.empty() ? each.name == file.name : each.link == file.link;
    });
    const std::string what = file.link.empty() ? file.name : file.link;
    if (known == files.end()) return Failure{localized("The lock does not know %@.", {what})};
    return Failure{localized("%@ is not the file of the lock", {what}),
                   localized("its SHA-256 is %@ and not %@", {file.sum, known->sum})};
}

bool isUnfinished(const Wrapper& wrapper) {
    const auto record = BuildRecord::of(wrapper);
    return record && !record->isFinished;
}

}  // namespace morvane
