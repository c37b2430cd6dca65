#!/usr/bin/env bash
# Throughput and latency of the served site over loopback, with wrk, side by
# side with nginx serving the same answer bytes from files: the polling page
# (sysmonitor.asp, logged in), the login form and a static file. nginx is the
# ceiling of what a server can do with those bytes on this machine, so the
# ratio says how much the page code and our HTTP layer cost on top.
# A benchmark, not a test: the figures depend on the machine and its load.
# Last come the input readers timed in-process at 10 KB, 1 MB and 10 MB
# (tools/bench_inputs.cpp): their ms/MB should stay about level.
# Usage: tools/bench.sh [SECONDS=10] [CONNECTIONS=50] [WORKERS] [SUITE...]
# Each SUITE names tools/bench.d/SUITE.sh, run after the rows above on the
# same server and nginx; "all" runs every one. A suite fills the store
# (python3's sqlite3 on the site's database file) and calls `row`.
set -euo pipefail
cd "$(dirname "$0")/.."
secs="${1:-10}"
conns="${2:-50}"
workers="${3:-}"
suites=("${@:4}")
[ "${suites[0]:-}" = all ] && suites=($(cd tools/bench.d 2>/dev/null && ls *.sh | sed 's/\.sh$//'))

need() { command -v "$1" >/dev/null || [ -x "/usr/sbin/$1" ] || apt-get install -y "$2" >/dev/null; }
need wrk wrk
need curl curl
need nginx nginx-light
nginx_bin="$(command -v nginx || echo /usr/sbin/nginx)"

# Incremental: quick when the build is up to date.
[ -f build/release/CMakeCache.txt ] || cmake --preset release >/dev/null
# Builds share one lock; a caller that already holds it (flock LOCK bash
# tools/bench.sh ...) must not wait for itself.
# TAVELOR_BIN=DIR runs the programs of another build (an earlier one, for
# figures before a change) without building.
bin="${TAVELOR_BIN:-build/release}"
if [ -n "${TAVELOR_BIN:-}" ]; then
  :
elif [ -n "${TAVELOR_BUILD_LOCK_HELD:-}" ] || ps -o args= -p "$PPID" | grep -q 'flock /tmp/tavelor-build.lock'; then
  cmake --build --preset release --target tavelor tavelor_bench_inputs -j2 >/dev/null
else
  flock /tmp/tavelor-build.lock cmake --build --preset release --target tavelor tavelor_bench_inputs -j2 >/dev/null
fi

tmp="$(mktemp -d /tmp/tavelor-bench-XXXXXX)"
chmod 755 "$tmp"
pid=""
ngx=""
# A suite may start more processes (extra_pids) and leave a command to run
# at the end (on_exit).
extra_pids=""
on_exit=""
cleanup() {
  for p in $pid $ngx $extra_pids; do
    if kill -0 "$p" 2>/dev/null; then
      kill -TERM "$p"
      wait "$p" || true
    fi
  done
  eval "$on_exit"
  rm -rf "$tmp"
}
trap cleanup EXIT

free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }

"$bin/tavelor" init "$tmp/site" >/dev/null
port="$(free_port)"
# Trusting loopback as a proxy lets a suite sign in more sessions than one
# address may open (it names its own address with X-Forwarded-For); the
# rows here send none.
args=(serve "$tmp/site" --port "$port" --log "$tmp/app.log" --trusted-proxy 127.0.0.1)
[ -n "$workers" ] && args+=(--workers "$workers")
"$bin/tavelor" "${args[@]}" >"$tmp/serve.out" 2>&1 &
pid=$!
base="http://127.0.0.1:$port"
for _ in $(seq 100); do
  curl -s -o /dev/null "$base/login.asp" && break
  kill -0 "$pid" 2>/dev/null || { echo "server did not start:" >&2; cat "$tmp/serve.out" >&2; exit 1; }
  sleep 0.2
done

# Logged-in sessions for the polling page: one per polling browser. The
# requests of one session take turns, so all connections on one session
# would measure one worker; wrk spreads its requests over 20 of them.
sessions=20
# signed_in_script FILE COUNT [ADDRESS_PREFIX]: signs in COUNT sessions and
# writes a wrk script that rotates their cookies. With a prefix, session i
# signs in from PREFIX.i through X-Forwarded-For (the server must trust
# loopback as its proxy), so many sessions fit under one address's cap.
# Leaves the last session's cookie in $cookie for rows of one session.
signed_in_script() {
  local out="$1" count="$2" prefix="${3:-}" i jar xff=() answer c
  echo "cookies = {" >"$out"
  for i in $(seq "$count"); do
    jar="$tmp/$(basename "$out").cookies$i"
    [ -n "$prefix" ] && xff=(-H "X-Forwarded-For: $prefix.$i")
    curl -s "${xff[@]}" -c "$jar" -b "$jar" -o /dev/null "$base/login.asp"
    answer="$(curl -s "${xff[@]}" -c "$jar" -b "$jar" -o "$tmp/login.out" -w '%{http_code}' \
      -d 'username=admin&password=admin' "$base/loginverify.asp")"
    c="$(awk '$6 == "TAVSESSION" { print "TAVSESSION=" $7 }' "$jar")"
    [ -n "$c" ] || { echo "login $i failed: $answer $(head -c 300 "$tmp/login.out")" >&2; exit 1; }
    echo "  \"$c\"," >>"$out"
    cookie="$c"
  done
  cat >>"$out" <<'LUA'
}
-- Each of wrk's two threads turns over its own half of the sessions. With
-- one list for both, their rotations ran in step, and one slow answer let
-- both pile up to the per-session cap (12) behind it: a refusal no user
-- sees, since a browser waits for its answers.
threads = 0
setup = function(thread)
  thread:set("part", threads)
  threads = threads + 1
