// iconutil -c icns [-o FILE] FOLDER.iconset: makes an icon file of the PNG files of a folder.
//
// The folder holds icon_NxN.png and icon_NxN@2x.png (twice as large); those that are there go into
// FOLDER.icns beside it, or into FILE. A picture that is not square, or not of the size that its name says,
// is fitted into the square. Exit code 1, and a message, when there is nothing to make an icon of, a picture
// is damaged, or the file can't be written.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/pictures.h"

namespace {

using namespace morvane;

struct Slot {
    std::string_view type;
    int edge;                               ///< pixels
    std::array<std::string_view, 2> names;  ///< the second stands in where the first is missing
};

/// 16 and 32 pixels go in the old form (below), which every reader knows. 2048 pixels have no type.
constexpr std::array slots = {
    Slot{"is32", 16, {"icon_16x16", ""}},
    Slot{"il32", 32, {"icon_32x32", ""}},
    Slot{"icp6", 64, {"icon_64x64", ""}},
    Slot{"ic07", 128, {"icon_128x128", "icon_64x64@2x"}},
    Slot{"ic08", 256, {"icon_256x256", ""}},
    Slot{"ic09", 512, {"icon_512x512", ""}},
    Slot{"ic10", 1024, {"icon_512x512@2x", "icon_1024x1024"}},
    Slot{"ic11", 32, {"icon_16x16@2x", ""}},
    Slot{"ic12", 64, {"icon_32x32@2x", ""}},
    Slot{"ic13", 256, {"icon_128x128@2x", ""}},
    Slot{"ic14", 512, {"icon_256x256@2x", ""}},
};

void appendEntry(std::string& file, std::string_view type, std::string_view data) {
    const std::size_t length = data.size() + 8;
    file += type;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) file += static_cast<char>((length >> shift) & 0xFFU);
    file += data;
}

/// One channel in the run-length form of the old types: a byte from 128 repeats the next one 3 to 130 times,
/// a byte below announces 1 to 128 bytes as they stand.
void appendPacked(std::string& packed, const std::string& channel) {
    const auto runAt = [&](std::size_t position) {
        const std::size_t end = std::min(channel.size(), position + 130);
        std::size_t i = position;
        while (i < end && channel[i] == channel[position]) ++i;
        return i - position;
    };
    for (std::size_t position = 0; position < channel.size();) {
        if (const std::size_t run = runAt(position); run >= 3) {
            packed += static_cast<char>(run + 125);
            packed += channel[position];
            position += run;
            continue;
        }
        const std::size_t start = position;
        while (position < channel.size() && position - start < 128 && runAt(position) < 3) ++position;
        packed += static_cast<char>(position - start - 1);
        packed.append(channel, start, position - start);
    }
}

void appendOldForm(std::string& file, const Slot& slot, const Picture& picture) {
    std::array<std::string, 4> channels;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i)
        channels[i % 4] += static_cast<char>(picture.rgba[i]);
    std::string packed;
    for (std::size_t c = 0; c < 3; ++c) appendPacked(packed, channels[c]);
    appendEntry(file, slot.type, packed);
    appendEntry(file, slot.type == "is32" ? "s8mk" : "l8mk", channels[3]);
}

/// The picture in the middle of a transparent square, as large as it fits.
Picture fitted(const Picture& picture, int edge) {
    const int longer = std::max(picture.width, picture.height);
    const Picture inner = pictures::scaledToWidth(
        picture,
        std::max(1, static_cast<int>(std::lround(static_cast<double>(picture.width) * edge / longer))));
    const auto side = static_cast<std::size_t>(edge);
    Picture square{edge, edge, std::vector<std::uint8_t>(side * side * 4)};
    const int height = std::min(inner.height, edge);
    const auto left = static_cast<std::size_t>((edge - inner.width) / 2);
    const auto top = static_cast<std::size_t>((edge - height) / 2);
    const std::size_t lineSize = static_cast<std::size_t>(inner.width) * 4;
    for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
        std::copy_n(inner.rgba.data() + y * lineSize, lineSize,
                    square.rgba.data() + ((top + y) * side + left) * 4);
    }
    return square;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "iconutil: %s\n", message.c_str());
    return 1;
}

/// The bytes of the slot's PNG file; nothing when the folder has none.
std::optional<std::string> pngOf(const Slot& slot, const std::string& folder, std::string& path) {
    for (const std::string_view name : slot.names) {
        path = files::join(folder, std::string(name) + ".png");
        if (name.empty() || files::kindBehind(path) != files::Kind::file) continue;
        const Result<std::string> bytes = files::read(path);
        return !bytes ? std::string() : *bytes;
    }
    return std::nullopt;
}

int makeIcns(const std::string& folder, const std::string& target) {
    std::string entries;
    for (const Slot& slot : slots) {
        std::string path;
        std::optional<std::string> png = pngOf(slot, folder, path);
        if (!png) continue;
        std::optional<Picture> picture = pictures::decode(*png);
        if (!picture || pictures::kindOf(*png) != "PNG") return fail(path + ": not a readable PNG file");
        if (picture->width != slot.edge || picture->height != slot.edge) {
            picture = fitted(*picture, slot.edge);
            png = pictures::encodePng(*picture);
        }
        if (slot.type == "is32" || slot.type == "il32") {
            appendOldForm(entries, slot, *picture);
        } else {
            appendEntry(entries, slot.type, *png);
        }
    }
    if (entries.empty()) return fail(folder + ": no icon_NxN.png file of a standard size in it");
    std::string file;
    appendEntry(file, "icns", entries);
    if (const auto done = files::write(target, file, files::Atomically::yes); !done) {
        return fail(target + ": " + done.error().why);
    }
    return 0;
}

/// Paths of `files` are absolute; a final "/" is dropped.
std::string absolutePath(const std::string& path) {
    std::string absolute = std::filesystem::absolute(path).string();
    while (absolute.size() > 1 && absolute.ends_with('/')) absolute.pop_back();
    return absolute;
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
    const std::vector<std::string> arguments(argumentValues + 1, argumentValues + argumentCount);
    std::string form, folder, target;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool isForm = argument == "-c" || argument == "--convert";
        if (isForm || argument == "-o" || argument == "--output") {
            if (++i == arguments.size()) return fail(argument + " needs a value");
            (isForm ? form : target) = arguments[i];
        } else if (argument.starts_with('-') || !folder.empty()) {
            return fail("usage: iconutil -c icns [-o FILE] FOLDER.iconset");
        } else {
            folder = argument;
        }
    }
    if (form != "icns" || folder.empty()) return fail("usage: iconutil -c icns [-o FILE] FOLDER.iconset");
    folder = absolutePath(folder);
    if (files::extension(folder) != "iconset" || files::kindBehind(folder) != files::Kind::folder) {
        return fail(folder + ": not a folder whose name ends in \".iconset\"");
    }
    return makeIcns(folder,
                    target.empty() ? files::withoutExtension(folder) + ".icns" : absolutePath(target));
}
