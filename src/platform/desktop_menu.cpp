#include "platform/desktop_menu.h"

#include <algorithm>
#include <array>
#include <set>

#include "platform/digest.h"
#include "platform/files.h"
#include "platform/utf8.h"

namespace morvane::desktop_menu {

namespace {

constexpr std::string_view sumKey = "# Sum: ", iconKey = "X-Morvane-Icon=", fileEnding = ".desktop",
                           openEnding = ".open.desktop";
constexpr const char* typesFile = "/mime/packages/app.morvane.items.xml";
constexpr std::size_t longestName = 100;  // characters that a menu has room for

bool isControl(char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

/// A value of the kind "string".
std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        if (character == '\\')
            result += "\\\\";
        else
            result += character;
    }
    return result;
}

/// One argument in quotes, and then as a value.
std::string quoted(std::string_view argument) {
    std::string result = "\"";
    for (const char character : argument) {
        if (std::string_view("\"`$\\").find(character) != std::string_view::npos) result += '\\';
        result += character;
        if (character == '%') result += '%';
    }
    return escaped(result + "\"");
}

std::string commandLine(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& argument : command) line += (line.empty() ? "" : " ") + quoted(argument);
    return line;
}

std::string shownName(const std::string& name) {
    std::string shown = harmless(name);
    std::ranges::replace_if(shown, isControl, ' ');
    shown.erase(0, shown.find_first_not_of(' '));
    std::size_t end = 0;
    for (std::size_t characters = 0; end < shown.size() && characters < longestName; ++characters) {
        do ++end;
        while (end < shown.size() && (static_cast<unsigned char>(shown[end]) & 0xC0U) == 0x80U);
    }
    if (end < shown.size()) shown = shown.substr(0, end) + "…";
    return shown.empty() ? "?" : shown;
}

bool isPlainExtension(const std::string& extension) {
    return !extension.empty() && extension.size() <= 32 &&
           std::ranges::all_of(extension, [](unsigned char each) {
               return each < 0x80 && (std::isalnum(each) != 0 || each == '_' || each == '-' || each == '+');
           });
}

std::string typeOf(const std::string& extension) {
    return "application/x-morvane-" + extension;
}

std::string withSum(const std::string& text) {
    return text + std::string(sumKey) + digest::sha256(text) + "\n";
}

/// Whether the text is as it was made.
bool isUnchanged(const std::string& text) {
    const std::size_t sum = text.rfind(sumKey);
    return sum != std::string::npos && withSum(text.substr(0, sum)) == text;
}

std::string head(const MenuEntry& entry, std::string_view comment) {
    return "# " + std::string(comment) +
           "\n[Desktop Entry]\nType=Application\nName=" + escaped(shownName(entry.name)) +
           "\nIcon=" + entry.id + "\nTryExec=" + escaped(entry.needs) + "\nTerminal=false\n";
}

/// What opens files in the entry's programs; nothing for none.
std::string openText(const MenuEntry& entry) {
    std::string types;
    for (const std::string& extension : entry.extensions)
        if (isPlainExtension(extension)) types += typeOf(extension) + ";";
    if (types.empty() || entry.open.empty()) return "";
    return withSum(head(entry, "Made by Morvane.") + "NoDisplay=true\nExec=" + commandLine(entry.open) +
                   " %f\nMimeType=" + types + "\n");
}

std::string typesText(const std::vector<MenuEntry>& entries) {
    std::set<std::string> extensions;
    for (const MenuEntry& entry : entries)
        std::ranges::copy_if(entry.extensions, std::inserter(extensions, extensions.end()), isPlainExtension);
    if (extensions.empty()) return "";
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    for (const std::string& extension : extensions) {
        text += "  <mime-type type=\"" + typeOf(extension) + "\">\n    <glob pattern=\"*." + extension +
                "\" weight=\"40\"/>\n  </mime-type>\n";
    }
    return text + "</mime-info>\n";
}

std::string iconPath(const std::string& dataFolder, const std::string& edge, const std::string& id) {
    return dataFolder + "/icons/hicolor/" + edge + "/apps/" + id + ".png";
}

Result<> putFile(const std::string& path, const std::string& bytes) {
    if (auto made = files::createFolder(files::parent(path), true); !made) return made;
    return files::write(path, bytes, files::Atomically::yes);
}

