#include "wrapper/partitions.h"

#include <filesystem>

#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace NSPartitionMounter;

const std::string headings =
    "   #:                       TYPE NAME                    SIZE       IDENTIFIER\n";
const std::string systemDisk =
    "/dev/disk0 (internal, physical):\n" + headings +
    "   0:      GUID_partition_scheme                        *251.0 GB   disk0\n"
    "   1:                  Apple_HFS Macintosh HD            250.1 GB   disk0s2\n\n";
const std::string gameDisc =
    "/dev/disk2 (external, physical):\n" + headings +
    "   0:     Apple_partition_scheme                        *700.0 MB   disk2  \n"
    "   1:        Apple_partition_map                         32.3 KB    disk2s1\n"
    "   2:                  Apple_HFS Th\u00E9 game of 23 letters  350.0 MB   disk2s2\n\n";
const std::string namelessDisc =
    "/dev/disk3 (external, physical):\n" + headings +
    "   0:     Apple_partition_scheme                        *4.7 GB     disk3\n"
    "   1:        Apple_partition_map                         32.3 KB    disk3s1\n\n";
/// What a damaged table may print: a line that ends where the identifier should be.
const std::string unnumberedDisc =
    "/dev/disk5 (external, physical):\n" + headings +
    "   0:     Apple_partition_scheme                        *4.7 GB        \n"
    "   1:        Apple_partition_map                         32.3 KB    disk5s1\n\n";
const std::string plainDisc = "/dev/disk4 (external, physical):\n" + headings +
                              "   0:                            PLAIN                  *378.9 KB   disk4\n";

class Partitions : public testing::TestMachine {
  protected:
    void insert(const std::string& listing) {
        put(folder.path + "/list", listing);
        scriptProgram("diskutil", "[ \"$*\" = list ] && cat '" + folder.path + "/list'");
    }

    const std::string log = folder.path + "/log";
    const std::string discFolder = folder.path + "/Volumes/MV_WIN_DISC";
};

TEST_F(Partitions, AreMountedInPlaceOfTheOneBefore) {
    for (const std::string name : {"mount", "umount"})
        scriptProgram(name, "echo \"" + name + " $*\" >> '" + folder.path + "/log'; exit 1");
    insert(gameDisc + namelessDisc);
    ui.expect(
          "From which disc do you want to mount the Windows partition? Remember, you can only mount a "
          "Windows partition from one disc at time.")
        .titleIs("Mount Disc Windows Partition")
        .defaultIs("OK")
        .choose("No name (disk3)");
    onWorker([&] { EXPECT_EQ(mountWindowsPartition(), Mounting::tried); });
    EXPECT_EQ(get(log), "umount " + discFolder + "\nmount -t cd9660 -r /dev/disk3 " + discFolder + "\n");
    EXPECT_TRUE(std::filesystem::is_directory(discFolder));
    EXPECT_EQ(ui.opened, std::vector<std::string>{discFolder});
    EXPECT_TRUE(std::filesystem::exists(ui.dialogs.front().iconPath)) << ui.dialogs.front().iconPath;

    // Nothing is run from here on.
    std::filesystem::remove(log);
    ui.expect("From which disc").answer("Cancel");
    onWorker([&] { EXPECT_EQ(mountWindowsPartition(), Mounting::cancelled); });
    insert(systemDisk);
    ui.expectError("Please, insert a disc first and then press that button.");
    onWorker([&] { EXPECT_EQ(mountWindowsPartition(), Mounting::impossible); });
    for (const char* identifier : {"", "..", "disk2/../sda", "disk 2", "-o", "disk2\n"}) {
        ui.expectError("\"" + std::string(identifier));
        onWorker([&] { EXPECT_EQ(mountAndOpenDiscWithID(identifier), Mounting::impossible); });
    }
    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_EQ(ui.opened.size(), 1U);
}

}  // namespace
}  // namespace morvane
