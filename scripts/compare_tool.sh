#!/bin/sh
# Times nqdom against a bare host (bench/bare_host.cpp: loadFile + createXML,
# nothing else) and xmllint on one generated document, in rounds that take
# turns, and prints a Markdown table: median CPU time (user + system) and
# peak resident memory.
# Usage: compare_tool.sh BUILD_DIR [MEGABYTES] [ROUNDS]
set -eu
build=$(cd "$1" && pwd)
mb=${2:-100}
rounds=${3:-3}
root=$(cd "$(dirname "$0")/.." && pwd)
tool="$build/tools/nqdom/nqdom"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Records of elements, attributes, a comment, an entity reference and mixed
# content, with the indentation a person would write.
python3 - "$work/doc.xml" "$mb" <<'PY'
import sys
path, size = sys.argv[1], int(sys.argv[2]) << 20
with open(path, "w", encoding="utf-8") as out:
    out.write('<?xml version="1.0" encoding="UTF-8"?>\n<catalog>\n')
    n = written = 0
    while written < size:
        item = (f'  <item id="i{n}" kind="book">\n    <!-- n{n} -->\n'
                f'    <title>T\u00eftle {n} &amp; more</title>\n    <price>{n % 100}.50</price>\n'
                f'    <p>Mixed <b>bold</b> text {n}</p>\n  </item>\n')
        out.write(item)
        written += len(item.encode())
        n += 1
    out.write('</catalog>\n')
PY

# The bare host twice: with the C library's heap, and with the tool's heap
# linked in the same way.
for heap in glibc jemalloc; do
  extra=""
  [ "$heap" = jemalloc ] && extra="$root/tools/nqdom/heap.cpp -ljemalloc"
  # shellcheck disable=SC2086
  c++ -O2 -std=c++17 -I"$root/include" -I"$root/platform/nqxbase" "$root/bench/bare_host.cpp" $extra \
    -o "$work/bare_$heap" -L"$build/src" -L"$build/platform/nqxbase" -lnqdom -lnqxbase \
    -Wl,-rpath,"$build/src:$build/platform/nqxbase:$build/platform/nqxlog:$build/platform/nqsfio"
done

doc="$work/doc.xml"
set -- \
  "bare host, glibc heap|$work/bare_glibc $doc" \
  "bare host, jemalloc + huge pages|$work/bare_jemalloc $doc" \
  "nqdom format|$tool format $doc" \
  "nqdom format --pretty|$tool format --pretty $doc" \
  "nqdom tree|$tool tree $doc" \
  "xmllint --noout|xmllint --noout $doc" \
  "xmllint --format|xmllint --format $doc"
i=0
while [ "$i" -lt "$rounds" ]; do
  for row in "$@"; do
    name=${row%%|*}
    /usr/bin/time -f "%U %S %M" -o "$work/t" sh -c "${row#*|} >/dev/null"
    echo "$name|$(cat "$work/t")" >>"$work/times"
  done
  i=$((i + 1))
done

echo "$(du -m "$doc" | cut -f1) MB document, $rounds rounds, load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
echo "| command | CPU s (median) | user + system | / bare host, jemalloc | / xmllint --format | peak MB |"
echo "|---|---:|---:|---:|---:|---:|"
python3 - "$work/times" <<'PY'
import statistics, sys
rows = {}
for line in open(sys.argv[1]):
    name, figures = line.rstrip("\n").split("|")
    user, system, kb = figures.split()
    rows.setdefault(name, []).append((float(user) + float(system), int(kb), f"{user} + {system}"))
cpu = {name: statistics.median(t for t, _, _ in runs) for name, runs in rows.items()}
host, lint = cpu["bare host, jemalloc + huge pages"], cpu["xmllint --format"]
for name, runs in rows.items():
    peak = max(kb for _, kb, _ in runs) / 1024
    split = next(parts for t, _, parts in runs if t == cpu[name]) if len(runs) % 2 else "-"
    print(f"| {name} | {cpu[name]:.2f} | {split} | {cpu[name] / host:.2f} | {cpu[name] / lint:.2f} | {peak:.0f} |")
PY
