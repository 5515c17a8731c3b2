#!/usr/bin/env bash
# Runs the screen tests again in a locale that writes decimals with a comma (de_DE.UTF-8), as a
# till set up that way runs the host: Qt adopts the system's locale, and no amount may then reach
# a statement, a seal or the queue for headquarters as "12,5". Generates the locale when the
# machine lacks it (the locales package; root or sudo), and needs a build (scripts/test.sh).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${BUILD_DIR:-$root/build}
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo localedef -i de_DE -f UTF-8 de_DE.UTF-8
fi
export LC_ALL=de_DE.UTF-8 ORMEX_REQUIRE_DECIMAL_COMMA=1 QT_QPA_PLATFORM=offscreen
for program in module_screen_tests module_frame_tests host_ui_tests platform_tests; do
  "$dir/bin/$program" --gtest_brief=1
done
"$dir/bin/db_tests" --gtest_brief=1 --gtest_filter='BoundParameters.*:CardSeal.*:CardLedger.*'
