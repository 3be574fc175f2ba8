#!/usr/bin/env bash
# Deep scan against du and gdu: the totals must equal `du -sxB1`, and we compare wall time and
# peak memory (warm cache, best of N runs). Needs a Release build:
#   cmake -S . -B build-tiefenscan-rel -DCMAKE_BUILD_TYPE=Release -DHAINBREM_SANITIZER=OFF
#   cmake --build build-tiefenscan-rel --target hainbrem baumgenerator
# Usage: bench/tiefenscan_vergleich.sh [ZIEL] (generated tree, default /tmp/hainbrem-bench-baum)
# Environment: BAU (build dir), DATEIEN (files, default 300000), LAEUFE (runs, default 5),
#              WURZEL=1 also scans the machine's own "/".
# /usr/bin/time comes from the Debian package "time".
set -euo pipefail
cd "$(dirname "$0")/.."
BAU=${BAU:-build-tiefenscan-rel}
ZIEL=${1:-/tmp/hainbrem-bench-baum}
DATEIEN=${DATEIEN:-300000}
LAEUFE=${LAEUFE:-5}
HB="$BAU/cli/hainbrem"
[ -x "$HB" ] || { echo "erst bauen: $HB fehlt" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "/usr/bin/time fehlt (apt-get install time)" >&2; exit 1; }

if [ ! -e "$ZIEL/.fertig" ]; then
  rm -rf "$ZIEL"
  "$BAU/bench/baumgenerator" "$ZIEL" --dateien "$DATEIEN" --seed 42 --dubletten 20 >&2
  touch "$ZIEL/.fertig"
fi

ZEITEN=$(mktemp)
trap 'rm -f "$ZEITEN"' EXIT
# best wall time (s) and largest RSS (KiB) of LAEUFE runs
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

vergleiche() {
  local pfad=$1
  echo "== $pfad"
  local soll ist
  soll=$(du -sxB1 "$pfad" 2>/dev/null | cut -f1 || true)
  ist=$("$HB" --json scan "$pfad" 2>/dev/null | python3 -c 'import json,sys; print(json.load(sys.stdin)["wurzel"]["bytes"])')
  echo "Summe: hainbrem $ist, du -sxB1 $soll $([ "$ist" = "$soll" ] && echo '(gleich)' || echo '(ABWEICHUNG)')"
  "$HB" scan "$pfad" >/dev/null 2>&1  # warm cache
  read -r th mh < <(miss "$HB" scan "$pfad")
  read -r td md < <(miss du -sx "$pfad")
  if command -v gdu >/dev/null; then
    read -r tg mg < <(miss gdu -n -p -c "$pfad")
  else
    tg="-"; mg="-"; echo "gdu ist nicht installiert"
  fi
  printf "%-10s %8s s %8s MiB\n" hainbrem "$th" "$((mh / 1024))" du "$td" "$((md / 1024))" gdu "$tg" "$([ "$mg" = - ] && echo - || echo $((mg / 1024)))"
  awk "BEGIN{printf \"hainbrem/gdu %.2f  hainbrem/du %.2f\n\", $th/$tg, $th/$td}" 2>/dev/null || true
}

vergleiche "$ZIEL"
if [ "${WURZEL:-0}" = 1 ]; then
  vergleiche /
  echo "== ganze Platte (hainbrem scan --platte)"
  "$HB" --json scan --platte 2>/dev/null | python3 -c '
import json,sys
j=json.load(sys.stdin); w=j["wurzel"]
def gemessen(k):
    if k["pfad"].startswith("#"): return sum(gemessen(c) for c in k["kinder"]) if k["pfad"] in ("#platte","#daten") else 0
    return k["bytes"]
d=[k for k in w["kinder"] if k["pfad"]=="#daten"]
print("Wurzel", w["name"], w["bytes"], "Daten gemessen", (d[0]["bytes"]-sum(c["bytes"] for c in d[0]["kinder"] if c["pfad"]=="#rest")) if d else "-",
      "virtuell:", [(k["name"],k["bytes"]) for k in w["kinder"] if k["pfad"].startswith("#vol-")], "Dauer", round(j["dauer"],2))'
fi
