#!/usr/bin/env python3
"""Seeded mutation testing of the C++ sources (run it through tools/mutate.sh).

The same seed on the same tree draws the same sample of mutations; each one
is patched in, built in build/mutate, checked against only the tests that ran
the mutated lines (a map made once per tree with a coverage build in
build/mutate-cov), and the file is put back. See README, "Mutation testing".
"""

import argparse
import bisect
import fcntl
import fnmatch
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCE_DIRS = ["frame", "server", "desktop", "datacentre", "mail", "collaboration",
               "filestore", "media", "admin", "results"]
BUILD = os.path.join(ROOT, "build", "mutate")
COV_BUILD = os.path.join(ROOT, "build", "mutate-cov")
# The shared build lock; TAVELOR_BUILD_LOCK names another, for a run that
# should not queue behind other builds (it then shares the cores with them).
LOCK = os.environ.get("TAVELOR_BUILD_LOCK", "/tmp/tavelor-build.lock")
# Suites that drive programs outside the build (nginx, systemd-analyze): slow
# and often absent, so they stay out of the map and never run here.
MAP_EXCLUDED_SUITES = {"BehindNginx", "DeployFiles"}
ESCAPES = ("html_text", "html_unquoted", "js_string", "allow_markup")
# How often each kind is drawn: mostly logic, fewer literal changes.
KIND_WEIGHTS = {
    "cmp": 3, "logic": 1, "negate-if": 3, "drop": 3, "number": 2, "bool": 1,
    "string": 1, "escape": 2, "sql-drop": 2, "sql-and-or": 1, "sql-cmp": 1,
}


# ---------------------------------------------------------------- lexing

def mask_source(text):
    """The text with comments, preprocessor lines and the inside of string and
    character literals blanked (newlines kept, offsets unchanged), and the
    string literals as (start, end, body_start, body_end, raw)."""
    out = list(text)
    strings = []
    i, n = 0, len(text)
    line_start = True

    def blank(a, b):
        for k in range(a, b):
            if out[k] != "\n":
                out[k] = " "

    while i < n:
        c = text[i]
        if c == "\n":
            line_start = True
            i += 1
            continue
        if line_start and c == "#":
            j = i
            while j < n and text[j] != "\n":
                if text[j] == "\\" and j + 1 < n and text[j + 1] == "\n":
                    j += 2
                    continue
                j += 1
            blank(i, j)
            i = j
            continue
        if not c.isspace():
            line_start = False
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            blank(i, j)
            i = j
            continue
        if text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            blank(i, j)
            i = j
            continue
        if c == '"':
            raw = i > 0 and text[i - 1] == "R"
            if raw:
                paren = text.find("(", i)
                delim = text[i + 1:paren]
                close = text.find(")" + delim + '"', paren)
                close = n if close < 0 else close
                end = min(n, close + len(delim) + 2)
                strings.append((i, end, paren + 1, close, True))
                blank(i + 1, end - 1)
                i = end
                continue
            j = i + 1
            while j < n and text[j] != '"' and text[j] != "\n":
                j += 2 if text[j] == "\\" else 1
            strings.append((i, j + 1, i + 1, j, False))
            blank(i + 1, j)
            i = j + 1
            continue
        if c == "'":
            # A digit separator (1'000) is no character literal.
            if i > 0 and text[i - 1].isalnum() and i + 1 < n and text[i + 1].isalnum():
                i += 1
                continue
            j = i + 1
            while j < n and text[j] != "'" and text[j] != "\n":
                j += 2 if text[j] == "\\" else 1
            blank(i + 1, j)
            i = j + 1
            continue
        i += 1
    return "".join(out), strings


def matching_paren(masked, open_at):
    depth = 0
    for k in range(open_at, len(masked)):
        ch = masked[k]
        if ch == "(":
            depth += 1
        elif ch == ")":
            depth -= 1
            if depth == 0:
                return k
        elif ch in ";{}":
            return -1
    return -1


def top_level_comma(masked, a, b):
    depth = 0
    for k in range(a, b):
        ch = masked[k]
        if ch in "([{":
            depth += 1
        elif ch in ")]}":
            depth -= 1
        elif ch == "," and depth == 0:
            return k
    return -1


# ---------------------------------------------------------------- sites

SQL_START = re.compile(r"^\s*(select|update|delete|insert)\b", re.I)
MARKUP = re.compile(r"<[A-Za-z/!]")
CMP = re.compile(r"(?<=\S) (==|!=|<=|>=|<|>) (?=\S)")
LOGIC = re.compile(r"(?<=\S) (&&|\|\|) (?=\S)")
NUMBER = re.compile(r"(?<![\w.'])(\d+)(?![\w.'])")
BOOL = re.compile(r"\b(true|false)\b")
IF = re.compile(r"\bif\s*\(")
ESCAPE = re.compile(r"\b(" + "|".join(ESCAPES) + r")\s*\(")
STATEMENT = re.compile(
    r"^([ \t]*)((?:return|break|continue);|"
    r"[A-Za-z_]\w*(?:\s*(?:\.|->|::)\s*[A-Za-z_]\w*)*\s*(?:\(|\+=|-=|\*=|=(?!=)|\+\+|--).*;)[ \t]*$",
    re.M)
