#!/usr/bin/env bash
# Installs what is missing, builds, makes a site instance if there is none and
# serves it. Usage: tools/serve.sh [INSTANCE_DIR] [tavelor serve options...]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh serve
cmake --preset release >/dev/null
cmake --build --preset release --target tavelor -j"$(nproc)"
dir="${1:-instance}"
shift || true
if [ ! -f "$dir/datebase/office.mdb" ]; then
  ./build/release/tavelor init "$dir"
fi
echo "first account: admin   password: admin"
exec ./build/release/tavelor serve "$dir" "$@"
