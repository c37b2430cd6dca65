#!/usr/bin/env bash
# Installs Tavelor as a systemd service on Debian 12, as root, from this
# source tree: dependencies, a release build, the binary and site template
# under /usr/local, the system user, the unit and the logrotate file, then
# enables and starts the service. Running it again updates the binary and
# template and restarts; the instance in /var/lib/tavelor/site is kept.
# Usage: tools/install-service.sh [--no-start] [--binary FILE]
#   --no-start     install everything but leave systemd alone
#   --binary FILE  install this build instead of building one
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
start=yes
binary=""
while [ $# -gt 0 ]; do
  case "$1" in
    --no-start) start=no ;;
    --binary) binary="$(realpath "$2")"; shift ;;
    *) echo "usage: $0 [--no-start] [--binary FILE]" >&2; exit 2 ;;
  esac
  shift
done

if [ "$(id -u)" -ne 0 ]; then
  echo "install-service.sh: run as root" >&2
  exit 1
fi

cd "$here"
if [ -z "$binary" ]; then
  bash tools/install-deps.sh serve
  cmake -S . -B build/service -DCMAKE_BUILD_TYPE=Release -DTAVELOR_TESTS=OFF
  cmake --build build/service --target tavelor -j"$(nproc)"
  binary=build/service/tavelor
fi

# Replaced by a rename, so a running service keeps its old file until restart.
install -D -m 0755 "$binary" /usr/local/bin/tavelor.new
mv -f /usr/local/bin/tavelor.new /usr/local/bin/tavelor
# The template: a fresh copy, so files removed from site/ go too.
rm -rf /usr/local/share/tavelor/site.new
mkdir -p /usr/local/share/tavelor
cp -a site /usr/local/share/tavelor/site.new
rm -rf /usr/local/share/tavelor/site
mv /usr/local/share/tavelor/site.new /usr/local/share/tavelor/site
install -m 0644 README.md /usr/local/share/tavelor/README.md

if ! getent passwd tavelor >/dev/null; then
  adduser --system --group --no-create-home --home /var/lib/tavelor tavelor
fi

install -D -m 0644 deploy/tavelor.service /etc/systemd/system/tavelor.service
install -D -m 0644 deploy/tavelor-backup.service /etc/systemd/system/tavelor-backup.service
install -D -m 0644 deploy/tavelor-backup.timer /etc/systemd/system/tavelor-backup.timer
install -d -m 0700 -o tavelor -g tavelor /var/backups/tavelor
install -D -m 0644 deploy/logrotate /etc/logrotate.d/tavelor

if [ "$start" = yes ]; then
  systemctl daemon-reload
  systemctl enable tavelor.service
  systemctl restart tavelor.service
  systemctl enable --now tavelor-backup.timer
  systemctl --no-pager status tavelor.service || true
fi
echo "installed; nginx: copy deploy/nginx.conf to /etc/nginx/sites-available/tavelor"
