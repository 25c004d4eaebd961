#!/usr/bin/env bash
# Builds the library and its tests and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh -DQLM_BUILD_TESTS=ON -DQLM_BUILD_BENCH=ON
ctest --test-dir build -j"$(nproc)" --output-on-failure --timeout 900
