#!/usr/bin/env bash
# The first scan meets a cold cache: deep scan against gdu and du with the page, dentry and inode
# caches dropped before every single run (needs root; without it the figures would be warm ones,
# so the script stops). Reports the median wall time of LAEUFE runs per tool and the ratios.
# Needs a Release build (cmake --preset release && cmake --build --preset release).
# Usage: bench/kalt_vergleich.sh [ZIEL ...] (default: the generated tree and "/")
# Environment: BAU (build dir, default build/release), LAEUFE (default 3),
#              BAUM (generated tree, default /tmp/hainbrem-bench-baum), DATEIEN (default 300000).
set -euo pipefail
cd "$(dirname "$0")/.."
BAU=${BAU:-build/release}
LAEUFE=${LAEUFE:-3}
BAUM=${BAUM:-/tmp/hainbrem-bench-baum}
DATEIEN=${DATEIEN:-300000}
HB="$BAU/cli/hainbrem"
[ -x "$HB" ] || { echo "erst bauen: $HB fehlt" >&2; exit 1; }
if [ "$(id -u)" != 0 ] || ! { sync && echo 3 > /proc/sys/vm/drop_caches; } 2>/dev/null; then
  echo "Die Caches lassen sich nicht leeren (nur als root, nicht in jedem Container): keine kalten Werte." >&2
  exit 2
fi
command -v gdu >/dev/null || { echo "gdu fehlt (apt-get install gdu)" >&2; exit 1; }

if [ ! -e "$BAUM/.fertig" ]; then
  rm -rf "$BAUM"
  "$BAU/bench/baumgenerator" "$BAUM" --dateien "$DATEIEN" --seed 42 --dubletten 20 >&2
  touch "$BAUM/.fertig"
fi
[ $# -gt 0 ] || set -- "$BAUM" /

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
  th="" tg="" td=""
  for _ in $(seq "$LAEUFE"); do  # interleaved, so a drift of the machine hits every tool alike
    th+=" $(kalt "$HB" scan "$ziel")"
    tg+=" $(kalt gdu -n -p -c -x "$ziel")"
    td+=" $(kalt du -sx "$ziel")"
  done
  mh=$(echo "$th" | median) mg=$(echo "$tg" | median) md=$(echo "$td" | median)
  echo "== $ziel (kalt, Median aus $LAEUFE)"
  printf "%-10s %7s s   (%s)\n" hainbrem "$mh" "${th# }" gdu "$mg" "${tg# }" du "$md" "${td# }"
  awk "BEGIN{printf \"hainbrem/gdu %.2f  hainbrem/du %.2f\n\", $mh/$mg, $mh/$md}"
done
