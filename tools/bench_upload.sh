#!/bin/sh
# Upload benchmark: posts one large multipart file to upload_img.asp, checks
# the stored size and prints the elapsed time and the server's peak resident
# memory, which must stay far below the body size.
#   tools/bench_upload.sh [SIZE_MB]            against build/release/tavelor serve
#   tools/bench_upload.sh --inproc [SIZE_MB]   through the dispatcher in-process
set -eu
cd "$(dirname "$0")/.."
MODE=serve
if [ "${1:-}" = "--inproc" ]; then MODE=inproc; shift; fi
SIZE_MB=${1:-200}
BIN=build/release/tavelor
[ -x "$BIN" ] || { echo "build first: cmake --preset release && cmake --build --preset release -j2" >&2; exit 1; }

WORK=$(mktemp -d /tmp/tavelor-bench-XXXXXX)
SERVER_PID=
cleanup() {
    [ -n "$SERVER_PID" ] && kill "$SERVER_PID" 2>/dev/null || true
    rm -rf "$WORK"
}
trap cleanup EXIT INT TERM

"$BIN" init "$WORK/site" >/dev/null
head -c $((SIZE_MB * 1048576)) /dev/urandom > "$WORK/payload.bin"
BYTES=$(stat -c %s "$WORK/payload.bin")

if [ "$MODE" = serve ]; then
    PORT=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
    "$BIN" serve "$WORK/site" --port "$PORT" --log "$WORK/app.log" >"$WORK/serve.out" 2>&1 &
    SERVER_PID=$!
    i=0
    until curl -s -o /dev/null "http://127.0.0.1:$PORT/login.asp"; do
        i=$((i + 1)); [ $i -lt 100 ] || { echo "server did not start" >&2; cat "$WORK/serve.out" >&2; exit 1; }
        sleep 0.1
    done
    BASE=$(awk '/^VmHWM/ {print $2}' /proc/$SERVER_PID/status)
    START=$(date +%s.%N)
    ANSWER=$(curl -s -F "filepath=./Datas/" -F "file_name=@$WORK/payload.bin;filename=bench.bin" \
        "http://127.0.0.1:$PORT/upload_img.asp" | iconv -f GB18030 -t UTF-8)
    END=$(date +%s.%N)
    HWM=$(awk '/^VmHWM/ {print $2}' /proc/$SERVER_PID/status)
    ELAPSED=$(echo "$END - $START" | bc)
else
    DRIVER="$WORK/driver"
    g++ -std=c++20 -O2 -I. tools/bench_upload_driver.cpp \
        $(find build/release/CMakeFiles/tavelor_core.dir -name '*.o') -lsqlite3 -lpthread -o "$DRIVER"
    B="----benchboundary7d1"
    {
        printf -- '--%s\r\nContent-Disposition: form-data; name="filepath"\r\n\r\n./Datas/\r\n' "$B"
        printf -- '--%s\r\nContent-Disposition: form-data; name="file_name"; filename="bench.bin"\r\n' "$B"
        printf 'Content-Type: application/octet-stream\r\n\r\n'
        cat "$WORK/payload.bin"
        printf -- '\r\n--%s--\r\n' "$B"
    } > "$WORK/body"
    OUT=$("$DRIVER" "$WORK/site" "$WORK/body" "$B")
    ANSWER=$(echo "$OUT" | sed -n 's/^answer //p' | iconv -f GB18030 -t UTF-8)
    ELAPSED=$(echo "$OUT" | awk '/^seconds/ {print $2}')
    BASE=$(echo "$OUT" | awk '/^vmhwm_before_kb/ {print $2}')
    HWM=$(echo "$OUT" | awk '/^vmhwm_kb/ {print $2}')
fi

SAVED=$(stat -c %s "$WORK/site/Datas/bench.bin" 2>/dev/null || echo missing)
echo "mode:            $MODE"
echo "payload bytes:   $BYTES"
echo "saved bytes:     $SAVED"
echo "answer:          $ANSWER" | head -c 200; echo
echo "elapsed seconds: $ELAPSED"
echo "peak RSS (VmHWM) before: ${BASE} kB, after: ${HWM} kB (body: $((BYTES / 1024)) kB)"
[ "$SAVED" = "$BYTES" ] || { echo "FAIL: stored size differs" >&2; exit 1; }
cmp -s "$WORK/payload.bin" "$WORK/site/Datas/bench.bin" || { echo "FAIL: stored bytes differ" >&2; exit 1; }
[ "$HWM" -lt $((BYTES / 1024 / 4)) ] || { echo "FAIL: peak memory is not far below the body size" >&2; exit 1; }
echo "ok"
