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
# shellcheck source=tools/pg_throwaway.sh
source tools/pg_throwaway.sh
trap pg_stop EXIT
pg_start 55432
# One database made by init; every test site is a copy of it.
psql -q "$pg_url" -c "CREATE DATABASE tavelor_template"
build/release/tavelor init "$pg_dir/template-site" --database "$(pg_url_of tavelor_template)" >/dev/null
TAVELOR_TEST_POSTGRES="$pg_url" TAVELOR_TEST_POSTGRES_TEMPLATE=tavelor_template ctest --preset postgresql -j"$jobs"
pg_stop
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
