#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs every test.
# ORMEX_SANITIZE=1 builds into build-asan with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
if [ "${ORMEX_SANITIZE:-0}" = 1 ]; then
  export BUILD_DIR=${BUILD_DIR:-$root/build-asan} BUILD_TYPE=Debug
  export ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  "$root/scripts/build.sh" -DORMEX_WERROR=ON -DORMEX_SANITIZE=ON -DORMEX_BUILD_BENCH=OFF
else
  export BUILD_DIR=${BUILD_DIR:-$root/build}
  "$root/scripts/build.sh" -DORMEX_WERROR=ON
fi
cd "$BUILD_DIR"
ctest --output-on-failure --parallel "$(nproc)" --timeout 300
