#!/usr/bin/env python3
"""Latency under hostile load, over loopback only, bounded in time and count.

While 200 idle connections sit open, 50 connections trickle a request body a
few bytes at a time and one sqlite3 process runs a long statement on the
instance's database, wrk measures style.css and sysmonitor.asp (logged in)
with a few connections. Prints p50/p99 for both, and what became of the slow
connections. Usage: python3 tools/load_check.py [SECONDS=15] [BINARY]
"""
import os, re, shutil, signal, socket, subprocess, sys, tempfile, threading, time, urllib.request, http.cookiejar

secs = min(int(sys.argv[1]) if len(sys.argv) > 1 else 15, 120)
binary = sys.argv[2] if len(sys.argv) > 2 else os.path.join(os.path.dirname(__file__), "..", "build", "release", "tavelor")
IDLE, SLOW = 200, 50

def free_port():
    s = socket.socket(); s.bind(("127.0.0.1", 0)); p = s.getsockname()[1]; s.close(); return p

tmp = tempfile.mkdtemp(prefix="tavelor-load-")
procs = []
try:
    site = os.path.join(tmp, "site")
    subprocess.run([binary, "init", site], check=True, stdout=subprocess.DEVNULL)
    port = free_port()
    srv = subprocess.Popen([binary, "serve", site, "--port", str(port), "--log", os.path.join(tmp, "app.log")],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    procs.append(srv)
    base = f"http://127.0.0.1:{port}"
    for _ in range(100):
        try:
            urllib.request.urlopen(base + "/style.css", timeout=1).read(); break
        except OSError:
            time.sleep(0.1)
    jar = http.cookiejar.CookieJar()
    opener = urllib.request.build_opener(urllib.request.HTTPCookieProcessor(jar))
    opener.open(base + "/login.asp").read()
    opener.open(base + "/loginverify.asp", data=b"username=admin&password=admin").read()
    cookie = next(f"{c.name}={c.value}" for c in jar if c.name == "TAVSESSION")

    stop = threading.Event()
    idle = []
    for _ in range(IDLE):
        s = socket.create_connection(("127.0.0.1", port)); idle.append(s)
    outcome = {"answered": 0, "closed": 0, "open": 0}
    lock = threading.Lock()

    def trickle():
        s = socket.create_connection(("127.0.0.1", port))
        s.sendall(b"POST /loginverify.asp HTTP/1.1\r\nHost: x\r\nContent-Type: application/x-www-form-urlencoded\r\n"
                  b"Content-Length: 1000000\r\n\r\n")
        s.settimeout(0.5)
        state = "open"
        while not stop.is_set():
            try:
                s.sendall(b"a=bbbbbbbb")
                data = s.recv(4096)
                state = "answered" if data else "closed"
                break
            except socket.timeout:
                continue
            except OSError:
                state = "closed"; break
        with lock:
            outcome[state] += 1
        s.close()

    slow = [threading.Thread(target=trickle, daemon=True) for _ in range(SLOW)]
    for t in slow: t.start()

    db = os.path.join(site, "datebase", "office.mdb")
    heavy = subprocess.Popen(["timeout", str(secs * 2 + 10), "sqlite3", db,
                              "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c WHERE x < 2000000000) "
                              "SELECT count(*) FROM c, user;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    procs.append(heavy)
    time.sleep(1)

    def wrk(path, extra):
        out = subprocess.run(["wrk", "-t1", "-c4", f"-d{secs // 2}s", "--latency", *extra, base + path],
                             capture_output=True, text=True).stdout
        def ms(label):
            m = re.search(rf"{label}\s+([\d.]+)(us|ms|s)\b", out)
            if not m: return float("nan")
            v = float(m.group(1)); return v / 1000 if m.group(2) == "us" else v * 1000 if m.group(2) == "s" else v
        rate = re.search(r"Requests/sec:\s+([\d.]+)", out)
        bad = re.search(r"Non-2xx or 3xx responses:\s+(\d+)", out)
        return ms("50%"), ms("99%"), float(rate.group(1)) if rate else 0.0, int(bad.group(1)) if bad else 0

    results = {"style.css": wrk("/style.css", []), "sysmonitor.asp": wrk("/sysmonitor.asp", ["-H", f"Cookie: {cookie}"])}
    heavy_running = heavy.poll() is None
    stop.set()
    for t in slow: t.join(2)
    live_idle = 0
    for s in idle:
        s.setblocking(False)
        try:
            live_idle += 0 if s.recv(1) == b"" else 1
        except BlockingIOError:
            live_idle += 1
        except OSError:
            pass
        s.close()

    print(f"load: {IDLE} idle connections, {SLOW} trickling bodies, one sqlite3 statement "
          f"({'still running' if heavy_running else 'ended early'}); wrk 4 connections, {secs // 2}s each")
    for name, (p50, p99, rate, bad) in results.items():
        verdict = "ok" if p99 <= 50 and bad == 0 else "OVER"
        print(f"  {name:16} p50 {p50:7.2f} ms  p99 {p99:7.2f} ms  {rate:9.1f} req/s  non-2xx {bad}  [{verdict}]")
    print(f"  trickling bodies at the end: {outcome}; idle connections still open: {live_idle}/{IDLE}")
finally:
    for p in procs:
        if p.poll() is None:
            p.send_signal(signal.SIGTERM)
            try: p.wait(5)
            except subprocess.TimeoutExpired: p.kill()
    shutil.rmtree(tmp, ignore_errors=True)
