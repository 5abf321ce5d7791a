#include "platform/volumes.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

TEST(Volumes, AreDiscsAndWhatCanBeTakenOut) {
    const std::string table =
        "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "23 22 8:2 / /home rw - ext4 /dev/sda2 rw\n"
        "24 22 8:17 / /boot/efi rw - vfat /dev/sdb1 rw\n"
        "36 22 11:0 / /media/cdrom0 ro shared:5 master:2 - iso9660 /dev/sr0 ro\n"
        "37 22 7:0 / /srv/My\\040Disc\\0401 ro - udf /dev/loop0 ro\n"
        "38 22 8:18 / /data/stick rw - vfat /dev/sdb2 rw\n"
        "39 22 0:50 / /mnt rw - nfs server:/x rw\n"
        "40 22 8:18 /inner /data/inner rw - vfat /dev/sdb2 rw\n"
        "41 22 0:51 / /mnttoo rw - tmpfs tmpfs rw\n"
        "no line\n42 - \n";
    const auto isRemovable = [](const std::string& device) { return device == "8:17" || device == "8:18"; };
    EXPECT_EQ(volumes::mediaIn(table, isRemovable),
              (std::vector<std::string>{"/media/cdrom0", "/srv/My Disc 1", "/data/stick", "/mnt"}));
}

}  // namespace
}  // namespace morvane
