#include <filesystem>

#include "foundation/file_manager.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

class FileActions : public testing::TestMachine {};

TEST_F(FileActions, ALinkAddsNothingToASize) {
    EXPECT_EQ(MVFileManager::sizeOfDirectoryAtPath(home + "/missing"), 0U);
    put(home + "/big", std::string(5000, 'x'));
    fs::create_directory(home + "/size");
    fs::create_symlink(home, home + "/size/link");
    EXPECT_EQ(MVFileManager::sizeOfDirectoryAtPath(home + "/size"), 0U);
    put(home + "/size/deep/file", "1234567");
    EXPECT_EQ(MVFileManager::sizeOfDirectoryAtPath(home + "/size"),
              7 + files::size(home + "/size/deep").value());
}

TEST_F(FileActions, TextFilesKeepToTheirEncoding) {
    EXPECT_EQ(MVString::stringWithContentsOfFile(home + "/missing", Encoding::utf8), std::nullopt);
    put(home + "/text", "caf\xC3\xA9\n");
    put(home + "/bytes", std::string("\xFF\0", 2));
    EXPECT_EQ(MVString::stringWithContentsOfFile(home + "/text", Encoding::utf8), "café\n");
    EXPECT_EQ(MVString::stringWithContentsOfFile(home + "/bytes", Encoding::eightBit),
              std::string("\xFF\0", 2));
    for (const auto& [file, encoding] : {std::pair{"/bytes", Encoding::utf8}, {"/text", Encoding::ascii}}) {
        ui.expectError("Error while reading file: ");
        EXPECT_EQ(MVString::stringWithContentsOfFile(home + file, encoding), std::nullopt);
    }
    ui.expectError("Error while reading file: Is a directory");
    EXPECT_EQ(MVString::stringWithContentsOfFile(home, Encoding::utf8), std::nullopt);

    EXPECT_TRUE(MVString::writeToFile("plain", home + "/text", files::Atomically::yes, Encoding::ascii));
    EXPECT_EQ(get(home + "/text"), "plain");
    ui.expectError("Error while writting file: ");
    EXPECT_FALSE(MVString::writeToFile("é", home + "/text", files::Atomically::no, Encoding::ascii));
    EXPECT_EQ(get(home + "/text"), "plain");
    ui.expectError("Error while writting file: No such file");
    EXPECT_FALSE(MVString::writeToFile("x", home + "/no/text", files::Atomically::yes, Encoding::utf8));
}

}  // namespace
}  // namespace morvane
