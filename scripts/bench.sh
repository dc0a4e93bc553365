#!/bin/sh
# Runs the benchmarks of a build and writes the comparison tables into
# bench/README.md, between its results markers.
# Usage: bench.sh <build dir> [benchmark flags for the comparison...]
# e.g.   bench.sh build-bench --benchmark_repetitions=3
set -eu
build=$1
shift
root=$(cd "$(dirname "$0")/.." && pwd)
readme="$root/bench/README.md"
table="$build/bench/results.md"
status=0

load=$(cut -d' ' -f1-3 /proc/loadavg)
for name in confserializer template file load_policy reader; do
  exe="$build/bench/nqdom_bench_$name"
  [ -x "$exe" ] || continue
  "$exe" --benchmark_color=false || status=1
done
rm -f "$table"
"$build/bench/nqdom_bench_compare" --benchmark_color=false --table_out="$table" "$@" || status=1

if [ -s "$table" ]; then
  cpu=$(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //')
  {
    echo "Measured $(date -u +%Y-%m-%d) on $(nproc) cores ($cpu), load average before the run: $load."
    [ $# -gt 0 ] && echo "Flags: $*."
    echo
    cat "$table"
  } >"$table.block"
  awk -v block="$table.block" '
    /<!-- results:begin -->/ { print; while ((getline line < block) > 0) print line; skip = 1; next }
    /<!-- results:end -->/ { skip = 0 }
    !skip { print }
  ' "$readme" >"$readme.new"
  mv "$readme.new" "$readme"
  echo "bench: tables written to $readme"
fi
exit "$status"