FIXED_WRITE = re.compile(r'Response\.(?:line|write)\(\s*"\s*\)\s*;$')
NOT_STATEMENT = {"return", "if", "else", "for", "while", "switch", "case", "do", "goto", "delete",
                 "throw", "using", "typedef", "auto", "const", "static", "namespace", "template",
                 "static_assert", "TAVELOR_PAGE", "new", "co_return", "default"}
SQL_DROP_AND = re.compile(r"\s+and\s+[\w.\[\]]+\s*(?:=|<>|<=|>=|<|>|\s+like\s+)\s*(?:'[^']*'|\d+|[A-Za-z_][\w.]*)(?=\s|$|\))", re.I)
SQL_DROP_WHERE = re.compile(r"\bwhere\s+([\w.\[\]]+\s*(?:=|<>|<=|>=|<|>)\s*(?:'[^']*'|\d+|[A-Za-z_][\w.]*)\s+and\s+)", re.I)
SQL_AND = re.compile(r"(?<=\s)and(?=\s)", re.I)
SQL_CMP = re.compile(r"\b(?:where|and|or)\s+[\w.\[\]]+\s*(=)(?![=>])", re.I)


class Site:
    __slots__ = ("file", "start", "end", "after", "kind", "line", "col", "last_line", "sid", "rank")

    def __init__(self, file, text, lines, start, end, after, kind):
        self.file, self.start, self.end, self.after, self.kind = file, start, end, after, kind
        self.line = bisect.bisect_right(lines, start)
        self.col = start - lines[self.line - 1] + 1 if self.line > 0 else start + 1
        self.last_line = bisect.bisect_right(lines, max(start, end - 1))

    def key(self):
        return "%s:%d:%d" % (self.file, self.line, self.col)


def line_starts(text):
    starts = [0]
    for m in re.finditer("\n", text):
        starts.append(m.end())
    return starts


def statement_start(masked, at):
    """Where the statement holding offset `at` begins (after ; { or })."""
    k = at - 1
    depth = 0
    while k >= 0:
        ch = masked[k]
        if ch == ")":
            depth += 1
        elif ch == "(":
            if depth == 0:
                pass
            else:
                depth -= 1
        elif ch in ";{}" and depth == 0:
            return k + 1
        k -= 1
    return 0


def file_sites(rel):
    with open(os.path.join(ROOT, rel), encoding="utf-8", errors="surrogateescape") as f:
        text = f.read()
    masked, strings = mask_source(text)
    lines = line_starts(text)
    sites = []

    def add(start, end, after, kind):
        sites.append(Site(rel, text, lines, start, end, after, kind))

    flip = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
    for m in CMP.finditer(masked):
        add(m.start(1), m.end(1), flip[m.group(1)], "cmp")
    for m in LOGIC.finditer(masked):
        add(m.start(1), m.end(1), "||" if m.group(1) == "&&" else "&&", "logic")
    for m in NUMBER.finditer(masked):
        v = int(m.group(1))
        # Array sizes and shifts stay: a changed size is a build error or a
        # crash, not a question the tests should answer.
        if masked[m.start() - 1: m.start()] == "[":
            continue
        add(m.start(1), m.end(1), str(v - 1 if v > 0 and m.start() % 2 else v + 1), "number")
    for m in BOOL.finditer(masked):
        add(m.start(1), m.end(1), "false" if m.group(1) == "true" else "true", "bool")
    for m in IF.finditer(masked):
        if masked.startswith("constexpr", m.end()) or masked[m.end():m.end() + 9].strip().startswith("constexpr"):
            continue
        open_at = m.end() - 1
        close = matching_paren(masked, open_at)
        if close < 0 or ";" in masked[open_at:close]:
            continue
        inner = text[open_at + 1:close]
        add(open_at + 1, close, "!(" + inner + ")", "negate-if")
    for m in ESCAPE.finditer(masked):
        before = masked[:m.start()].rstrip()
        prev = before[-1:] if before else ""
        # Declarations and definitions (a type before the name) are no calls.
        if prev and (prev.isalnum() or prev in "_>&*:") and not before.endswith("return"):
            continue
        open_at = m.end() - 1
        close = matching_paren(masked, open_at)
        if close < 0:
            continue
        comma = top_level_comma(masked, open_at + 1, close)
        arg = text[open_at + 1:(comma if comma >= 0 else close)].strip()
        add(m.start(), close + 1, "::tav::Value(" + arg + ").str()", "escape")
    for m in STATEMENT.finditer(masked):
        body = m.group(2)
        first = re.match(r"\w+", body).group(0)
        if first in NOT_STATEMENT and not body.startswith(("return;", "break;", "continue;")):
            continue
        if body.count("(") != body.count(")"):
            continue
        # Fixed markup and capacity hints: dropping them asks nothing of the
        # logic (the one is markup, the other changes no result).
        if FIXED_WRITE.match(body) or ".reserve(" in body:
            continue
        prev = masked[:m.start(2)].rstrip()[-1:]
        if prev not in (";", "{", "}", ":"):
            continue
        if body.startswith(("break;", "continue;")) and prev == ":":
            continue
        add(m.start(2), m.end(2), ";", "drop")

    # String literals: SQL gets SQL mutations, markup is left alone, other
    # text gets one character changed.
    for (s, e, bs, be, raw) in strings:
        body = text[bs:be]
        if raw or not body.strip():
            continue
        suffix = masked[e:e + 4] == "_sql"
        st = statement_start(masked, s)
        statement = masked[st:s]
        sql = suffix or SQL_START.match(body) or re.search(r"_sql\b|\.execute\s*\(|\.open\s*\(", statement)
        if sql:
            for m in SQL_DROP_AND.finditer(body):
                add(bs + m.start(), bs + m.end(), "", "sql-drop")
            for m in SQL_DROP_WHERE.finditer(body):
                add(bs + m.start(1), bs + m.end(1), "", "sql-drop")
            for m in SQL_AND.finditer(body):
                add(bs + m.start(), bs + m.end(), "or", "sql-and-or")
            for m in SQL_CMP.finditer(body):
                add(bs + m.start(1), bs + m.end(1), "<>", "sql-cmp")
            continue
        # Markup, and the text of an exception (a message no caller parses).
        if MARKUP.search(body) or statement.lstrip().startswith("throw"):
            continue
        mid = len(body) // 2
        order = list(range(mid, len(body))) + list(range(0, mid))
        for k in order:
            ch = body[k]
            if not ch.isascii() or not ch.isalnum() or (k > 0 and body[k - 1] == "\\"):
                continue
            if ch.isdigit():
                new = str((int(ch) + 1) % 10)
            elif ch in "zZ":
                new = chr(ord(ch) - 25)
            else:
                new = chr(ord(ch) + 1)
            add(bs + k, bs + k + 1, new, "string")
            break
    return text, sites


