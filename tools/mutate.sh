#!/usr/bin/env bash
# Seeded mutation testing of the C++ sources; see README, "Mutation testing".
# The work is in mutate.py (standard library only); it restores the mutated
# file itself on an interrupt, the trap covers a kill of this shell too.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
python3 "$here/mutate.py" "$@" &
child=$!
trap 'kill -TERM "$child" 2>/dev/null; wait "$child"' INT TERM HUP
wait "$child"
