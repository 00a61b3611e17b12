#!/bin/bash
# Installs what is needed, builds, and starts the program.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOLVANE_BUILD_TESTS=OFF
cmake --build build --parallel
exec ./build/app/tolvane "$@"
