#!/bin/bash
# Installs what is needed, builds, and starts the program (Debian 12).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOLVANE_BUILD_TESTS=OFF -DTOLVANE_BUILD_BENCH=OFF
cmake --build build --parallel --target tolvane
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && command -v xvfb-run >/dev/null 2>&1; then
  echo "run.sh: no display found; starting on a virtual X server (xvfb-run)" >&2
  exec xvfb-run -a ./build/app/tolvane "$@"
fi
exec ./build/app/tolvane "$@"
