#include "ports/port_description.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/port_data.h"

namespace morvane::port_description {
namespace {

enum class Kind { text, boolean, integer, texts, textOrTexts, picture, entries };

struct Key {
    std::string_view name;
    Kind kind;
    std::span<const Key> entryKeys = {};  ///< of the entries
};

constexpr std::array exeKeys{
    Key{"name", Kind::text},         Key{"main", Kind::text},          Key{"path", Kind::text},
    Key{"automatic", Kind::integer}, Key{"fullscreen", Kind::boolean}, Key{"virtualdesktop", Kind::integer},
    Key{"resolution", Kind::text},   Key{"colours", Kind::text},       Key{"compatibility", Kind::text},
    Key{"version", Kind::text},      Key{"icon", Kind::picture},
};
constexpr std::array driveKeys{Key{"name", Kind::text}, Key{"place", Kind::text},
                               Key{"typeName", Kind::text}};
constexpr std::array extensionKeys{Key{"app", Kind::text}, Key{"func", Kind::text}};
constexpr std::array menuKeys{Key{"name", Kind::text}, Key{"type", Kind::text}, Key{"desc", Kind::text}};
constexpr std::array extraFileKeys{Key{"origin", Kind::text}, Key{"destiny", Kind::text},
                                   Key{"autorun", Kind::boolean}};

constexpr std::array ckiKeys{
    Key{"CKI Version", Kind::text},
    Key{"Creator", Kind::text},
    Key{"Creator Mail", Kind::text},
    Key{"Source", Kind::text},
    Key{"Port Type", Kind::text},
    Key{"Engine", Kind::text},
    Key{"Engine Custom Link", Kind::text},
    Key{"Company", Kind::text},
    Key{"WrapperMenu", Kind::entries, menuKeys},
    Key{"Drives", Kind::entries, driveKeys},
    Key{"Extensions", Kind::entries, extensionKeys},
    Key{"MacDriver", Kind::boolean},
    Key{"Decorate", Kind::boolean},
    Key{"Direct3D Boost", Kind::boolean},
    Key{"Winetricks", Kind::textOrTexts},
    Key{"EXEs", Kind::entries, exeKeys},
    Key{"Before Extra Files", Kind::entries, extraFileKeys},
    Key{"After Extra Files", Kind::entries, extraFileKeys},
    Key{"Extra Files", Kind::entries, extraFileKeys},
    Key{"Original Installer Needed", Kind::boolean},
    Key{"Original Installer Name", Kind::text},
    Key{"Button 1", Kind::boolean},
    Key{"Button 2", Kind::boolean},
    Key{"Button 3", Kind::boolean},
    Key{"Button 4", Kind::boolean},
    Key{"Button 5", Kind::boolean},
    Key{"Button 6", Kind::boolean},
    Key{"Button 7", Kind::boolean},
    Key{"Overrides", Kind::texts},
    Key{"ExesDLLsOverrides", Kind::texts},
    Key{"DLLsOverrides", Kind::text},
    Key{"OpenGLOverrides", Kind::text},
    Key{"Direct3DOverrides", Kind::text},
    Key{"Is Steam", Kind::boolean},
    Key{"Is Origin", Kind::boolean},
    Key{"Is Uplay", Kind::boolean},
    Key{"Is GOG Galaxy", Kind::boolean},
    Key{"FnToggle Default Value", Kind::boolean},
};

std::string_view wordFor(Kind kind) {
    switch (kind) {
        case Kind::text:
            return marked("a text");
        case Kind::boolean:
            return marked("a boolean");
        case Kind::integer:
            return marked("an integer");
        case Kind::texts:
            return marked("a list of texts");
        case Kind::textOrTexts:
            return marked("a text or a list of texts");
        case Kind::picture:
            return marked("the path of a picture");
        case Kind::entries:
            return marked("a list of dictionaries");
    }
    return "";
}

template <class T>
bool isListOf(const Value& value) {
    const auto* list = value.as<Array>();
    return list != nullptr && std::all_of(list->begin(), list->end(),
                                          [](const Value& element) { return element.as<T>() != nullptr; });
}

bool fits(const Value& value, Kind kind) {
    const bool isText = value.as<std::string>() != nullptr;
    const bool isInteger = value.as<std::int64_t>() != nullptr || value.as<bool>() != nullptr;
    switch (kind) {
        case Kind::text:
        case Kind::picture:
            return isText;
        case Kind::boolean:
            return isText || isInteger || value.as<double>() != nullptr;
        case Kind::integer:
            return isInteger;
        case Kind::texts:
            return isListOf<std::string>(value);
        case Kind::textOrTexts:
            return isText || isListOf<std::string>(value);
        case Kind::entries:
            return isListOf<Dictionary>(value);
    }
    return false;
}

Result<Value> pictureAt(const std::string& path, std::string_view key) {
    auto contents = files::read(path);
    if (!contents) {
        return Failure{
            localized("The picture of the key \"%@\" cannot be read: %@", {key, contents.error().why})};
    }
    auto& bytes = *contents;
    const auto picture = pictures::decode(bytes);
    if (!picture)
        return Failure{localized("The picture of the key \"%@\" cannot be decoded: %@", {key, path})};
    return Value(ImageData{std::move(bytes), static_cast<double>(picture->width),
                           static_cast<double>(picture->height)});
}

/// The dictionary with its values checked and its pictures read. `where` names the dictionary: "EXEs 1: ".
Result<Dictionary> checked(const Dictionary& dictionary, std::span<const Key> keys, const std::string& folder,
                           const std::string& where);

Result<Value> checkedValue(const Value& value, const Key& key, const std::string& folder,
                           const std::string& name) {
    if (!fits(value, key.kind)) {
        return Failure{localized("The key \"%@\" must be %@.", {name, localized(wordFor(key.kind))})};
    }
    if (key.kind == Kind::picture) {
        const std::string& path = *value.as<std::string>();
        return pictureAt(path.starts_with("/") ? path : files::join(folder, path), name);
    }
    if (key.kind != Kind::entries) return value;
    Array entries;
    for (const Value& entry : *value.as<Array>()) {
        auto result = checked(*entry.as<Dictionary>(), key.entryKeys, folder,
                              name + " " + std::to_string(entries.size() + 1) + ": ");
        if (!result) return result.error();
        entries.push_back(std::move(*result));
    }
    return Value(std::move(entries));
}

Result<Dictionary> checked(const Dictionary& dictionary, std::span<const Key> keys, const std::string& folder,
                           const std::string& where) {
    Dictionary result;
    for (const auto& [name, value] : dictionary) {
        const auto key = std::ranges::find(keys, std::string_view(name), &Key::name);
        if (key == keys.end()) return Failure{localized("The key \"%@\" is unknown.", {where + name})};
        auto element = checkedValue(value, *key, folder, where + name);
        if (!element) return element.error();
        result.set(name, std::move(*element));
    }
    return result;
}

/// On one line, and harmless on a terminal.
std::string oneLine(std::string_view text) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        // The second control set takes two bytes in UTF-8.
        const bool isLongControl =
            code == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xa0;
        const auto control = isLongControl ? static_cast<unsigned char>(text[++i]) : code;
        if (code == '\n') {
            result += "\\n";
        } else if (code == '\t') {
            result += "\\t";
        } else if (code < 0x20 || code == 0x7f || isLongControl) {
            result += {'\\', 'x', digits[control >> 4], digits[control & 15]};
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string numberText(double number) {
    if (number == std::floor(number) && std::abs(number) < 1e15)
        return std::to_string(static_cast<std::int64_t>(number));
    return std::to_string(number);
}

std::string dateText(const Date& date) {
    constexpr std::time_t from1970To2001 = 978307200;
    constexpr double farthest = 1e11;  // some three thousand years
    if (!(std::abs(date.secondsSince2001) < farthest)) return numberText(date.secondsSince2001);
    const std::time_t seconds = from1970To2001 + static_cast<std::time_t>(std::floor(date.secondsSince2001));
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts);
    return {text.data(), length};
}

/// A report of lines; every level of nesting indents by four blanks.
class Report {
  public:
    void line(int level, std::string_view text) {
        text_.append(static_cast<std::size_t>(level) * 4, ' ').append(text).append("\n");
    }

