#!/usr/bin/env bash
# Configures and builds into a build folder (default: build). Extra arguments go to cmake.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo} "$@" >/dev/null
cmake --build "$dir" --parallel "$(nproc)"
