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

}  // namespace
}  // namespace morvane
