#!/bin/sh
# fntoggle on | off: F1 to F12 as function keys without Fn, or back to the mode before.
# The mode before "on" is kept for the session: the driver has two others than the usual 1.
parameter=$MORVANE_SYSTEM_ROOT/sys/module/hid_apple/parameters/fnmode
kept=${XDG_RUNTIME_DIR:-/nonexistent}/morvane-fnmode
case "$1" in on | off) ;; *) echo "usage: fntoggle on|off" >&2; exit 64 ;; esac
mode=$(cat "$parameter" 2>/dev/null) || exit 0 # a keyboard without modes
if [ "$1" = on ]; then
    [ "$mode" = 2 ] && exit 0
    echo "$mode" 2>/dev/null >"$kept"
    wanted=2
else
    [ "$mode" = 2 ] || exit 0
    wanted=$(cat "$kept" 2>/dev/null)
    case "$wanted" in 0 | 1 | 3) ;; *) wanted=1 ;; esac
fi
[ -w "$parameter" ] || { echo "fntoggle: the keyboard's mode may not be changed by this user" >&2; exit 1; }
echo "$wanted" >"$parameter"