def source_files():
    found = []
    for d in SOURCE_DIRS:
        for dirpath, _dirs, files in os.walk(os.path.join(ROOT, d)):
            for name in files:
                if name.endswith(".cpp"):
                    found.append(os.path.relpath(os.path.join(dirpath, name), ROOT))
    return sorted(found)


def stable_ids(sites, text):
    """Name each site by what it changes, not where: file, kind, the line's
    text, the column within it and which repeat of that line it is. Edits
    elsewhere in the file then leave the name, and so the draw, alone."""
    seen, ids = {}, {}
    for s in sorted(sites, key=lambda s: (s.start, s.end, s.kind)):
        a = text.rfind("\n", 0, s.start) + 1
        b = text.find("\n", s.start)
        line = text[a:len(text) if b < 0 else b]
        indent = len(line) - len(line.lstrip())
        base = "%s|%s|%s|%d|%s" % (s.file, s.kind, line.strip(), s.start - a - indent, s.after)
        n = seen.get(base, 0)
        seen[base] = n + 1
        ids[s] = "%s|%d" % (base, n)
    return ids


def draw_sample(seed, count):
    """Each kind gets its share of the count by KIND_WEIGHTS; within a kind the
    sites with the lowest hash of (seed, name) are taken. A site drawn in one
    tree is drawn in another wherever its line is unchanged, so runs before
    and after a change compare on their common sites."""
    by_kind = {k: [] for k in KIND_WEIGHTS}
    texts = {}
    for rel in source_files():
        text, sites = file_sites(rel)
        texts[rel] = text
        for s, sid in stable_ids(sites, text).items():
            s.sid = sid
            s.rank = hashlib.sha1(("%d|%s" % (seed, sid)).encode("utf-8", "surrogateescape")).hexdigest()
            by_kind[s.kind].append(s)
    for pool in by_kind.values():
        pool.sort(key=lambda s: s.rank)
    total = sum(KIND_WEIGHTS.values())
    quota = {k: count * w // total for k, w in KIND_WEIGHTS.items()}
    # The remainder goes to the heaviest kinds, in a fixed order.
    for k in sorted(KIND_WEIGHTS, key=lambda k: (-KIND_WEIGHTS[k], k)):
        if sum(quota.values()) >= count:
            break
        quota[k] += 1
    chosen, taken = [], set()
    spare = 0
    for k in sorted(KIND_WEIGHTS):
        want = quota[k]
        for s in by_kind[k]:
            if want == 0:
                break
            if (s.file, s.start) not in taken:
                taken.add((s.file, s.start))
                chosen.append(s)
                want -= 1
        spare += want
    if spare:  # a kind ran short: fill from the rest by rank
        rest = sorted((s for pool in by_kind.values() for s in pool if (s.file, s.start) not in taken),
                      key=lambda s: s.rank)
        for s in rest[:spare]:
            taken.add((s.file, s.start))
            chosen.append(s)
    chosen.sort(key=lambda s: s.rank)
    return chosen, texts


def one_line(s, limit=120):
    s = " ".join(s.split())
    return s if len(s) <= limit else s[:limit - 3] + "..."


def describe(site, text):
    """The mutated line(s) before and after, on one line each."""
    a = text.rfind("\n", 0, site.start) + 1
    b = text.find("\n", site.end)
    b = len(text) if b < 0 else b
    before = text[a:b]
    after = text[a:site.start] + site.after + text[site.end:b]
    return one_line(before), one_line(after)


# ---------------------------------------------------------------- running

def run(cmd, **kw):
    return subprocess.run(cmd, **kw)


def tree_key():
    """The commit's sources and tests (not tools/ or docs), plus any change
    not committed yet: the map stays valid while only other files change."""
    paths = ["CMakeLists.txt", "tests", *SOURCE_DIRS]
    listed = run(["git", "ls-tree", "HEAD", "--", *paths], cwd=ROOT, capture_output=True).stdout
    diff = run(["git", "diff", "HEAD", "--", *paths], cwd=ROOT, capture_output=True).stdout
    return hashlib.sha1(listed + diff).hexdigest()[:12]


WAITED = [0.0]  # seconds spent waiting for the shared build lock


def locked_build(build_dir, log):
    """Build under the shared lock (the lock flock(1) takes), so that other
    builds on the machine interleave with ours; the wait is counted apart."""
    t = time.time()
    with open(LOCK, "a") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        WAITED[0] += time.time() - t
        r = run(["cmake", "--build", build_dir, "--target", "tavelor_tests", "-j2"],
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if log:
        with open(log, "w") as f:
            f.write(r.stdout)
    return r.returncode == 0


def configure(build_dir, flags, linker):
    if os.path.exists(os.path.join(build_dir, "CMakeCache.txt")):
        return
    cmd = ["cmake", "-S", ROOT, "-B", build_dir, "-G", "Ninja", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
           "-DCMAKE_EXE_LINKER_FLAGS=" + linker] + flags
    r = run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if r.returncode != 0:
        sys.exit("mutate: configuring %s failed:\n%s" % (build_dir, r.stdout))


def list_tests(binary):
    r = run([binary, "--gtest_list_tests"], capture_output=True, text=True)
    tests, suite = [], None
    for line in r.stdout.splitlines():
        if not line.strip() or line.startswith("Running main"):
            continue
        name = line.split("#")[0].strip()
        if not line.startswith(" "):
            suite = name
        else:
            tests.append(suite + name)
    return tests


def gcov_lines(gcda_dir, build_dir):
    """{source file: (executed lines, instrumented lines)} from the counters in gcda_dir."""
    gcdas = []
    for dirpath, _d, files in os.walk(gcda_dir):
        for name in files:
            if name.endswith(".gcda"):
                gcda = os.path.join(dirpath, name)
                rel = os.path.relpath(gcda, gcda_dir)
                # The tests' own objects say nothing about the sources.
                if "tavelor_tests.dir" in rel:
                    continue
                gcno = os.path.join(build_dir, rel[:-5] + ".gcno")
                if os.path.exists(gcno):
                    link = gcda[:-5] + ".gcno"
                    if not os.path.exists(link):
                        os.symlink(gcno, link)
                    gcdas.append(gcda)
    result = {}
    if not gcdas:
        return result
    # -r -s: only the files under the source tree, not the libraries' headers
    # (which make the output some thirty times larger).
    r = run(["gcov", "-r", "-s", ROOT, "--json-format", "--stdout", *gcdas], cwd=build_dir,
            capture_output=True, text=True)
    dec = json.JSONDecoder()
    data, pos = r.stdout, 0
    prefix = ROOT + os.sep
    while True:
        while pos < len(data) and data[pos].isspace():
            pos += 1
        if pos >= len(data):
            break
        doc, pos = dec.raw_decode(data, pos)
        cwd = doc.get("current_working_directory", build_dir)
        for f in doc.get("files", []):
            path = f["file"]
            if not os.path.isabs(path):
                beside = os.path.join(ROOT, path)
                path = beside if os.path.exists(beside) else os.path.join(cwd, path)
            path = os.path.normpath(path)
            if not path.startswith(prefix):
                continue
            rel = path[len(prefix):]
            if rel.split(os.sep)[0] not in SOURCE_DIRS:
                continue
            hit, known = result.setdefault(rel, (set(), set()))
            for ln in f.get("lines", []):
                known.add(ln["line_number"])
                if ln["count"] > 0:
                    hit.add(ln["line_number"])
    return result


def build_map(path, timeout, unit):
    t0 = time.time()
    configure(COV_BUILD, ["-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0 --coverage"],
              "--coverage -fuse-ld=lld")
    print("mutate: building the coverage build in build/mutate-cov ...", flush=True)
    if not locked_build(COV_BUILD, os.path.join(COV_BUILD, "mutate-build.log")):
        sys.exit("mutate: the coverage build failed, see build/mutate-cov/mutate-build.log")
    t_build = time.time() - t0
    binary = os.path.join(COV_BUILD, "tavelor_tests")
    tests = [t for t in list_tests(binary) if t.split(".")[0].split("/")[-1] not in MAP_EXCLUDED_SUITES]
    if unit == "suite":
        # One run per suite: a third of the runs of gcov, each some seconds.
        tests = sorted({t.split(".")[0] + ".*" for t in tests})
    strip = len([p for p in COV_BUILD.split(os.sep) if p])
    # Each unit's lines go to a partial file as they come, so that a map cut
    # short goes on where it stopped at the next start.
    partial = path + ".partial"
    units = {}
    if os.path.exists(partial):
        with open(partial) as f:
            for line in f:
                try:
                    u = json.loads(line)
                except ValueError:
                    continue  # a line cut by the kill
                units[u["test"]] = u
    todo = [t for t in tests if t not in units]
    print("mutate: map: %d %ss to run (%d kept from a cut-short map)" % (len(todo), unit, len(units)),
          flush=True)
    work = tempfile.mkdtemp(prefix="mutate-cov-")
    done = [0]

    def one(i_test):
        i, test = i_test
        d = os.path.join(work, str(i))
        os.makedirs(d)
        env = dict(os.environ, GCOV_PREFIX=d, GCOV_PREFIX_STRIP=str(strip))
        t = time.time()
        try:
            r = run([binary, "--gtest_filter=" + test], env=env, cwd=COV_BUILD, capture_output=True,
                    timeout=timeout)
            ok = r.returncode == 0
        except subprocess.TimeoutExpired:
            ok = False
        secs = round(time.time() - t, 2)
        lines = gcov_lines(d, COV_BUILD)
        shutil.rmtree(d, ignore_errors=True)
        done[0] += 1
        if done[0] % 10 == 0:
            print("mutate: map %d of %d %ss" % (done[0], len(todo), unit), flush=True)
        return {"test": test, "ok": ok, "seconds": secs,
                "hit": {f: sorted(h) for f, (h, _k) in lines.items() if h},
                "known": {f: sorted(k) for f, (_h, k) in lines.items()}}

    try:
        with ThreadPoolExecutor(max_workers=2) as pool, open(partial, "a") as out:
            for u in pool.map(one, enumerate(todo)):
                units[u["test"]] = u
                out.write(json.dumps(u) + "\n")
                out.flush()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    covered, known, failing, seconds = {}, {}, [], {}
    for test in tests:
        u = units[test]
        seconds[test] = u["seconds"]
        if not u["ok"]:
            failing.append(test)
            continue
        covered[test] = u["hit"]
        for f, k in u["known"].items():
            known.setdefault(f, set()).update(k)
    data = {"key": tree_key(), "unit": unit, "tests": covered,
            "instrumented": {f: sorted(k) for f, k in known.items()},
            "test_seconds": seconds, "failing": failing, "excluded_suites": sorted(MAP_EXCLUDED_SUITES),
            "seconds": {"build": round(t_build), "this_sitting": round(time.time() - t0),
                        "tests": round(sum(seconds.values()))}}
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path + ".tmp", "w") as f:
        json.dump(data, f)
    os.replace(path + ".tmp", path)
    os.remove(partial)
    print("mutate: map of %d %ss made in %ds (coverage build %ds); %d failing left out: %s"
          % (len(covered), unit, data["seconds"]["this_sitting"], t_build, len(failing),
             " ".join(failing) or "-"), flush=True)
    return data


def load_map(timeout, unit):
    os.makedirs(BUILD, exist_ok=True)
    path = os.path.join(BUILD, "covermap-%s-%s.json" % (unit, tree_key()))
    if os.path.exists(path):
        with open(path) as f:
            return json.load(f)
    return build_map(path, timeout, unit)


class CoverIndex:
    def __init__(self, data):
        self.by_file = {}
        for test, files in data["tests"].items():
            for f, lines in files.items():
                self.by_file.setdefault(f, []).append((test, set(lines)))
        self.instrumented = {f: set(v) for f, v in data["instrumented"].items()}
        self.seconds = data.get("test_seconds", {})

    def timeout(self, tests, least):
        # The map's times come from the unoptimised coverage build, so three
        # times their sum is a wide margin for a run that merely survives.
        return max(least, 30 + 3 * sum(self.seconds.get(t, 10.0) for t in tests))

    def tests_for(self, file, first, last):
        span = set(range(first, last + 1))
        if span & self.instrumented.get(file, set()):
            return sorted(t for t, lines in self.by_file.get(file, []) if lines & span)
        # A line with no code of its own (a declaration, a constant): every
        # test that ran the file.
        return sorted(t for t, _l in self.by_file.get(file, []))


# ---------------------------------------------------------------- main

RESTORE_DIR = os.path.join(BUILD, "restore")
COLUMNS = ("id", "site", "kind", "result", "note", "tests", "seconds", "lock_wait", "before", "after", "sid")
QUICK_SECONDS = 3.0  # in the coverage build


SHARDS = max(1, min(2, os.cpu_count() or 1))


def run_shards(binary, batch, limit, every=None):
    """The batch split in SHARDS parts run at once (gtest's own sharding):
    a change that survives runs every covering test, and those runs are most
    of a run's time. The first failure stops the others. Returns None when
    all passed, else the failing test's name, "timeout" or the exit code.
    With `every` (a set), nothing stops early and every failing test's name
    goes into it."""
    env = dict(os.environ, GTEST_TOTAL_SHARDS=str(SHARDS))
    procs = []
    fast = [] if every is not None else ["--gtest_fail_fast"]
    for i in range(SHARDS):
        env["GTEST_SHARD_INDEX"] = str(i)
        procs.append(subprocess.Popen(
            [binary] + fast + ["--gtest_brief=1", "--gtest_filter=" + ":".join(batch)],
            cwd=BUILD, env=dict(env), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True))
    if every is not None:
        return run_every(procs, limit, every)
    outcome, end = None, time.time() + limit
    try:
        pending = list(procs)
        while pending and outcome is None:
            for p in list(pending):
                if p.poll() is None:
                    continue
                pending.remove(p)
                if p.returncode != 0:
                    m = re.search(r"\[  FAILED  \] (\S+)", p.stdout.read())
                    outcome = m.group(1) if m else "exit %d" % p.returncode
            if pending and outcome is None:
                if time.time() > end:
                    outcome = "timeout"
                else:
                    time.sleep(0.05)
    finally:
        for p in procs:
            if p.poll() is None:
                p.kill()
            p.wait()
            p.stdout.close()
    return outcome


def run_every(procs, limit, every):
    """Waits for all shards; a shard that runs past the limit is killed and
    counted as "timeout"."""
    outcome, end = None, time.time() + limit
    for p in procs:
        try:
            out, _ = p.communicate(timeout=max(1.0, end - time.time()))
        except subprocess.TimeoutExpired:
            p.kill()
            out, _ = p.communicate()
            outcome = "timeout"
        every.update(m.group(1) for m in re.finditer(r"\[  FAILED  \] ([\w/]+\.[\w/]+)", out))
        if p.returncode not in (0, None) and outcome is None and not every:
            outcome = "exit %d" % p.returncode
    return outcome


def suite_files():
    """Each test suite's source file, from the TEST lines under tests/."""
    files = {}
    for dirpath, _d, names in os.walk(os.path.join(ROOT, "tests")):
        for name in names:
            if name.endswith(".cpp"):
                path = os.path.join(dirpath, name)
                with open(path, encoding="utf-8", errors="replace") as f:
                    for m in re.finditer(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\(\s*(\w+)", f.read(), re.M):
                        files.setdefault(m.group(1), os.path.relpath(path, ROOT))
    return files


def check(binary, index, tests, least):
    """Run the covering tests, stopping at the first failure: the quick ones
    first (most kills come from a page's own quick tests), then, if all
    passed, the slow ones."""
    quick = [t for t in tests if index.seconds.get(t, 10.0) < QUICK_SECONDS]
    slow = [t for t in tests if t not in quick]
    for batch in (quick, slow):
        if batch:
            outcome = run_shards(binary, batch, index.timeout(batch, least))
            if outcome:
                return "killed", outcome
    return "survived", ""


def restore_leftovers():
    """Put back files a killed run left mutated."""
    if not os.path.isdir(RESTORE_DIR):
        return
    for dirpath, _d, files in os.walk(RESTORE_DIR):
        for name in files:
            saved = os.path.join(dirpath, name)
            rel = os.path.relpath(saved, RESTORE_DIR)
            shutil.copyfile(saved, os.path.join(ROOT, rel))
            os.remove(saved)
            print("mutate: restored %s from an interrupted run" % rel, flush=True)


def read_tsv(path):
    rows = {}
    with open(path) as f:
        header = f.readline().rstrip("\n").split("\t")
        for line in f:
            row = dict(zip(header, line.rstrip("\n").split("\t")))
            rows[row_key(row)] = row
    return rows


def row_key(row):
    """A result's change: its name, or, in a results file from before names
    were written, its file, kind and line before and after."""
    return row.get("sid") or "|".join((row["site"].split(":")[0], row["kind"], row["before"], row["after"]))


def main():
    ap = argparse.ArgumentParser(prog="tools/mutate.sh", description=__doc__.split("\n")[0])
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--count", type=int, default=120)
    ap.add_argument("--only", action="append", default=[], metavar="GLOB",
                    help="run only the drawn mutations in files matching GLOB (repeatable)")
    ap.add_argument("--list", action="store_true", help="print the sample and stop")
    ap.add_argument("--map", action="store_true", help="make (or show) the coverage map and stop")
    ap.add_argument("--compare", metavar="OTHER.tsv",
                    help="print the mutations killed in OTHER but surviving in this run")
    ap.add_argument("--resume", action="store_true",
                    help="keep the results of this seed's last run and do only the mutations it has not done")
    ap.add_argument("--report", action="store_true",
                    help="print the summary of the last run of this seed (build/mutate/results-SEED.tsv) "
                         "instead of running")
    ap.add_argument("--map-file", metavar="JSON", help="use this coverage map, not the tree's own")
    ap.add_argument("--map-unit", choices=["suite", "test"], default="suite",
                    help="run each test suite (default) or each test alone for the coverage map")
    ap.add_argument("--matrix", metavar="RESULTS.tsv",
                    help="for each change killed in RESULTS.tsv, run all its covering tests without stopping "
                         "and record every test that fails (build/mutate/matrix-SEED.tsv); then print, per test "
                         "file, the changes only it catches")
    ap.add_argument("--timeout", type=int, default=60,
                    help="least seconds for a mutation's test run (more when its tests are slow); "
                         "a run that takes longer counts as killed")
    args = ap.parse_args()
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # `--list | head` ends quietly

    sample, texts = draw_sample(args.seed, args.count)
    numbered = list(enumerate(sample, 1))
    if args.only:
        numbered = [(i, s) for i, s in numbered if any(fnmatch.fnmatch(s.file, g) for g in args.only)]
    if args.list:
        for i, s in numbered:
            before, after = describe(s, texts[s.file])
            print("%03d\t%s\t%s\t%s\t%s" % (i, s.key(), s.kind, before, after))
        return 0

    results_path = os.path.join(BUILD, "results-%d.tsv" % args.seed)
    if args.report:
        rows = list(read_tsv(results_path).values())
        if args.only:
            rows = [r for r in rows if any(fnmatch.fnmatch(r["site"].split(":")[0], g) for g in args.only)]
        summary(rows, args.compare)
        return 0

    # One of each per worktree: a second run would take the first one's
    # saved copy for a leftover and put it back under its feet.
    os.makedirs(BUILD, exist_ok=True)
    lock = open(os.path.join(BUILD, "map.lock" if args.map else "run.lock"), "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        sys.exit("mutate: another %s is going in this tree" % ("map" if args.map else "run"))
    if not args.map:
        restore_leftovers()
    t0 = time.time()
    if args.map_file:
        with open(args.map_file) as f:
            data = json.load(f)
    else:
        data = load_map(900, args.map_unit)  # the slowest suites take minutes unoptimised
    t_map = time.time() - t0
    if args.map:
        print("mutate: map %s: %d tests, %d files" % (data["key"], len(data["tests"]), len(data["instrumented"])))
        return 0
    index = CoverIndex(data)
    configure(BUILD, ["-DCMAKE_BUILD_TYPE=Release"], "-fuse-ld=lld")
    if not locked_build(BUILD, os.path.join(BUILD, "mutate-build.log")):
        sys.exit("mutate: the unmutated tree does not build, see build/mutate/mutate-build.log")
    binary = os.path.join(BUILD, "tavelor_tests")
    if args.matrix:
        return matrix(args, numbered, texts, index, binary)
    rows = []
    if args.resume and os.path.exists(results_path):
        rows = [r for r in read_tsv(results_path).values() if r.get("result")]
        done = {r.get("sid") or r["site"] for r in rows}
        numbered = [(i, s) for i, s in numbered if s.sid not in done and s.key() not in done]
        out = open(results_path, "a")
    else:
        out = open(results_path, "w")
        out.write("\t".join(COLUMNS) + "\n")

    def on_signal(signum, _frame):
        raise KeyboardInterrupt

    signal.signal(signal.SIGTERM, on_signal)
    signal.signal(signal.SIGHUP, on_signal)
    waited_total = 0.0
    t_run = time.time()
    try:
        for i, s in numbered:
            t1 = time.time()
            WAITED[0] = 0.0
            text = texts[s.file]
            before, after = describe(s, text)
            tests = index.tests_for(s.file, s.line, s.last_line)
            note = ""
            if not tests:
                result, note = "survived", "no test runs it"
            else:
                path = os.path.join(ROOT, s.file)
                saved = os.path.join(RESTORE_DIR, s.file)
                os.makedirs(os.path.dirname(saved), exist_ok=True)
                shutil.copyfile(path, saved)
                try:
                    with open(path, "w", encoding="utf-8", errors="surrogateescape") as f:
                        f.write(text[:s.start] + s.after + text[s.end:])
                    if not locked_build(BUILD, os.path.join(BUILD, "last-build.log")):
                        result = "build-error"
                    else:
                        result, note = check(binary, index, tests, args.timeout)
                finally:
                    shutil.copyfile(saved, path)
                    os.remove(saved)
            secs = time.time() - t1
            waited_total += WAITED[0]
            row = {"id": "%03d" % i, "site": s.key(), "kind": s.kind, "result": result, "note": note,
                   "tests": str(len(tests)), "seconds": "%.0f" % secs, "lock_wait": "%.0f" % WAITED[0],
                   "before": before, "after": after, "sid": s.sid}
            rows.append(row)
            out.write("\t".join(row[k] for k in COLUMNS) + "\n")
            out.flush()
            print("%s %-11s %-40s %-11s %3d tests %4.0fs (lock %3.0fs)  %s"
                  % (row["id"], s.kind, s.key(), result, len(tests), secs, WAITED[0], note), flush=True)
    except KeyboardInterrupt:
        print("mutate: interrupted; the mutated file is restored", flush=True)
        return 130
    finally:
        out.close()
        # The build dir holds the last mutation's objects; the next run's
        # first build puts the restored file back in.

    summary(rows, args.compare)
    print("time: %.0fs (map %.0fs%s, mutations %.0fs of which %.0fs waiting for the build lock); results in %s" %
          (time.time() - t0, t_map, " cached" if t_map < 5 else "", time.time() - t_run, waited_total,
           os.path.relpath(results_path, ROOT)))
    return 0


def matrix(args, numbered, texts, index, binary):
    """Which tests catch each killed change: the tests that hold the score."""
    killed = {k for k, r in read_tsv(args.matrix).items() if r.get("result") == "killed"}
    numbered = [(i, s) for i, s in numbered if s.sid in killed or s.key() in killed]
    path = os.path.join(BUILD, "matrix-%d.tsv" % args.seed)
    done = read_tsv(path) if args.resume and os.path.exists(path) else {}
    with open(path, "a" if done else "w") as out:
        if not done:
            out.write("id\tsite\tsid\tkillers\tnote\tseconds\n")
        for i, s in numbered:
            if s.sid in done:
                continue
            t1 = time.time()
            text = texts[s.file]
            tests = index.tests_for(s.file, s.line, s.last_line)
            file_path = os.path.join(ROOT, s.file)
            saved = os.path.join(RESTORE_DIR, s.file)
            os.makedirs(os.path.dirname(saved), exist_ok=True)
            shutil.copyfile(file_path, saved)
            every, note = set(), ""
            try:
                with open(file_path, "w", encoding="utf-8", errors="surrogateescape") as f:
                    f.write(text[:s.start] + s.after + text[s.end:])
                if not locked_build(BUILD, os.path.join(BUILD, "last-build.log")):
                    note = "build-error"
                elif tests:
                    note = run_shards(binary, tests, index.timeout(tests, args.timeout) * 3, every) or ""
            finally:
                shutil.copyfile(saved, file_path)
                os.remove(saved)
            out.write("%03d\t%s\t%s\t%s\t%s\t%.0f\n" % (i, s.key(), s.sid, ";".join(sorted(every)), note,
                                                       time.time() - t1))
            out.flush()
            print("%03d %-40s %3d failing %s" % (i, s.key(), len(every), note), flush=True)
    matrix_report(path)
    return 0


def matrix_report(path):
    files = suite_files()
    rows = list(read_tsv(path).values())
    unique, caught = {}, {}
    for r in rows:
        by = {files.get(t.split(".")[0], "?") for t in r["killers"].split(";") if t}
        for f in by:
            caught[f] = caught.get(f, 0) + 1
        if len(by) == 1:
            f = by.pop()
            unique.setdefault(f, []).append(r["site"])
    print("%d killed changes; caught by one test file only: %d; by none on rerun: %d"
          % (len(rows), sum(len(v) for v in unique.values()), sum(1 for r in rows if not r["killers"])))
    for f in sorted(caught, key=lambda f: (-len(unique.get(f, [])), f)):
        print("%-45s catches %3d, alone %2d  %s" % (f, caught[f], len(unique.get(f, [])),
                                                     " ".join(unique.get(f, []))))


def summary(rows, compare_with):
    killed = sum(r["result"] == "killed" for r in rows)
    errors = sum(r["result"] == "build-error" for r in rows)
    survivors = [r for r in rows if r["result"] == "survived"]
    scored = killed + len(survivors)
    if survivors:
        print("survivors:")
        for r in survivors:
            print("  %s %s %s%s\n      - %s\n      + %s" % (r["id"], r["site"], r["kind"],
                                                       " (" + r["note"] + ")" if r["note"] else "",
                                                       r["before"], r["after"]))
    if compare_with:
        compare(compare_with, rows)
    print("killed %d of %d (%.1f%%), %d build errors, %d survivors" %
          (killed, scored, 100.0 * killed / scored if scored else 0.0, errors, len(survivors)))


def compare(other_path, rows):
    other = read_tsv(other_path)
    if any("sid" not in o for o in other.values()):  # an older file: match on the lines themselves
        other = {"|".join((o["site"].split(":")[0], o["kind"], o["before"], o["after"])): o for o in other.values()}
        rows = [dict(r, sid="|".join((r["site"].split(":")[0], r["kind"], r["before"], r["after"]))) for r in rows]
    lost = []
    for r in rows:
        o = other.get(r["sid"])
        if o and o["result"] == "killed" and r["result"] == "survived":
            lost.append(r)
    common = [(r, other[r["sid"]]) for r in rows if r["sid"] in other]
    scored = [(r, o) for r, o in common if r["result"] != "build-error" and o["result"] != "build-error"]
    print("on the %d changes both runs scored: killed %d there, %d here" %
          (len(scored), sum(o["result"] == "killed" for _, o in scored),
           sum(r["result"] == "killed" for r, _ in scored)))
    print("killed in %s but surviving now: %d" % (other_path, len(lost)))
    for r in lost:
        print("  %s %s %s\n      - %s\n      + %s" % (r["id"], r["site"], r["kind"], r["before"], r["after"]))


if __name__ == "__main__":
    sys.exit(main())