    /// The value of a name, on the same line, or below it for lists and dictionaries.
    void value(int level, std::string_view name, const Value& shown) {
        const std::string label = oneLine(name) + ":";
        if (const auto* list = shown.as<Array>()) {
            if (list->empty()) return line(level, label + " " + localized("none"));
            line(level, label);
            for (const Value& element : *list) this->element(level + 1, element);
            return;
        }
        if (const auto* dictionary = shown.as<Dictionary>()) {
            line(level, label);
            for (const auto& [key, inner] : *dictionary) value(level + 1, key, inner);
            return;
        }
        line(level, label + " " + scalar(shown));
    }

    std::string text() && { return std::move(text_); }

  private:
    /// An element of a list: after a hyphen, the keys of an entry below one another.
    void element(int level, const Value& shown) {
        if (shown.as<Array>() != nullptr) return value(level, "-", shown);
        const auto* dictionary = shown.as<Dictionary>();
        if (dictionary == nullptr) return line(level, "- " + scalar(shown));
        line(level, "-");
        for (const auto& [key, inner] : *dictionary) value(level + 1, key, inner);
    }

    static std::string scalar(const Value& shown) {
        if (const auto* text = shown.as<std::string>()) return oneLine(*text);
        if (const auto* integer = shown.as<std::int64_t>()) return std::to_string(*integer);
        if (const auto* real = shown.as<double>()) return numberText(*real);
        if (const auto* flag = shown.as<bool>()) return localized(*flag ? marked("yes") : marked("no"));
        if (const auto* date = shown.as<Date>()) return dateText(*date);
        if (const auto* data = shown.as<Data>()) {
            return localized("%@ bytes of data", {std::to_string(data->bytes.size())});
        }
        if (const auto* styled = shown.as<StyledText>()) return oneLine(styled->text);
        if (const auto* image = shown.as<ImageData>()) {
            const std::string_view kind = pictures::kindOf(image->bytes);
            return localized("%@ picture, %@ x %@ points, %@ bytes",
                             {kind.empty() ? "unknown" : kind, numberText(image->width),
                              numberText(image->height), std::to_string(image->bytes.size())});
        }
        return localized("nothing");
    }

