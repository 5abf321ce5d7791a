#!/bin/sh
# Hands on to the machine's own 7-Zip, whatever its name.
own=$(cd "${0%/*}" && pwd -P)
set -f
IFS=:
for name in 7zz 7z 7za 7zr; do
    for folder in ${PATH:-/usr/local/bin:/usr/bin:/bin}; do
        [ -f "$folder/$name" ] && [ -x "$folder/$name" ] || continue
        [ "$(cd "$folder" && pwd -P)" = "$own" ] || exec "$folder/$name" "$@"
    done
done
echo "7-Zip is not installed. On Debian, install the package p7zip-full." >&2
exit 127
