#!/usr/bin/env bash
# Makes the Debian packages from an optimised build with debug information and Debian's own
# compiler and linker flags (dpkg-buildflags: hardening, reproducible paths) in build-package, then
# checks them with lintian: an error fails the run. The packages are left in the build folder:
#
#   ormex-cardmanage_<version>_<arch>.deb         the programs and libraries, stripped
#   ormex-cardmanage-dbgsym_<version>_<arch>.ddeb their debug symbols
#
# Extra arguments go to cmake.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${PACKAGE_BUILD_DIR:-$root/build-package}
"$root/scripts/install-deps.sh"
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cxxflags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
ldflags=$(dpkg-buildflags --get LDFLAGS)
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORMEX_BUILD_TESTS=OFF \
  -DORMEX_BUILD_BENCH=OFF "-DCMAKE_CXX_FLAGS=$cxxflags" "-DCMAKE_EXE_LINKER_FLAGS=$ldflags" \
  "-DCMAKE_SHARED_LINKER_FLAGS=$ldflags" "$@" >/dev/null
cmake --build "$dir" --parallel "$(nproc)"
rm -f "$dir"/*.deb "$dir"/*.ddeb
(cd "$dir" && cpack >/dev/null)
packages=("$dir"/*.deb "$dir"/*.ddeb)
for package in "${packages[@]}"; do
  echo "$package"
done
# lintian runs as root only when told it may.
lintian --fail-on error --allow-root "${packages[@]}"