end
n = 0
request = function()
  n = n + 1
  local i = (n * 2 + (part or 0)) % #cookies + 1
  return wrk.format(nil, nil, { ["Cookie"] = cookies[i] })
end
LUA
}
lua="$tmp/sessions.lua"
signed_in_script "$lua" "$sessions"

# The same bytes for nginx, saved from our answers.
www="$tmp/www"
mkdir -p "$www"
chmod 755 "$www"

nport="$(free_port)"
mkdir -p "$tmp/nginx"
cat >"$tmp/nginx/nginx.conf" <<CONF
worker_processes auto;
daemon off;
pid $tmp/nginx/nginx.pid;
error_log $tmp/nginx/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path $tmp/nginx/body;
  proxy_temp_path $tmp/nginx/proxy;
  fastcgi_temp_path $tmp/nginx/fastcgi;
  uwsgi_temp_path $tmp/nginx/uwsgi;
  scgi_temp_path $tmp/nginx/scgi;
  default_type text/html;
  types { text/css css; }
  server {
    listen 127.0.0.1:$nport;
    root $www;
  }
}
CONF
"$nginx_bin" -p "$tmp/nginx" -c "$tmp/nginx/nginx.conf" 2>"$tmp/nginx/start.err" &
ngx=$!
for _ in $(seq 50); do
  curl -s -o /dev/null "http://127.0.0.1:$nport/" && break
  kill -0 "$ngx" 2>/dev/null || { echo "nginx did not start:" >&2; cat "$tmp/nginx/start.err" >&2; exit 1; }
  sleep 0.1
done

# rate p99_ms non2xx for one wrk run
measure() {
  local url="$1"; shift
  wrk -t2 -c"$conns" -d"${secs}s" --latency "$@" "$url" | awk '
    /Requests\/sec/ { rate = $2 }
    / 99%/ { v = $2; if (v ~ /us$/) { sub(/us$/, "", v); v /= 1000 } else if (v ~ /ms$/) { sub(/ms$/, "", v) } else if (v ~ /s$/) { sub(/s$/, "", v); v *= 1000 }; p99 = v }
    /Non-2xx/ { bad = $5 }
    END { printf "%s %s %s\n", rate, p99, bad + 0 }'
}

echo "$(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg); wrk: ${secs}s, $conns connections, 2 threads"
printf '%-26s %12s %12s %7s %12s %12s\n' "answer" "tavelor/s" "nginx/s" "ratio" "p99 ms" "nginx p99"

# One row: our answer at PATH against nginx serving the bytes saved from it.
# WITH: "" (no cookie), "sessions" (20 logged-in admin sessions in turn),
# "one" (one admin session; nginx's figure is the row above). PATH may hold
# a query; nginx gets the saved bytes under a file name made from it.
row() {
  local name="$1" path="$2" withcookie="${3:-}"
  local extra=() file
  [ "$withcookie" = sessions ] && extra=(-s "$lua")
  [ "$withcookie" = one ] && extra=(-H "Cookie: $cookie")
  file="$(printf '%s' "${path#/}" | tr '?&=%/' '_____')"
  if [ "$withcookie" = "" ]; then
    curl -s -o "$www/$file" "$base$path"
  else
    curl -s -H "Cookie: $cookie" -o "$www/$file" "$base$path"
  fi
  chmod a+r "$www/$file"
  read -r t_rate t_p99 t_bad < <(measure "$base$path" "${extra[@]}")
  if [ "$withcookie" = one ] && [ "$file" = "${prev_file:-}" ]; then
    n_rate="$prev_rate"; n_p99="$prev_p99"
  else
    read -r n_rate n_p99 _ < <(measure "http://127.0.0.1:$nport/$file")
  fi
  prev_rate="$n_rate"; prev_p99="$n_p99"; prev_file="$file"
  ratio="$(awk -v a="$t_rate" -v b="$n_rate" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')"
  printf '%-26s %12s %12s %7s %12s %12s' "$name" "$t_rate" "$n_rate" "$ratio" "$t_p99" "$n_p99"
  [ "$t_bad" != "0" ] && printf '  (%s non-2xx!)' "$t_bad"
  echo
}

row "sysmonitor.asp ($sessions sess.)" /sysmonitor.asp sessions
row "sysmonitor.asp (1 session)" /sysmonitor.asp one
row login.asp /login.asp
row style.css /style.css

db="$tmp/site/datebase/office.mdb"
for suite in "${suites[@]}"; do
  echo "-- $suite"
  # shellcheck source=/dev/null
  source "tools/bench.d/$suite.sh"
done

if [ -x "$bin/tavelor_bench_inputs" ]; then
  echo "-- input readers (in-process, one thread, best processor time of several runs)"
  "$bin/tavelor_bench_inputs"
fi
