#!/usr/bin/env bash
# The first scan meets a cold cache: deep scan against gdu and du with the page, dentry and inode
# caches dropped before every single run (needs root; without it the figures would be warm ones,
# so the script stops). Reports the median wall time of LAEUFE runs per tool and the ratios.
# Needs a Release build (cmake --preset release && cmake --build --preset release).
# Usage: bench/kalt_vergleich.sh [ZIEL ...] (default: the generated tree and "/")
# Environment: BAU (build dir, default build/release), LAEUFE (default 3),
#              BAUM (generated tree, default /tmp/hainbrem-bench-baum), DATEIEN (default 300000),
#              NEBEN (another hainbrem, e.g. a build of main, run in turn with the others),
#              OHNE_FREMDE=1 (only hainbrem, without gdu and du).
set -euo pipefail
cd "$(dirname "$0")/.."
BAU=${BAU:-build/release}
LAEUFE=${LAEUFE:-3}
BAUM=${BAUM:-/tmp/hainbrem-bench-baum}
DATEIEN=${DATEIEN:-300000}
HB="$BAU/cli/hainbrem"
NEBEN=${NEBEN:-}
OHNE_FREMDE=${OHNE_FREMDE:-0}
[ -x "$HB" ] || { echo "erst bauen: $HB fehlt" >&2; exit 1; }
[ -z "$NEBEN" ] || [ -x "$NEBEN" ] || { echo "kein Programm: $NEBEN" >&2; exit 1; }
if [ "$(id -u)" != 0 ] || ! { sync && echo 3 > /proc/sys/vm/drop_caches; } 2>/dev/null; then
  echo "Die Caches lassen sich nicht leeren (nur als root, nicht in jedem Container): keine kalten Werte." >&2
  exit 2
fi
[ "$OHNE_FREMDE" = 1 ] || command -v gdu >/dev/null || { echo "gdu fehlt (apt-get install gdu)" >&2; exit 1; }

[ $# -gt 0 ] || set -- "$BAUM" /
if [[ " $* " == *" $BAUM "* && ! -e "$BAUM/.fertig" ]]; then  # generated only when it is walked
  rm -rf "$BAUM"
  "$BAU/bench/baumgenerator" "$BAUM" --dateien "$DATEIEN" --seed 42 --dubletten 20 >&2
  touch "$BAUM/.fertig"
fi

kalt() {  # wall time in seconds of one run after dropping every cache
  sync
  echo 3 > /proc/sys/vm/drop_caches
  local a b
  a=$(date +%s.%N)
  "$@" >/dev/null 2>&1 || true
  b=$(date +%s.%N)
  awk "BEGIN{printf \"%.3f\", $b - $a}"
}

median() { tr ' ' '\n' | sed '/^$/d' | sort -g | awk '{a[NR]=$1} END{print a[int((NR+1)/2)]}'; }

for ziel in "$@"; do
  th="" tn="" tg="" td=""
  for _ in $(seq "$LAEUFE"); do  # interleaved, so a drift of the machine hits every tool alike
    th+=" $(kalt "$HB" scan "$ziel")"
    [ -z "$NEBEN" ] || tn+=" $(kalt "$NEBEN" scan "$ziel")"
    [ "$OHNE_FREMDE" = 1 ] && continue
    tg+=" $(kalt gdu -n -p -c -x "$ziel")"
    td+=" $(kalt du -sx "$ziel")"
  done
  mh=$(echo "$th" | median)
  echo "== $ziel (kalt, Median aus $LAEUFE, Last danach $(cut -d' ' -f1-3 /proc/loadavg))"
  printf "%-10s %7s s   (%s)\n" hainbrem "$mh" "${th# }"
  if [ -n "$NEBEN" ]; then
    mn=$(echo "$tn" | median)
    printf "%-10s %7s s   (%s)   %s\n" neben "$mn" "${tn# }" "$NEBEN"
    awk "BEGIN{printf \"hainbrem/neben %.2f\n\", $mh/$mn}"
  fi
  [ "$OHNE_FREMDE" = 1 ] && continue
  mg=$(echo "$tg" | median) md=$(echo "$td" | median)
  printf "%-10s %7s s   (%s)\n" gdu "$mg" "${tg# }" du "$md" "${td# }"
  awk "BEGIN{printf \"hainbrem/gdu %.2f  hainbrem/du %.2f\n\", $mh/$mg, $mh/$md}"
done
