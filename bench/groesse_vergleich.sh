#!/usr/bin/env bash
# Times `hainbrem groesse` against `du -sxB1` on the same tree: several runs each, median,
# ratio printed. Checks both report the same byte count.
#   bench/groesse_vergleich.sh [BAUM] [LAEUFE]
# Without BAUM, a tree of 400,000 files is generated once into /tmp/hainbrem-bench-baum.
set -euo pipefail
cd "$(dirname "$0")/.."
baum=${1:-/tmp/hainbrem-bench-baum}
laeufe=${2:-7}
bin=build/release/cli/hainbrem
gen=build/release/bench/baumgenerator
if [ ! -x "$bin" ] || [ ! -x "$gen" ]; then
  cmake --preset release >/dev/null
  cmake --build --preset release -j "$(nproc)" --target hainbrem baumgenerator >/dev/null
fi
if [ ! -d "$baum" ]; then
  "$gen" "$baum" --dateien 400000
fi

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
zeit() { local t0 t1; t0=$(date +%s%N); "$@" >/dev/null; t1=$(date +%s%N); awk -v n=$((t1 - t0)) 'BEGIN {printf "%.4f\n", n / 1e9}'; }

wir=$("$bin" --json groesse "$baum" | grep -o '"bytes": [0-9]*' | grep -o '[0-9]*$')
du=$(du -sxB1 "$baum" | cut -f1)
[ "$wir" = "$du" ] || { echo "Abweichung: hainbrem $wir, du $du" >&2; exit 1; }
echo "Bytes: $wir (gleich du)"
eintraege=$(find "$baum" | wc -l)

# warm the cache, then alternate so both see the same conditions
"$bin" groesse "$baum" >/dev/null; du -sxB1 "$baum" >/dev/null
h=(); d=()
for _ in $(seq "$laeufe"); do
  h+=("$(zeit "$bin" groesse "$baum")")
  d+=("$(zeit du -sxB1 "$baum")")
done
mh=$(printf '%s\n' "${h[@]}" | median)
md=$(printf '%s\n' "${d[@]}" | median)
printf 'Einträge: %d, Läufe: %d\nhainbrem groesse: %.3f s (Median)\ndu -sxB1:         %.3f s (Median)\nVerhältnis:       %.2f\n' \
  "$eintraege" "$laeufe" "$mh" "$md" "$(awk -v a="$mh" -v b="$md" 'BEGIN {print a / b}')"
