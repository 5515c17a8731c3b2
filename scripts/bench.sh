#!/usr/bin/env bash
# Builds, then runs the batch-shape and card-search benchmarks (the T-SQL executor next to native
# SQLite) and prints a summary table, then the PostgreSQL headquarters benchmark (a branch's replay
# next to libpq writing the same rows, and a chain of branches replaying at once, on a throwaway
# cluster). The SQLite results stay in <build>/bench-results/*.json, the headquarters' tables in
# <build>/bench-results/headquarters.txt.
#
#   scripts/bench.sh           every size: 1,000 to 100,000 cards per batch (1,000 and 10,000 for
#                              the single-card batches), 10,000 and 1,000,000 cards for the
#                              searches, chains of 1, 4, 16 and 64 branches (a quarter of an hour)
#   scripts/bench.sh --smoke   the smallest sizes only, one short run each (CI)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${BUILD_DIR:-$root/build}

smoke=0
for arg in "$@"; do
  case "$arg" in
    --smoke) smoke=1 ;;
    *) echo "usage: $0 [--smoke]" >&2; exit 2 ;;
  esac
done

"$root/scripts/build.sh"
for program in ormex_batch_bench ormex_search_bench ormex_chain_bench; do
  if [ ! -x "$dir/bin/$program" ]; then
    echo "$program was not built (Qt 6 or Google Benchmark missing?)" >&2
    exit 1
  fi
done

out=$dir/bench-results
mkdir -p "$out"
batch_args=()
search_args=()
chain_args=()
if [ "$smoke" = 1 ]; then
  batch_args=(--benchmark_filter='/1000$' --benchmark_min_time=0.01)
  search_args=(--benchmark_filter='/10000/' --benchmark_min_time=0.01)
  chain_args=(--smoke)
fi

# The console shows progress; the JSON file is what the table is made from.
"$dir/bin/ormex_batch_bench" "${batch_args[@]}" --benchmark_out="$out/batch.json" --benchmark_out_format=json
"$dir/bin/ormex_search_bench" "${search_args[@]}" --benchmark_out="$out/search.json" --benchmark_out_format=json

python3 - "$out/batch.json" "$out/search.json" <<'EOF'
import json
import sys

failed = False


def runs(path):
    global failed
    with open(path) as f:
        data = json.load(f)
    for b in data.get("benchmarks", []):
        if b.get("run_type") == "aggregate":
            continue
        if b.get("error_occurred"):
            failed = True
            print(f"ERROR {b['name']}: {b.get('error_message', '')}")
            continue
        yield b


def table(title, headers, rows):
    print()
    print(title)
    widths = [max(len(h), *(len(r[i]) for r in rows)) if rows else len(h) for i, h in enumerate(headers)]
    line = lambda cells: "  ".join(c.rjust(w) if i else c.ljust(w) for i, (c, w) in enumerate(zip(cells, widths)))
    print(line(headers))
    print(line(["-" * w for w in widths]))
    for r in rows:
        print(line(r))


batch_runs = list(runs(sys.argv[1]))
batch = [
    [
        b["name"].split("/")[0],
        f"{b['cards']:.0f}",
        f"{b['exec_ms']:.1f}",
        f"{b['floor_ms']:.1f}",
        f"{b['ratio']:.2f}",
        f"{b['per_card_us']:.1f}",
        f"{b['floor_per_card_us']:.1f}",
        f"{b['plain_ms']:.1f}",
        f"{b['ratio_plain']:.2f}",
        f"{b['ledger_per_card_us']:.1f}",
        f"{b['batch_mb']:.1f}",
        f"{b['peak_extra_mb']:.1f}",
    ]
    for b in batch_runs
    if "exec_ms" in b
]
table(
    "Batches: T-SQL executor vs native SQLite floor (same row changes, seals and ledger included, one"
    " transaction per batch; the single-card shapes send one batch per card), and the plain floor"
    " (the same rows without seals and ledger)",
    ["shape", "cards", "executor ms", "floor ms", "ratio", "us/card", "floor us/card", "plain ms",
     "ratio to plain", "ledger us/card", "batch MB", "peak extra MB"],
    batch,
)

sync = [
    [
        b["name"].split("/")[0],
        f"{b['commits']:.0f}",
        f"{b['normal_us']:.0f}",
        f"{b['full_us']:.0f}",
        f"{b['full_vs_normal']:.1f}",
        f"{b['floor_normal_us']:.0f}",
        f"{b['floor_full_us']:.0f}",
        f"{b['floor_full_vs_normal']:.1f}",
        f"{b['ratio_full']:.2f}",
    ]
    for b in batch_runs
    if "full_us" in b
]
table(
    "Commits: synchronous=NORMAL vs FULL (the system's setting), executor and native SQLite floor"
    " (per commit, one transaction per card)",
    ["shape", "commits", "NORMAL us", "FULL us", "FULL/NORMAL", "floor NORMAL us", "floor FULL us",
     "floor FULL/NORMAL", "FULL exec/floor"],
    sync,
)

search = [
    [
        b["name"].split("/")[0],
        f"{b['cards']:.0f}",
        f"{b['exec_us']:.1f}",
        f"{b['floor_us']:.1f}",
        f"{b['ratio']:.2f}",
        f"{b['median_us']:.1f}",
        f"{b['floor_median_us']:.1f}",
    ]
    for b in runs(sys.argv[2])
]
table(
    "Card search: host member list vs native SQLite floor (per search)",
    ["search", "cards", "executor us", "floor us", "ratio", "median us", "floor median us"],
    search,
)
sys.exit(1 if failed else 0)
EOF

# The headquarters on PostgreSQL: its own throwaway cluster, tables printed as they are measured.
"$dir/bin/ormex_chain_bench" "${chain_args[@]}" | tee "$out/headquarters.txt"
