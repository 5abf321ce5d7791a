#include <gtest/gtest.h>

#include "platform/files.h"
#include "platform/pictures.h"
#include "platform/process.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class Iconutil : public ::testing::Test {
  protected:
    testing::TemporaryFolder folder;
    const std::string iconset = folder.path + "/a b.iconset";
    const std::string icon = folder.path + "/a b.icns";

    Iconutil() { EXPECT_TRUE(files::createFolder(iconset, false)); }

    void putPng(const std::string& name, int width, int height) {
        Picture picture{width, height, {}};
        for (int i = 0; i < width * height; ++i) {
            for (const int channel : {width % 256, i % 256, 7, 255}) {
                picture.rgba.push_back(static_cast<std::uint8_t>(channel));
            }
        }
        testing::TestMachine::put(iconset + "/" + name, pictures::encodePng(picture));
    }

    int run(std::vector<std::string> arguments) {
        const auto result =
            processes::run({.program = MORVANE_BUILD_FOLDER "/share/morvane/programs/iconutil",
                            .arguments = std::move(arguments),
                            .runFolder = folder.path,
                            .environment = {}});
        return result ? result->ending.shellStatus() : -1;
    }

    /// The types of the icon's entries, in order.
    std::string types() {
        const std::string bytes = testing::TestMachine::get(icon);
        std::string found;
        for (std::size_t at = 8, length = 0; at + 8 <= bytes.size(); at += std::max<std::size_t>(length, 8)) {
            length = 0;
            for (std::size_t i = 4; i < 8; ++i)
                length = length << 8U | static_cast<unsigned char>(bytes[at + i]);
            found += bytes.substr(at, 4) + " ";
        }
        return found;
    }
};

TEST_F(Iconutil, PacksEverySizeThatHasAType) {
    for (int size = 16; size <= 1024; size *= 2) {
        const std::string stem = "icon_" + std::to_string(size) + "x" + std::to_string(size);
        putPng(stem + ".png", size, size);
        putPng(stem + "@2x.png", 2 * size, 2 * size);
    }
    ASSERT_EQ(run({"-c", "icns", iconset}), 0);
    EXPECT_EQ(types(), "is32 s8mk il32 l8mk icp6 ic07 ic08 ic09 ic10 ic11 ic12 ic13 ic14 ");
    const auto picture = pictures::decode(testing::TestMachine::get(icon));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, 1024);
}

TEST_F(Iconutil, WritesTheSmallSizesInTheOldFormExactly) {
    putPng("icon_16x16.png", 16, 16);
    ASSERT_EQ(run({"--convert", "icns", "--output", "other.icns", "a b.iconset/"}), 0);
    EXPECT_EQ(files::kindOf(icon), files::Kind::none);
    const auto picture = pictures::decode(testing::TestMachine::get(folder.path + "/other.icns"));
    const auto original = pictures::decode(testing::TestMachine::get(iconset + "/icon_16x16.png"));
    ASSERT_TRUE(picture && original);
    EXPECT_EQ(picture->rgba, original->rgba);
}

TEST_F(Iconutil, FitsAPictureThatIsNoSquare) {
    putPng("icon_128x128.png", 128, 64);
    putPng("icon_256x256.png", 256, 300);
    ASSERT_EQ(run({"-c", "icns", iconset}), 0);
    const auto picture = pictures::decode(testing::TestMachine::get(icon));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, 256);
    EXPECT_EQ(picture->height, 256);
    const auto alphaAt = [&](std::size_t x, std::size_t y) { return picture->rgba[(y * 256 + x) * 4 + 3]; };
    EXPECT_EQ(alphaAt(0, 128), 0) << "room at the left";
    EXPECT_EQ(alphaAt(128, 0), 255);
    EXPECT_EQ(alphaAt(255, 128), 0) << "room at the right";
}

TEST_F(Iconutil, RefusesWhatMakesNoIcon) {
    testing::TestMachine::put(icon, "old");
    EXPECT_EQ(run({"-c", "icns", iconset}), 1) << "empty";
    testing::TestMachine::put(iconset + "/icon_32x32.png", "no picture");
    EXPECT_EQ(run({"-c", "icns", iconset}), 1) << "damaged";
    EXPECT_EQ(run({"-c", "icns", folder.path}), 1) << "not an icon set";
    EXPECT_EQ(run({"-c", "iconset", icon}), 1) << "the other way round";
    EXPECT_EQ(run({}), 1);
    EXPECT_EQ(testing::TestMachine::get(icon), "old") << "the icon that was there stays";
}

}  // namespace
}  // namespace morvane
