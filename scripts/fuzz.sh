#!/usr/bin/env bash
# Fuzzes the T-SQL lexer, parser and dialect with libFuzzer under AddressSanitizer and UBSan for
# the given seconds (default 60): a clang build of the database layer and the fuzz target alone in
# build-fuzz, run over a copy of fuzz/corpus. A crash, a sanitizer report, a leak or an input that
# takes longer than 10 s fails the run; its input is copied into fuzz/regressions/, which every
# test build replays.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
case "$seconds" in
  '' | *[!0-9]*) echo "usage: $0 [seconds]" >&2; exit 2 ;;
esac
dir=${FUZZ_BUILD_DIR:-$root/build-fuzz}
"$root/scripts/install-deps.sh"
CC=clang CXX=clang++ cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORMEX_FUZZ=ON \
  -DORMEX_BUILD_TESTS=OFF -DORMEX_BUILD_BENCH=OFF >/dev/null
cmake --build "$dir" --target tsql_fuzzer --parallel "$(nproc)"

work=$dir/fuzz-run
rm -rf "$work"
mkdir -p "$work/corpus" "$work/artifacts"
cp "$root"/fuzz/corpus/* "$work/corpus/"
status=0
(cd "$work" && "$dir/bin/tsql_fuzzer" -max_total_time="$seconds" -timeout=10 -max_len=16384 \
  -dict="$root/fuzz/tsql.dict" -artifact_prefix="$work/artifacts/" -print_final_stats=1 corpus) \
  >"$work/fuzz.log" 2>&1 || status=$?
grep -E '^#[0-9]+.*DONE|^stat::(number_of_executed_units|average_exec_per_sec|new_units_added)' "$work/fuzz.log" || true
echo "corpus: $(find "$work/corpus" -type f | wc -l) inputs"
if [ "$status" -ne 0 ]; then
  tail -n 60 "$work/fuzz.log" >&2
  mkdir -p "$root/fuzz/regressions"
  for input in "$work"/artifacts/*; do
    [ -f "$input" ] || continue
    cp "$input" "$root/fuzz/regressions/"
    echo "kept $(basename "$input") in fuzz/regressions/" >&2
  done
  echo "the fuzzer failed (exit $status); the full log is $work/fuzz.log" >&2
  exit 1
fi
