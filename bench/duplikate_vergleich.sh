#!/usr/bin/env bash
# Duplicate finder against jdupes on a duplicate-heavy generated tree: the same groups as
# `jdupes -r` restricted to files of at least 1,000,000 bytes (hard links are not duplicates
# for either), wall time (warm cache, best of N) and peak memory.
# Usage: bench/duplikate_vergleich.sh [ZIEL] (default /tmp/hainbrem-bench-dup)
# Environment: BAU (Release build dir), DUBLETTEN (groups, default 200 ≈ 2.7 GB), LAEUFE (default 3).
# Needs jdupes and /usr/bin/time (Debian packages "jdupes" and "time").
set -euo pipefail
cd "$(dirname "$0")/.."
BAU=${BAU:-build-tiefenscan-rel}
ZIEL=${1:-/tmp/hainbrem-bench-dup}
DUBLETTEN=${DUBLETTEN:-200}
LAEUFE=${LAEUFE:-3}
HB="$BAU/cli/hainbrem"
[ -x "$HB" ] || { echo "erst bauen: $HB fehlt" >&2; exit 1; }
command -v jdupes >/dev/null || { echo "jdupes fehlt" >&2; exit 1; }

if [ ! -e "$ZIEL/.fertig" ]; then
  rm -rf "$ZIEL"
  "$BAU/bench/baumgenerator" "$ZIEL" --dateien 20000 --seed 7 --dubletten "$DUBLETTEN" >&2
  touch "$ZIEL/.fertig"
fi
echo "Baum: $(du -sh "$ZIEL" | cut -f1) belegt, $(find "$ZIEL" -type f -size +976k | wc -l) Dateien ab 1 MB"

A=$(mktemp); B=$(mktemp); ZEITEN=$(mktemp)
trap 'rm -f "$A" "$B" "$ZEITEN"' EXIT
"$HB" --json duplikate "$ZIEL" 2>/dev/null | python3 -c '
import json,sys
for g in json.load(sys.stdin)["gruppen"]: print("\t".join(sorted(d["pfad"] for d in g["dateien"])))' | sort > "$A"
jdupes -r -q -X size+=:1000000 "$ZIEL" | python3 -c '
import sys
g=[]
for z in sys.stdin.read().split("\n"):
    if z: g.append(z)
    elif g: print("\t".join(sorted(g))); g=[]
if g: print("\t".join(sorted(g)))' | sort > "$B"
echo "Gruppen: hainbrem $(wc -l < "$A"), jdupes $(wc -l < "$B") $(cmp -s "$A" "$B" && echo '(gleich)' || echo '(ABWEICHUNG)')"
cmp -s "$A" "$B" || diff "$A" "$B" | head -5

miss() {
  local best="" rss=0
  for _ in $(seq "$LAEUFE"); do
    /usr/bin/time -f "%e %M" -o "$ZEITEN" "$@" >/dev/null 2>&1 || true
    read -r t m < <(tail -1 "$ZEITEN")
    if [ -z "$best" ] || awk "BEGIN{exit !($t < $best)}"; then best=$t; fi
    [ "$m" -gt "$rss" ] && rss=$m
  done
  echo "$best $rss"
}
read -r th mh < <(miss "$HB" duplikate "$ZIEL")
read -r tj mj < <(miss jdupes -r -q -X size+=:1000000 "$ZIEL")
printf "%-10s %8s s %8s MiB\n" hainbrem "$th" "$((mh / 1024))" jdupes "$tj" "$((mj / 1024))"
awk "BEGIN{printf \"hainbrem/jdupes %.2f\n\", $th/$tj}"
