#!/usr/bin/env python3
"""200 desktops left open on the chat room, over loopback, for a bounded time.

Each simulated desktop has its own login session and keep-alive connection;
it polls Chat_Show.asp every 10 s (the display frame's refresh) and
sysmonitor.asp every 30 s (the status frame), starting at a random moment of
its first period. Prints the latency percentiles of each page and the
server's CPU share over the run (from /proc/PID/stat).
Usage: python3 tools/chat_load.py BASE_URL SERVER_PID [SECONDS=60] [DESKTOPS=200]
"""
import http.client, os, random, sys, threading, time, urllib.parse

base, pid = sys.argv[1], int(sys.argv[2])
secs = min(int(sys.argv[3]) if len(sys.argv) > 3 else 60, 180)
desktops = min(int(sys.argv[4]) if len(sys.argv) > 4 else 200, 400)
url = urllib.parse.urlparse(base)
host, port = url.hostname, url.port
assert host in ("127.0.0.1", "localhost"), "loopback only"

def login():
    c = http.client.HTTPConnection(host, port, timeout=10)
    c.request("POST", "/loginverify.asp", body="username=admin&password=admin",
              headers={"Content-Type": "application/x-www-form-urlencoded"})
    r = c.getresponse(); r.read()
    cookie = next(v.split(";")[0] for k, v in r.getheaders() if k.lower() == "set-cookie" and "TAVSESSION" in v)
    return c, cookie

def cpu_ticks():
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])  # utime + stime

sessions = [login() for _ in range(desktops)]
lat = {"Chat_Show.asp": [], "sysmonitor.asp": []}
errors = []
lock = threading.Lock()
start = time.monotonic() + 0.5
end = start + secs

def desktop(conn, cookie):
    schedule = [(start + random.uniform(0, 10), 10, "Chat_Show.asp"), (start + random.uniform(0, 30), 30, "sysmonitor.asp")]
    while True:
        schedule.sort()
        at, period, page = schedule[0]
        if at >= end: return
        time.sleep(max(0, at - time.monotonic()))
        t0 = time.monotonic()
        try:
            conn.request("GET", "/" + page, headers={"Cookie": cookie})
            r = conn.getresponse(); r.read()
            ok = r.status == 200
        except (OSError, http.client.HTTPException) as e:
            ok = False
            conn.close()
            conn = http.client.HTTPConnection(host, port, timeout=10)
        took = (time.monotonic() - t0) * 1000
        with lock:
            (lat[page] if ok else errors).append(took)
        schedule[0] = (at + period, period, page)

ticks0, wall0 = cpu_ticks(), time.monotonic()
threads = [threading.Thread(target=desktop, args=s, daemon=True) for s in sessions]
for t in threads: t.start()
for t in threads: t.join(secs + 30)
ticks1, wall1 = cpu_ticks(), time.monotonic()
share = (ticks1 - ticks0) / os.sysconf("SC_CLK_TCK") / (wall1 - wall0)

def pct(v, p):
    v = sorted(v)
    return v[min(len(v) - 1, int(len(v) * p / 100))] if v else float("nan")

print(f"chat load: {desktops} desktops, {secs}s, Chat_Show.asp every 10s, sysmonitor.asp every 30s")
for page, v in lat.items():
    print(f"  {page:15} {len(v):6d} answers  p50 {pct(v, 50):7.2f} ms  p99 {pct(v, 99):7.2f} ms  max {max(v, default=0):7.2f} ms")
print(f"  failed requests: {len(errors)}; server CPU: {share * 100:.1f}% of one core "
      f"({share * 100 / os.cpu_count():.1f}% of {os.cpu_count()} cores)")
