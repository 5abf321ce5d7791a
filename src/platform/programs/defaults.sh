#!/bin/sh
# defaults read -g com.apple.keyboard.fnState [-bool]: whether F1 to F12 act as function keys without Fn.
# The keyboard driver's mode 2 is that one; without the driver the setting does not exist and reads as off.
if [ "$1 $2 $3" = "read -g com.apple.keyboard.fnState" ]; then
    mode=$(cat "$MORVANE_SYSTEM_ROOT/sys/module/hid_apple/parameters/fnmode" 2>/dev/null)
    [ "$mode" = 2 ] && echo 1 || echo 0
    exit 0
fi
echo "The domain/default pair of ($2, $3) does not exist" >&2
exit 1
