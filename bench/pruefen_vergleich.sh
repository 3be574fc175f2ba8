#!/usr/bin/env bash
# Times `hainbrem pruefen` on a large Mac-like home against `du -sxB1` over exactly the folders
# the check reports: several runs each, warm cache, median, ratio printed. The check also
# lists, ages and sorts, so the ratio shows what finding and the bounded measuring pool cost
# on top of a plain single-threaded measurement.
#   bench/pruefen_vergleich.sh [WURZEL] [LAEUFE]
# Without WURZEL the home is generated once into /tmp/hainbrem-bench-pruefen (home/ and var/T/).
# HAINBREM_BAU picks the build folder (default build/release, built on demand).
set -euo pipefail
cd "$(dirname "$0")/.."
wurzel=${1:-/tmp/hainbrem-bench-pruefen}
laeufe=${2:-7}
bau=${HAINBREM_BAU:-build/release}
bin=$bau/cli/hainbrem
gen=$bau/bench/baumgenerator
if [ ! -x "$bin" ] || [ ! -x "$gen" ]; then
  if [ "$bau" = build/release ]; then
    cmake --preset release >/dev/null
  else
    cmake -S . -B "$bau" -DCMAKE_BUILD_TYPE=Release >/dev/null
  fi
  cmake --build "$bau" -j "$(nproc)" --target hainbrem baumgenerator >/dev/null
fi

home=$wurzel/home
temp=$wurzel/var/T
if [ ! -d "$home" ]; then
  mkdir -p "$home" "$temp"
  # a few big caches made of many files, as real ones are
  "$gen" "$home/Library/Caches/com.grosses.programm" --dateien 40000 --seed 1 --dubletten 50 >/dev/null
  "$gen" "$home/Library/Application Support/Slack/Cache" --dateien 20000 --seed 2 --dubletten 20 >/dev/null
  "$gen" "$home/Library/Developer/Xcode/DerivedData/Projekt-abc" --dateien 30000 --seed 3 --dubletten 20 >/dev/null
  "$gen" "$home/.npm/_cacache" --dateien 20000 --seed 4 --dubletten 20 >/dev/null
  "$gen" "$home/.cache/werkzeug" --dateien 10000 --seed 5 --dubletten 10 >/dev/null
  # and many small ones
  for i in $(seq 300); do
    mkdir -p "$home/Library/Caches/com.programm.nr$i" "$home/Library/Logs/Programm$i"
    head -c $((i * 97 + 1000)) /dev/urandom >"$home/Library/Caches/com.programm.nr$i/cache.db"
    head -c 2000 /dev/urandom >"$home/Library/Logs/Programm$i/protokoll.log"
  done
  for i in $(seq 40); do
    mkdir -p "$home/Library/Application Support/Programm$i/Profile/Default/Code Cache/js"
    head -c 50000 /dev/urandom >"$home/Library/Application Support/Programm$i/Profile/Default/Code Cache/js/index"
    head -c 3000 /dev/urandom >"$home/Library/Application Support/Programm$i/Profile/Default/Preferences"
  done
fi

lauf() { env HOME="$home" TMPDIR="$temp" XDG_DATA_HOME= "$bin" "$@"; }
liste=$(mktemp)
trap 'rm -f "$liste"' EXIT
# the reported paths, each once (a folder found by two rules is measured by du once, too)
lauf --json pruefen | python3 -c '
import json, sys
pfade, summe = {}, 0
for regel in json.load(sys.stdin):
    for f in regel["funde"] + regel["uebersprungen"]:
        pfade.setdefault(f["pfad"], f["bytes"])
sys.stdout.write("".join(p + "\0" for p in pfade))
sys.stderr.write("%d %d\n" % (len(pfade), sum(pfade.values())))
' >"$liste" 2>"$liste.summe"
read -r funde wir <"$liste.summe"
rm -f "$liste.summe"
du=$(du -sxB1 --files0-from="$liste" | awk '{s += $1} END {printf "%.0f\n", s}')
echo "Funde: $funde, Bytes: hainbrem $wir, du $du"
eintraege=$(find "$home" | wc -l)

median() { sort -n | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
zeit() { local t0 t1; t0=$(date +%s%N); "$@" >/dev/null; t1=$(date +%s%N); awk -v n=$((t1 - t0)) 'BEGIN {printf "%.4f\n", n / 1e9}'; }

# warm the cache, then alternate so both see the same conditions
lauf pruefen >/dev/null; du -sxB1 --files0-from="$liste" >/dev/null
h=(); d=()
for _ in $(seq "$laeufe"); do
  h+=("$(zeit lauf pruefen)")
  d+=("$(zeit du -sxB1 --files0-from="$liste")")
done
mh=$(printf '%s\n' "${h[@]}" | median)
md=$(printf '%s\n' "${d[@]}" | median)
printf 'Einträge im Home: %d, Läufe: %d\nhainbrem pruefen:  %.3f s (Median)\ndu -sxB1 (Funde):  %.3f s (Median)\nVerhältnis:        %.2f\n' \
  "$eintraege" "$laeufe" "$mh" "$md" "$(awk -v a="$mh" -v b="$md" 'BEGIN {print a / b}')"
