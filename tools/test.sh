#!/usr/bin/env bash
# Installs what is missing, builds and runs every test: the unit and page
# suite (release and sanitizer builds), the fuzzers over their corpus, the
# client script tests and the browser tests.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh test
jobs="$(nproc)"

echo "== release build and suite"
# The g++ build stays free of warnings (-Wall -Wextra): here a warning fails it.
cmake --preset release -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
cmake --build --preset release -j"$jobs"
ctest --preset release -j"$jobs"

echo "== the site suites again on PostgreSQL (a throwaway cluster)"
# initdb refuses root: the cluster belongs to an unprivileged user, in a
# temporary folder with its own socket and port; stopped and removed on
# any exit.
pg_bin="$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -1)"
pg_dir="$(mktemp -d /tmp/tavelor-pg-XXXXXX)"
pg_port=55432
pg_run() { if [ "$(id -u)" -eq 0 ]; then runuser -u nobody -- "$@"; else "$@"; fi; }
stop_pg() { pg_run "$pg_bin/pg_ctl" -D "$pg_dir/data" -m immediate stop >/dev/null 2>&1 || true; rm -rf "$pg_dir"; }
trap stop_pg EXIT
[ "$(id -u)" -ne 0 ] || chown nobody:nogroup "$pg_dir"
pg_run "$pg_bin/initdb" -D "$pg_dir/data" -U tavelor --auth=trust -E UTF8 --locale=C.UTF-8 >/dev/null
# Nothing here must survive a crash: no syncs.
pg_run "$pg_bin/pg_ctl" -D "$pg_dir/data" -l "$pg_dir/log" -w -o \
  "-k $pg_dir -p $pg_port -c listen_addresses='' -c fsync=off -c synchronous_commit=off -c full_page_writes=off -c max_connections=200" \
  start >/dev/null
pg_url="postgresql:///postgres?host=$pg_dir&port=$pg_port&user=tavelor"
# One database made by init; every test site is a copy of it.
psql -q "$pg_url" -c "CREATE DATABASE tavelor_template"
build/release/tavelor init "$pg_dir/template-site" \
  --database "postgresql:///tavelor_template?host=$pg_dir&port=$pg_port&user=tavelor" >/dev/null
TAVELOR_TEST_POSTGRES="$pg_url" TAVELOR_TEST_POSTGRES_TEMPLATE=tavelor_template ctest --preset postgresql -j"$jobs"
stop_pg
trap - EXIT

echo "== sanitizer build and suite (AddressSanitizer, UndefinedBehaviorSanitizer)"
cmake --preset asan >/dev/null
cmake --build --preset asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 ctest --preset asan -j"$jobs"

if [ -f tests/fuzz/CMakeLists.txt ]; then
  echo "== fuzzers (clang, libFuzzer, bounded runs over the corpus)"
  # clang 15 or newer: the code uses std::source_location.
  fuzz_cxx="$(command -v clang++-16 || command -v clang++-15 || echo clang++)"
  CC="${fuzz_cxx/clang++/clang}" CXX="$fuzz_cxx" cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTAVELOR_FUZZ=ON -DTAVELOR_TESTS=OFF >/dev/null
  cmake --build build/fuzz -j"$jobs"
  ctest --test-dir build/fuzz --output-on-failure
fi

echo "== client scripts (node --test)"
node --test tests/js/

if [ -f tests/e2e/package.json ]; then
  echo "== browser tests (Debian's chromium by playwright-core, Firefox ESR by puppeteer-core)"
  # the npm packages only drive the installed browsers; none is ever downloaded
  (cd tests/e2e && PUPPETEER_SKIP_DOWNLOAD=1 npm ci --no-audit --no-fund &&
   TAVELOR_BIN="$PWD/../../build/release/tavelor" node --test)
fi
echo "all tests passed"
