#!/usr/bin/env bash
# Installs what building, serving and testing need, from Debian's packages
# (and npm for the browser tests). Only missing packages are installed.
# Usage: tools/install-deps.sh [serve|test]
set -euo pipefail
mode="${1:-test}"

need=(g++ cmake make libboost-dev libsqlite3-dev libsodium-dev sqlite3)
if [ "$mode" = test ]; then
  need+=(libgtest-dev googletest clang-16 libclang-rt-16-dev chromium firefox-esr nodejs npm
         fonts-wqy-zenhei curl nginx systemd postgresql postgresql-contrib libpq-dev)
fi

missing=()
for p in "${need[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
# Node may come from elsewhere than Debian's package; a working node and npm are enough.
if command -v node >/dev/null && command -v npm >/dev/null; then
  filtered=()
  for p in "${missing[@]}"; do [ "$p" = nodejs ] || [ "$p" = npm ] || filtered+=("$p"); done
  missing=("${filtered[@]+"${filtered[@]}"}")
fi

if [ "${#missing[@]}" -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  echo "installing: ${missing[*]}"
  $SUDO apt-get update -q
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
