#!/bin/sh
# mount -t cd9660 -r DEVICE FOLDER: the file system of discs under the name that it has here. Any other command line is
# handed on to the machine's own mount as it is.
# Where that one refuses (only root may mount, a kernel may lack the file system), fuseiso shows the disc at the folder,
# or else the desktop's disc service mounts it where it likes and the folder, which is empty, becomes a link to there.
own=/usr/bin/mount
[ -x "$own" ] || own=/bin/mount
[ "$# $1 $2 $3" = "5 -t cd9660 -r" ] || exec "$own" "$@"
device=$4
folder=$5

refusal=$("$own" -t iso9660 -r "$device" "$folder" 2>&1) && exit
status=$?
# Its helper stays while the disc is mounted: it must not hold the caller's pipe.
fuseiso -n "$device" "$folder" -o ro >/dev/null 2>&1 && exit
udisksctl mount --no-user-interaction -b "$device" -t iso9660 -o ro >/dev/null 2>&1
# The desktop may have mounted it by itself before.
place=$(findmnt -n -l -o TARGET -t iso9660 -S "$device" 2>/dev/null | head -n 1)
[ -n "$place" ] && rmdir "$folder" 2>/dev/null && ln -s "$place" "$folder" && exit
[ -z "$place" ] || refusal="mount: $device is mounted at $place, and $folder cannot be made a link to there."
echo "$refusal" >&2
exit "$status"
