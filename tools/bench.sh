#!/usr/bin/env bash
# Throughput and latency of the served site over loopback, with wrk: a page
# (/login.asp) and a static file (/style.css), keep-alive connections.
# A benchmark, not a test: the figures depend on the machine.
# Usage: tools/bench.sh [SECONDS=10] [CONNECTIONS=50] [WORKERS]
set -euo pipefail
cd "$(dirname "$0")/.."
secs="${1:-10}"
conns="${2:-50}"
workers="${3:-}"

command -v wrk >/dev/null || { echo "wrk is missing: apt-get install -y wrk" >&2; exit 1; }
command -v curl >/dev/null || { echo "curl is missing: apt-get install -y curl" >&2; exit 1; }

# Incremental: quick when the build is up to date.
[ -f build/release/CMakeCache.txt ] || cmake --preset release >/dev/null
cmake --build --preset release --target tavelor -j2 >/dev/null

tmp="$(mktemp -d /tmp/tavelor-bench-XXXXXX)"
pid=""
cleanup() {
  if [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; then
    kill -TERM "$pid"
    wait "$pid" || true
  fi
  rm -rf "$tmp"
}
trap cleanup EXIT

build/release/tavelor init "$tmp/site" >/dev/null
port="$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')"
args=(serve "$tmp/site" --port "$port" --log "$tmp/app.log")
[ -n "$workers" ] && args+=(--workers "$workers")
build/release/tavelor "${args[@]}" >"$tmp/serve.out" 2>&1 &
pid=$!

base="http://127.0.0.1:$port"
for _ in $(seq 100); do
  curl -s -o /dev/null "$base/login.asp" && break
  kill -0 "$pid" 2>/dev/null || { echo "server did not start:" >&2; cat "$tmp/serve.out" >&2; exit 1; }
  sleep 0.2
done

echo "tavelor serve on port $port, $(nproc) cores, wrk: ${secs}s, $conns connections, 2 threads"
for path in /login.asp /style.css; do
  code="$(curl -s -o /dev/null -w '%{http_code}' "$base$path")"
  echo
  echo "== GET $path (answers $code)"
  wrk -t2 -c"$conns" -d"${secs}s" --latency "$base$path" |
    grep -E 'Latency|Requests/sec|Transfer/sec| 50%| 90%| 99%|Non-2xx|Socket errors|requests in'
done
echo
echo "== GET /login.asp, Connection: close"
wrk -t2 -c"$conns" -d"${secs}s" --latency -H 'Connection: close' "$base/login.asp" |
  grep -E 'Latency|Requests/sec| 99%|Non-2xx|Socket errors'
