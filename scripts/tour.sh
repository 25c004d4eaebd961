#!/usr/bin/env bash
# Builds the library and runs the example tour.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh -DQLM_BUILD_TESTS=OFF -DQLM_BUILD_BENCH=OFF
./build/bin/tour