Result<> putIcons(const std::string& dataFolder, const MenuEntry& entry) {
    for (const auto& [edge, bytes] : entry.icons) {
        const std::string size = std::to_string(edge) + "x" + std::to_string(edge);
        if (auto put = putFile(iconPath(dataFolder, size, entry.id), bytes); !put) return put;
    }
    return {};
}

void removeIcons(const std::string& dataFolder, const std::string& id) {
    const auto sizes = files::list(dataFolder + "/icons/hicolor");
    if (!sizes) return;
    for (const std::string& size : *sizes) {
        const std::string path = iconPath(dataFolder, size, id);
        if (files::kindOf(path) == files::Kind::file) static_cast<void>(files::remove(path));
    }
}

/// Brings one file to its text, which is empty for one that is to go. Whether something was changed.
Result<bool> settle(const std::string& path, const std::string& text) {
    const auto kind = files::kindOf(path);
    const auto there = kind == files::Kind::file ? files::read(path) : Result<std::string>("");
    if (!there || (kind != files::Kind::none && !isUnchanged(*there)) || *there == text) return false;
    if (text.empty()) {
        if (const auto removed = files::remove(path); !removed) return removed.error();
    } else if (const auto put = putFile(path, text); !put) {
        return put.error();
    }
    return true;
}

/// The names of the entries' files that are ours and there.
std::vector<std::string> namesIn(const std::string& folder) {
    auto names = files::list(folder).value_or(std::vector<std::string>());
    std::erase_if(names, [](const std::string& name) {
        return !name.starts_with(idStart) || !name.ends_with(fileEnding);
    });
    return names;
}

Result<bool> settleTypes(const std::string& path, const std::string& text) {
    const auto there = files::read(path);
    if ((there ? *there : "") == text) return false;
    if (const auto done = text.empty() ? files::remove(path) : putFile(path, text); !done)
        return done.error();
    return true;
}

}  // namespace

bool canBeStarted(const std::vector<std::string>& command) {
    return std::ranges::all_of(command, [](const std::string& argument) {
        return utf8::isValid(argument) && std::ranges::none_of(argument, isControl);
    });
}

std::string textOf(const MenuEntry& entry) {
    std::string text =
        head(entry, "Made by Morvane. An entry that you change is yours: Morvane leaves it alone.");
    text += "Exec=" + commandLine(entry.play) + "\nCategories=Game;\nStartupNotify=true\n" +
            std::string(iconKey) + entry.iconMark + "\n";
    if (entry.stop.empty()) return withSum(text);
    return withSum(text +
                   "Actions=play;stop;\n\n[Desktop Action play]\nName=Play\nExec=" + commandLine(entry.play) +
                   "\n\n[Desktop Action stop]\nName=Stop\nExec=" + commandLine(entry.stop) + "\n");
}

std::string iconMarkOf(const std::string& dataFolder, const std::string& id) {
    const auto text = files::read(dataFolder + "/applications/" + id + std::string(fileEnding));
    const std::size_t at = text ? text->find("\n" + std::string(iconKey)) : std::string::npos;
    if (at == std::string::npos) return "";
    const std::size_t start = at + 1 + iconKey.size();
    return text->substr(start, text->find('\n', start) - start);
}

Result<Changed> set(const std::string& dataFolder, const std::vector<MenuEntry>& entries) {
    const std::string folder = dataFolder + "/applications/";
    std::map<std::string, std::string> wanted;  // texts by names of files
    for (const MenuEntry& entry : entries) {
        wanted[entry.id + std::string(fileEnding)] = textOf(entry);
        wanted[entry.id + std::string(openEnding)] = openText(entry);
    }
    for (const std::string& name : namesIn(folder)) wanted.try_emplace(name);
    // The icons first: the entry says of what they were made.
    for (const MenuEntry& entry : entries)
        if (auto put = putIcons(dataFolder, entry); !put) return put.error();
    bool isChanged = false;
    for (const auto& [name, text] : wanted) {
        const auto settled = settle(folder + name, text);
        if (!settled) return settled.error();
        isChanged |= *settled;
        const bool isGone = *settled && text.empty() && !name.ends_with(openEnding);
        if (isGone) removeIcons(dataFolder, name.substr(0, name.size() - fileEnding.size()));
    }
    const auto types = settleTypes(dataFolder + typesFile, typesText(entries));
    if (!types) return types.error();
    return *types ? Changed::types : isChanged ? Changed::entries : Changed::nothing;
}

}  // namespace morvane::desktop_menu
