#!/bin/sh
# umount FOLDER: the machine's own, and what our mount did where that one refused is undone here. Any other command line
# is handed on as it is. A folder where nothing is mounted is nothing to talk about.
own=/usr/bin/umount
[ -x "$own" ] || own=/bin/umount
case "$#$1" in
1/*) ;;
*) exec "$own" "$@" ;;
esac
folder=$1

# A link of this name is one that our mount made of an empty folder.
if [ -L "$folder" ] && [ "${folder##*/}" = MV_WIN_DISC ]; then
    device=$(findmnt -n -o SOURCE --mountpoint "$(readlink -f "$folder")" 2>/dev/null)
    [ -z "$device" ] || "$own" "$device" 2>/dev/null ||
        udisksctl unmount --no-user-interaction -b "$device" >/dev/null 2>&1
    rm "$folder" && mkdir "$folder"
    exit
fi
refusal=$("$own" "$folder" 2>&1) && exit
status=$?
findmnt --mountpoint "$folder" >/dev/null 2>&1 || exit "$status"
fusermount -u "$folder" 2>/dev/null && exit
echo "$refusal" >&2
exit "$status"
