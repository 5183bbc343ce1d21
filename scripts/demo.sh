#!/usr/bin/env bash
# Builds movaro-host and plays its demo session on the simulated Mac.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh > /dev/null
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build -j"$(nproc)" --target movaro-host > /dev/null
exec build/movaro-host demo