    std::string text_;
};

Array texts(const std::vector<std::string>& list) {
    return {list.begin(), list.end()};
}

Array extraFiles(const std::vector<ExtraFileEntry>& entries) {
    Array result;
    for (const ExtraFileEntry& entry : entries) {
        result.push_back(entry.origin.value_or("") + " -> " + entry.destiny.value_or("") +
                         (entry.autorun ? localized(" (run)") : ""));
    }
    return result;
}

/// What a reader of the keys alone would not see: defaults, older keys under their new names, what the file's
/// name says.
Array clients(const NSPortData& port) {
    Array result;
    if (port.isSteam) result.emplace_back("Steam");
    if (port.isOrigin) result.emplace_back("Origin");
    if (port.isUplay) result.emplace_back("Uplay");
    if (port.isGogGalaxy) result.emplace_back("GOG Galaxy");
    return result;
}

void addPortData(Report& report, const NSPortData& port) {
    report.line(0, "");
    report.line(0, localized("Read as:"));
    report.value(1, "Engine", port.engine ? Value(*port.engine) : Value());
    report.value(1, "Winetricks", texts(port.winetricks));
    report.value(1, "Before Extra Files", extraFiles(port.extraFilesBeforeInstaller));
    report.value(1, "After Extra Files", extraFiles(port.extraFilesAfterInstaller));
    report.value(1, "Original Installer Needed", port.originalInstallerNeeded);
    report.value(1, "Overrides", port.overrides);
    report.value(1, "DRM", clients(port));
    const auto main =
        std::find_if(port.exes.begin(), port.exes.end(), [](const ExeEntry& exe) { return exe.isMain; });
    report.value(1, "Main EXE", main != port.exes.end() ? Value(main->path) : Value());
}

}  // namespace

Result<Dictionary> read(const std::string& path) {
    if (files::kindBehind(path) != files::Kind::file) {
        return Failure{localized("There is no description at %@.", {path})};
    }
    const auto plist = property_lists::read(path);
    const auto* dictionary = plist ? plist->as<Dictionary>() : nullptr;
    if (dictionary == nullptr) return Failure{localized("%@ is no property list of a dictionary.", {path})};
    return checked(*dictionary, ckiKeys, files::parent(path), "");
}

Result<std::string> shown(const std::string& path) {
    const bool isDescription = MVString::lowercased(files::extension(path)) == "ckii";
    auto loaded = NSUtilities::loadArchivedObjectFromFile(path, isDescription ? "CKII" : "CKI");
    if (!loaded) return loaded.error();
    const Dictionary& dictionary = *loaded->as<Dictionary>();
    Report report;
    for (const auto& [key, value] : dictionary) report.value(0, key, value);
    if (!isDescription) addPortData(report, NSPortData::initWithDictionary(dictionary, path));
    return std::move(report).text();
}

}  // namespace morvane::port_description
