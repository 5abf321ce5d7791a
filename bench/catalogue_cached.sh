#!/bin/sh
# A catalogue behind nginx with a cache, as docs/nginx.conf has it: reads and votes through it, beside plain files of the
# same sizes from the same nginx; then the same while 5,000 clients hold connections, to nginx and to the server itself.
#
#     bench/catalogue_cached.sh [PORTS [SECONDS]]      20000 and 30; SECONDS is the length of the mixed run
#
# Needs build/release/bin/morvane (or $MORVANE) and hold_connections beside it, ab (apache2-utils), curl, sqlite3 and nginx.
# Everything lies in a folder of its own, which is removed at the end. Fails when an answer was wrong, a vote is missing,
# or connections could not be held.
set -eu
cd "$(dirname "$0")/.."
ports=${1:-20000} seconds=${2:-30} held=5000
export MORVANE="${MORVANE:-build/release/bin/morvane}"
hold=$(dirname "$MORVANE")/hold_connections
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
ulimit -n "$(ulimit -Hn)"

bench/make_catalogue "$work/content" "$ports"
"$MORVANE" serve --content "$work/content" --listen 127.0.0.1:0 --behind-proxy --votes-per-hour 100000000 >"$work/address" &
processes=$!
while [ ! -s "$work/address" ]; do sleep 0.1; done
direct=$(cat "$work/address")
port=${direct##*:} port=${port%/}

# The configuration of the documentation, but for its bounds by address: all players come from this machine.
cached=http://127.0.0.1:18392/ plain=http://127.0.0.1:18391/
sed -e 's|listen 80;|listen 127.0.0.1:18392;|' -e "s|127.0.0.1:8391|127.0.0.1:$port|" \
    -e "s|/var/cache/nginx/catalogue|$work/cache|" -e '/^ *limit_/d' docs/nginx.conf >"$work/site.conf"
mkdir -p "$work/plain"
cat >"$work/nginx.conf" <<END
daemon off; worker_processes 2; worker_rlimit_nofile 20000; pid $work/nginx.pid; error_log $work/nginx.log;
events { worker_connections 12000; }
http {
    access_log off; keepalive_requests 1000000; client_body_temp_path $work/body; proxy_temp_path $work/proxy;
    server { listen 127.0.0.1:18391 backlog=1024; root $work/plain; }
    include $work/site.conf;
}
END
chmod 755 "$work"
curl -sf "${direct}ckis/listPorts.php?developer=0&country=--" >"$work/plain/list"
curl -sf "${direct}ckis/portDescription.php?id=77" >"$work/plain/description"
nginx -p "$work" -c "$work/nginx.conf" &
processes="$processes $!"
sleep 0.5

page=ckis/facebook/ratePort.php
curl -s -c "$work/cookies" "$cached$page?card=NVIDIA&rate=4&game=2" >"$work/page"
cookie=$(awk '$6 == "voter" { print $7 }' "$work/cookies")
token=$(sed -n 's/.*name="token" value="\([^"]*\)".*/\1/p' "$work/page")
printf 'game=2&card=NVIDIA&rate=4&token=%s' "$token" >"$work/vote"
list="ckis/listPorts.php?developer=0&country=--" description="ckis/portDescription.php?id=77"

# load NAME CLIENTS SECONDS ADDRESS [OPTIONS OF AB]
load() {
    output=$work/$1.ab clients=$2 time=$3 address=$4
    shift 4
    ab -q -l -k -s 60 -c "$clients" -t "$time" -n 100000000 "$@" "$address" >"$output" 2>&1
}
# Each run's votes are of an address of its own (which nginx replaces): those of one address within the hour are counted.
runs=0
vote() {
    runs=$((runs + 1))
    load "$1" "$2" "$3" "$4$page" -p "$work/vote" -T application/x-www-form-urlencoded -C "voter=$cookie" \
        -H "X-Forwarded-For: 192.0.2.$runs"
}
value() { sed -n "s/^$2: *\([0-9.]*\).*/\1/p" "$work/$1.ab"; }
percentile() { awk -v mark="$2%" '$1 == mark { print $2 }' "$work/$1.ab"; }
report() {
    [ -n "$(value "$1" 'Complete requests')" ] || { cat "$work/$1.ab" >&2; exit 1; }
    printf '%-26s %9s requests %10s a second   half within %4s ms, 99%% within %5s ms\n' "$1" \
        "$(value "$1" 'Complete requests')" "$(value "$1" 'Requests per second')" "$(percentile "$1" 50)" "$(percentile "$1" 99)"
    if [ "$(value "$1" 'Failed requests')" != 0 ] || grep -q 'Non-2xx' "$work/$1.ab"; then
        echo "$1: some requests failed" >&2
        cat "$work/$1.ab" >&2
        exit 1
    fi
}
ratio() {
    awk -v a="$(value "$1" 'Requests per second')" -v b="$(value "$2" 'Requests per second')" -v n="$1 : $2" \
        'BEGIN { printf "%-44s %.2f\n", n, a / b }'
}

echo "== $ports ports; each alone, 50 clients for 10 s, from the cache and as plain files"
for name in description list; do
    eval "request=\$$name"
    load "cached-$name" 50 10 "$cached$request"
    load "plain-$name" 50 10 "$plain$name"
    report "cached-$name"
    report "plain-$name"
done

echo "== through the cache at once for $seconds s: 35 clients read descriptions, 5 the list, 10 vote"
load mixed-list 5 "$seconds" "$cached$list" & one=$!
load mixed-description 35 "$seconds" "$cached$description" & two=$!
vote mixed-vote 10 "$seconds" "$cached" & three=$!
wait $one $two $three
for name in mixed-list mixed-description mixed-vote; do report $name; done

# holding NAME PORT HOW...: while the connections are held, the function `measured`.
holding() {
    name=$1 to=$2
    shift 2
    mkfifo "$work/$name.end"
    "$hold" 127.0.0.1 "$to" $held "$@" <"$work/$name.end" >"$work/$name.held" &
    holder=$!
    exec 9>"$work/$name.end"
    for _ in $(seq 100); do [ -s "$work/$name.held" ] || sleep 0.1; done
    measured "$name"
    exec 9>&-
    wait $holder || { echo "$name: $held connections could not be held" >&2; exit 1; }
    tail -n 1 "$work/$name.held"
}
echo "== while $held clients hold connections to nginx, idle and with half a request"
measured() { load "$1" 50 10 "$cached$description"; report "$1"; }
measured nobody-holds-nginx
holding idle-at-nginx 18392
holding half-at-nginx 18392 half
echo "== the same to the server itself, with nobody in front: descriptions and votes"
measured() {
    load "$1" 50 10 "$direct$description"
    report "$1"
    vote "$1-vote" 15 5 "$direct"
    report "$1-vote"
}
measured nobody-holds
holding idle "$port"
holding half "$port" half

echo "== ratios of requests a second"
for pair in cached-description:plain-description cached-list:plain-list idle-at-nginx:nobody-holds-nginx \
    half-at-nginx:nobody-holds-nginx idle:nobody-holds half:nobody-holds idle-vote:nobody-holds-vote half-vote:nobody-holds-vote; do
    ratio "${pair%:*}" "${pair#*:}"
done

# What ab did not wait for at the end of its time may have been written as well.
written=$(sqlite3 "$work/content/catalogue.db" 'SELECT votes FROM bench') answered=0
for name in mixed-vote nobody-holds-vote idle-vote half-vote; do
    answered=$((answered + $(value $name 'Complete requests')))
done
echo "== votes answered: $answered, votes written: $written"
[ "$written" -ge "$answered" ]
