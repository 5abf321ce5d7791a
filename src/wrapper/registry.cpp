#include "wrapper/registry.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "wrapper/layout.h"

namespace morvane::NSUtilities {
namespace {

constexpr std::string_view blockEnd = "\n\n";
constexpr std::size_t roomForABlock = 4096;  // bytes: what is added to a text seldom moves it

/// A header counts only at the start of a line: a value whose data holds the same text is no block, and
/// taking it for one would cut that value in two.
std::size_t findHeader(std::string_view text, std::string_view header, std::size_t from) {
    if (header.empty()) return std::string_view::npos;
    std::size_t at = text.find(header, from);
    while (at != std::string_view::npos && at > 0 && text[at - 1] != '\n') at = text.find(header, at + 1);
    return at;
}

std::string valueLines(std::string_view text, std::string_view header) {
    const std::size_t at = findHeader(text, header, 0);
    if (at == std::string_view::npos) return {};
    std::string_view block = text.substr(at + header.size());
    block = block.substr(0, block.find(blockEnd));
    const std::size_t headerLineEnd = block.find('\n');
    if (headerLineEnd == std::string_view::npos) return {};
    return std::string(block.substr(headerLineEnd + 1));
}

/// No more than two line feeds in a row.
std::string withShortGaps(std::string text) {
    constexpr std::string_view longGap = "\n\n\n";
    std::size_t at = text.find(longGap);
    if (at == std::string::npos) return text;
    std::size_t kept = at += blockEnd.size();
    while (at < text.size()) {
        at = std::min(text.find_first_not_of('\n', at), text.size());
        const std::size_t next = std::min(text.find(longGap, at), text.size());
        const std::size_t end = next < text.size() ? next + blockEnd.size() : next;
        std::copy(text.begin() + static_cast<std::ptrdiff_t>(at),
                  text.begin() + static_cast<std::ptrdiff_t>(end),
                  text.begin() + static_cast<std::ptrdiff_t>(kept));
        kept += end - at;
        at = end;
    }
    text.resize(kept);
    return text;
}

std::string withoutKey(std::string_view text, std::string_view header) {
    std::string kept;
    kept.reserve(text.size() + roomForABlock);
    std::size_t from = 0;
    while (from < text.size()) {
        const std::size_t at = findHeader(text, header, from);
        kept += text.substr(from, at == std::string_view::npos ? at : at - from);
        if (at == std::string_view::npos) break;
        // The gap after the block stays; with the gap before it, it is made short again below.
        from = std::min(text.find(blockEnd, at), text.size());
    }
    return withShortGaps(std::move(kept));
}

std::string withBlock(std::string text, std::string_view block) {
    return std::move(text.append("\n\n\n").append(block));
}

std::optional<std::string> readFile(const std::string& path) {
    return MVString::stringWithContentsOfFile(path, Encoding::ascii);
}

/// One edit of a registry file: read whole, changed, replaced at once, so that a kill in between leaves the
/// old file. A file that is there but cannot be read (reported by the reading) is left as it is: to write
/// would be to lose it.
void edit(const std::string& name, const std::string& wrapper,
          const std::function<std::string(const std::string&)>& change) {
    const std::string path = getPathForRegistryFile(name, wrapper);
    const std::optional<std::string> text = readFile(path);
    if (!text && files::kindOf(path) != files::Kind::none) return;
    MVString::writeToFile(change(text.value_or("")), path, MVString::Atomically::yes, Encoding::ascii);
}

std::string marker(std::string_view valueName) {
    return "\"" + std::string(valueName) + "\"=";
}

}  // namespace

std::string getPathForRegistryFile(const std::string& name, const std::string& wrapper) {
    return wrapper + layout::resources + "/" + name + ".reg";
}

std::string getRegistry(const std::string& header, const std::string& name, const std::string& wrapper) {
    const std::optional<std::string> text = readFile(getPathForRegistryFile(name, wrapper));
    return text ? valueLines(*text, header) : "";
}

std::vector<std::string> getRegistriesWithGramar(const std::string& pattern, const std::string& name,
                                                 const std::string& wrapper) {
    const std::size_t star = pattern.find('*');
    if (star == std::string::npos) return {};
    const std::string head = pattern.substr(0, star), tail = pattern.substr(star + 1);
    const std::optional<std::string> file = readFile(getPathForRegistryFile(name, wrapper));
    if (!file) return {};

    const std::string_view text = *file;
    std::vector<std::string> blocks;
    for (std::size_t at = findHeader(text, head, 0); at != std::string_view::npos;) {
        const std::size_t next = findHeader(text, head, at + head.size());
        std::string_view block = text.substr(at, next == std::string_view::npos ? next : next - at);
        block = block.substr(0, block.find(blockEnd));
        const std::string_view headerLine = block.substr(0, block.find('\n'));
        // A header line alone is no content, also when the file's last line feed follows it.
        const bool hasLines = block.size() > headerLine.size() + 1;
        if (hasLines && MVString::contains(headerLine, tail)) blocks.emplace_back(block);
        at = next;
    }
    return blocks;
}

void addRegistry(const std::string& block, const std::string& name, const std::string& wrapper) {
    edit(name, wrapper, [&](const std::string& text) { return withBlock(text, block); });
}

void deleteRegistry(const std::string& header, const std::string& name, const std::string& wrapper) {
    // Without a file there is no key, and an empty file in its place would pass for a prefix that has been
    // created.
    if (!MVFileManager::fileExistsAtPath(getPathForRegistryFile(name, wrapper))) return;
    edit(name, wrapper, [&](const std::string& text) { return withoutKey(text, header); });
}

std::string getValueForKey(std::string_view valueName, std::string_view lines) {
    return getFragmentAfter(marker(valueName), "\n", lines);
}

std::string getStringValueForKey(std::string_view valueName, std::string_view lines) {
    return getFragmentAfter(marker(valueName) + "\"", "\"", lines);
}

std::string setOnRegistry(const std::string& lines, const std::optional<std::string>& data,
                          const std::string& valueName) {
    const std::string mark = marker(valueName);
    const std::size_t at = lines.find(mark);
    if (at == std::string::npos) return data ? mark + *data + "\n" + lines : lines;

    const std::size_t dataStart = at + mark.size();
    const std::size_t dataEnd = std::min(lines.find('\n', dataStart), lines.size());
    if (data) return lines.substr(0, dataStart) + *data + lines.substr(dataEnd);
    return MVString::replacedAll(lines.substr(0, at) + lines.substr(dataEnd), "\n\n", "\n");
}

std::string setOnRegistryStringValue(const std::string& lines, const std::string& text,
                                     const std::string& valueName) {
    return setOnRegistry(lines, "\"" + text + "\"", valueName);
}

void replaceRegistryLines(const std::string& header,
                          const std::function<std::string(const std::string& lines)>& change,
                          const std::string& name, const std::string& wrapper) {
    edit(name, wrapper, [&](const std::string& text) {
        return withBlock(withoutKey(text, header), header + "\n" + change(valueLines(text, header)) + "\n");
    });
}

void replaceRegistryStrings(const std::string& header, const std::vector<RegistryString>& values,
                            const std::string& name, const std::string& wrapper) {
    const auto change = [&](std::string lines) {
        if (!lines.empty()) lines += "\n";
        for (const RegistryString& value : values) {
            lines = setOnRegistryStringValue(lines, value.text, value.name);
        }
        return lines;
    };
    replaceRegistryLines(header, change, name, wrapper);
}

bool saveUserOverrides(const Array& fragments, const std::string& wrapper) {
    for (const Value& fragment : fragments) {
        const std::string* block = fragment.as<std::string>();
        if (block == nullptr) continue;
        const std::string header = "[" + getFragmentAfter("[", "]", *block) + "]";
        edit("user", wrapper,
             [&](const std::string& text) { return withBlock(withoutKey(text, header), *block); });
    }
    return true;
}

}  // namespace morvane::NSUtilities
