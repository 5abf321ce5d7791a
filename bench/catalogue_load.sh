#!/bin/sh
# The catalogue under load: fifty clients at once for a minute that list, read descriptions and vote, then each kind of
# request alone, beside a static file from the same server and from nginx in the same run.
#
#     bench/catalogue_load.sh [PORTS [SECONDS]]        20000 and 60; SECONDS is the length of the mixed run
#
# Needs build/release/bin/morvane (or $MORVANE), ab (apache2-utils), curl, sqlite3 and, to compare with, nginx. Everything
# lies in a folder of its own, which is removed at the end. Fails when an answer was wrong or a vote is missing.
set -eu
cd "$(dirname "$0")/.."
ports=${1:-20000} seconds=${2:-60}
export MORVANE="${MORVANE:-build/release/bin/morvane}"
morvane=$MORVANE
work=$(mktemp -d)
processes=

finish() {
    status=$?
    trap - EXIT INT TERM
    for process in $processes; do kill "$process" 2>/dev/null || true; done
    wait
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT
trap 'exit 130' INT TERM

bench/make_catalogue "$work/content" "$ports"
mkdir -p "$work/content/files"
head -c 1200 /dev/zero | tr '\0' x >"$work/content/files/small"

"$morvane" serve --content "$work/content" --listen 127.0.0.1:0 --votes-per-hour 100000000 >"$work/address" &
server=$!
processes=$server
while [ ! -s "$work/address" ]; do sleep 0.1; done
base=$(cat "$work/address")
curl -sf "${base}ckis/listPorts.php?developer=0&country=--" >"$work/content/files/list"

nginx=
if command -v nginx >/dev/null; then
    nginx=http://127.0.0.1:18391/
    cat >"$work/nginx.conf" <<END
daemon off; worker_processes 2; pid $work/nginx.pid; error_log $work/nginx.log;
events { worker_connections 256; }
http { access_log off; server { listen 127.0.0.1:18391; root $work/content/files; keepalive_requests 1000000; } }
END
    chmod 755 "$work"
    nginx -p "$work" -c "$work/nginx.conf" &
    processes="$processes $!"
    sleep 0.5
fi

# The vote page's cookie and token, and the form.
page="${base}ckis/facebook/ratePort.php"
curl -s -c "$work/cookies" "$page?card=NVIDIA&rate=4&game=2" >"$work/page"
cookie=$(awk '$6 == "voter" { print $7 }' "$work/cookies")
token=$(sed -n 's/.*name="token" value="\([^"]*\)".*/\1/p' "$work/page")
printf 'game=2&card=NVIDIA&rate=4&token=%s' "$token" >"$work/vote"

# load NAME CLIENTS SECONDS ADDRESS [OPTIONS OF AB]
load() {
    name=$1 clients=$2 time=$3 address=$4
    shift 4
    ab -q -l -k -s 60 -c "$clients" -t "$time" -n 100000000 "$@" "$address" >"$work/$name.ab" 2>&1
}
vote() { load "$1" "$2" "$3" "$page" -p "$work/vote" -T application/x-www-form-urlencoded -C "voter=$cookie"; }
value() { sed -n "s/^$2: *\([0-9.]*\).*/\1/p" "$work/$1.ab"; }
percentile() { awk -v mark="$2%" '$1 == mark { print $2 }' "$work/$1.ab"; }
report() {
    [ -n "$(value "$1" 'Complete requests')" ] || { cat "$work/$1.ab" >&2; exit 1; }
    printf '%-22s %9s requests %10s a second   half within %4s ms, 99%% within %5s ms\n' "$1" \
        "$(value "$1" 'Complete requests')" "$(value "$1" 'Requests per second')" "$(percentile "$1" 50)" "$(percentile "$1" 99)"
    if [ "$(value "$1" 'Failed requests')" != 0 ] || grep -q 'Non-2xx' "$work/$1.ab"; then
        echo "$1: some requests failed" >&2
        cat "$work/$1.ab" >&2
        exit 1
    fi
}
list="${base}ckis/listPorts.php?developer=0&country=--"
description="${base}ckis/portDescription.php?id=77"

echo "== $ports ports; 50 clients at once, list, description and vote, for $seconds s"
load list-mixed 10 "$seconds" "$list" & one=$!
load description-mixed 25 "$seconds" "$description" & two=$!
vote vote-mixed 15 "$seconds" & three=$!
wait $one $two $three
for name in list-mixed description-mixed vote-mixed; do report $name; done

echo "== each alone, 50 clients for 10 s"
load description 50 10 "$description"
load rating 50 10 "${base}ckis/portRating.php?game=77"
load static-small 50 10 "${base}files/small"
load list 50 10 "$list"
load static-list 50 10 "${base}files/list"
vote vote 50 10
names='description rating static-small list static-list vote'
if [ -n "$nginx" ]; then
    load nginx-small 50 10 "${nginx}small"
    load nginx-list 50 10 "${nginx}list"
    names="$names nginx-small nginx-list"
fi
for name in $names; do report "$name"; done
ratio() {
    [ -s "$work/$2.ab" ] || return 0
    awk -v a="$(value "$1" 'Requests per second')" -v b="$(value "$2" 'Requests per second')" -v n="$1 : $2" \
        'BEGIN { printf "%-28s %.2f\n", n, a / b }'
}
echo "== ratios of requests a second"
for pair in description:static-small description:nginx-small rating:static-small list:static-list list:nginx-list \
    static-small:nginx-small static-list:nginx-list; do
    ratio "${pair%:*}" "${pair#*:}"
done

# What ab did not wait for at the end of its time may have been written as well.
written=$(sqlite3 "$work/content/catalogue.db" 'SELECT votes FROM bench')
answered=$(($(value vote-mixed 'Complete requests') + $(value vote 'Complete requests')))
echo "== votes answered: $answered, votes written: $written"
[ "$written" -ge "$answered" ]

echo "== one client, $ports ports"
for query in "listPorts.php?developer=0&country=--" "listPorts.php?developer=1&country=BR" \
    "listPorts.php?search=star%20catcher" "listPorts.php?search=game%2077" "listPorts.php?search=stars" \
    "rankingPorts.php?type=latest&num=25&card=NVIDIA" "rankingPorts.php?type=popular&num=25&card=NVIDIA" \
    "rankingPorts.php?type=highrated&num=25&card=NVIDIA" "rankingPorts.php?type=highrated&num=25&card=other"; do
    printf '%-55s ' "$query"
    curl -sf -o /dev/null -w '%{time_total} s, %{size_download} bytes\n' "${base}ckis/$query"
done
kill -TERM "$server"
wait "$server"
