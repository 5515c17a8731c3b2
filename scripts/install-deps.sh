#!/usr/bin/env bash
# Installs the Debian packages the project builds and runs with. Safe to run again: packages that
# are already there are skipped.
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config qt6-base-dev qt6-charts-dev libgl1-mesa-dev libsqlite3-dev sqlite3
          libgtest-dev libgmock-dev libbenchmark-dev fonts-noto-cjk poppler-utils clang-format
          clang libclang-rt-14-dev postgresql libpq-dev libssl-dev libsodium-dev locales
          help2man lintian)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  echo "Installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi
