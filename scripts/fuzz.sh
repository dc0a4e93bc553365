#!/bin/sh
# Runs every fuzz target of a build for a while, each on a copy of its seed
# corpus inside the build directory (the repository is never written).
# Usage: fuzz.sh <build dir> <seconds per target> [target...]
# Exits non-zero when any target crashes, leaks, times out or runs out of
# memory; the input that did it is left in <build dir>/fuzz-runs/<target>/.
set -u
build=$1
seconds=$2
shift 2
root=$(cd "$(dirname "$0")/.." && pwd)
targets=${*:-"load template confserializer transcoder write"}

failed=0
for name in $targets; do
  exe="$build/fuzz/fuzz_$name"
  work="$build/fuzz-runs/$name"
  if [ ! -x "$exe" ]; then
    echo "fuzz: $exe is missing"
    failed=1
    continue
  fi
  rm -rf "$work"
  mkdir -p "$work/corpus"
  cp "$root/fuzz/corpus/$name/"* "$work/corpus/"
  dict=""
  # transcoder and write read bytes that are not XML text.
  [ "$name" != transcoder ] && [ "$name" != write ] && dict="-dict=$root/fuzz/xml.dict"
  echo "fuzz: $name for ${seconds}s"
  # shellcheck disable=SC2086
  "$exe" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$work/" $dict "$work/corpus" >"$work/log" 2>&1
  status=$?
  grep -E '^#[0-9]+[[:space:]]+DONE|^stat::number_of_executed_units|^stat::peak_rss_mb' "$work/log" | sed "s/^/fuzz: $name: /"
  if [ "$status" -ne 0 ]; then
    failed=1
    echo "fuzz: $name FAILED (exit $status); log: $work/log"
    grep -E -A30 'ERROR: |fuzz check failed|SUMMARY' "$work/log" | head -60
    ls "$work" | grep -E '^(crash|leak|timeout|oom|slow-unit)-' | sed "s|^|fuzz: $name: input $work/|"
  fi
done
[ "$failed" -eq 0 ] && echo "fuzz: all targets passed"
exit "$failed"
