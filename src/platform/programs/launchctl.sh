#!/bin/sh
# launchctl list | remove LABEL: nothing is ever registered here, so there is nothing to list or to remove.
case "$1" in
list) printf 'PID\tStatus\tLabel\n' ;;
remove) ;;
*) echo "launchctl: only list and remove are understood" >&2; exit 64 ;;
esac
