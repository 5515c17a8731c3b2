#!/usr/bin/env bash
# Checks that every C++ file of the tree is formatted with the project's .clang-format.
# With --fix, formats them instead.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h')
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}"
  echo "formatting: ${#files[@]} files checked"
fi
