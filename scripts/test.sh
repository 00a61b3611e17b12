#!/bin/bash
# Installs what is needed, builds everything with warnings as errors, and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/check-format.sh
if [ -f tests/jet/node/package.json ]; then
  (cd tests/jet/node && npm ci --no-audit --no-fund --loglevel=error)
fi
cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTOLVANE_WERROR=ON \
      -DCMAKE_CXX_FLAGS="-D_GLIBCXX_ASSERTIONS" -DTOLVANE_BUILD_BENCH=ON
cmake --build build-test --parallel 2
cd build-test
ctest --output-on-failure --timeout 1200 -j2
