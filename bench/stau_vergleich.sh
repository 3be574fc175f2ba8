#!/usr/bin/env bash
# How long the window stalls while the whole disk is scanned, as a user feels it: hainbrem-app
# runs under Xvfb on a fresh home; bench/klickmesser clicks through the sidebar's pages over the
# X server and takes the time from each click until the X server has the clicked item drawn as
# selected. Per run: idle clicks, then every cache dropped and "Platte scannen" (Ctrl+Shift+R)
# with clicks until 1.5 s after the scan. Several programs are run in turn, run by run.
# Usage: bench/stau_vergleich.sh [APP ...]   (default: build/release/app/hainbrem-app)
# Environment: LAEUFE (default 3), RUHE (idle clicks per run, default 20), KALT (default 1: drop
#              the caches before each scan, needs root; 0: a warm scan), MESSER (the measurer,
#              default build/release/bench/klickmesser), ROH (a folder that keeps every click:
#              "phase item second ms", file roh-PROGRAM-RUN).
set -euo pipefail
cd "$(dirname "$0")/.."
LAEUFE=${LAEUFE:-3}
RUHE=${RUHE:-20}
KALT=${KALT:-1}
MESSER=${MESSER:-build/release/bench/klickmesser}
ROH=${ROH:-}
[ $# -gt 0 ] || set -- build/release/app/hainbrem-app
[ -x "$MESSER" ] || { echo "erst bauen: $MESSER fehlt (cmake --build --preset release --target klickmesser)" >&2; exit 1; }
command -v Xvfb >/dev/null || { echo "Xvfb fehlt (apt-get install xvfb)" >&2; exit 1; }
for app in "$@"; do [ -x "$app" ] || { echo "kein Programm: $app" >&2; exit 1; }; done
kalt=()
if [ "$KALT" = 1 ]; then
  if [ "$(id -u)" != 0 ]; then
    echo "Die Caches lassen sich nur als root leeren (KALT=0 für einen warmen Scan)." >&2
    exit 2
  fi
  kalt=(--kalt)
fi

arbeit=$(mktemp -d /tmp/hainbrem-stau-XXXXXX)
app_pid="" xvfb_pid=""
stoppe() {
  if [ -n "$app_pid" ]; then kill "$app_pid" 2>/dev/null || true; wait "$app_pid" 2>/dev/null || true; fi
  if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; fi
  app_pid="" xvfb_pid=""
}
trap 'stoppe; rm -rf "$arbeit"' EXIT

lauf() {  # lauf APP ROHDATEI: one application on its own X server and home
  local app=$1 roh=$2 home anzeige=""
  home=$(mktemp -d "$arbeit/home-XXXXXX")
  mkdir -p "$home/tmp"
  : > "$arbeit/anzeige"
  Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp 3>"$arbeit/anzeige" >/dev/null 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 100); do
    anzeige=$(cat "$arbeit/anzeige")
    [ -n "$anzeige" ] && break
    sleep 0.1
  done
  [ -n "$anzeige" ] || { echo "Xvfb startet nicht" >&2; exit 1; }
  # the fresh home is the whole world: settings, history, Trash and temp folder live in it
  env -i PATH="$PATH" DISPLAY=":$anzeige" HOME="$home" XDG_CONFIG_HOME="$home/.config" \
    XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$home" TMPDIR="$home/tmp" LANG=de_DE.UTF-8 \
    QT_QPA_PLATFORM=xcb "$app" >"$arbeit/app.log" 2>&1 &
  app_pid=$!
  DISPLAY=":$anzeige" "$MESSER" --pid "$app_pid" --ruhe "$RUHE" --scan "${kalt[@]}" --roh "$roh"
  stoppe
}

zusammen() {  # zusammen PHASE ROHDATEIEN…: every click of all runs
  cat "${@:2}" | awk -v p="$1" '$1 == p {print $4}' | sort -g | awk '
    {w[NR] = $1} END {
      if (NR == 0) exit
      printf "%4d Klicks, Median %5.1f ms, 90 %% %5.1f ms, längster %6.1f ms", NR, w[int((NR + 1) / 2)],
             w[int(0.9 * (NR - 1) + 1.5)], w[NR]
    }'
}

for r in $(seq "$LAEUFE"); do
  i=0
  for app in "$@"; do
    i=$((i + 1))
    echo "== Lauf $r, $app (Last: $(cut -d' ' -f1-3 /proc/loadavg))"
    lauf "$app" "$arbeit/roh-$i-$r"
  done
done
[ -z "$ROH" ] || { mkdir -p "$ROH" && cp "$arbeit"/roh-* "$ROH"/; }
echo "== zusammen ($LAEUFE Läufe$([ "$KALT" = 1 ] && echo ", kalt"))"
i=0
for app in "$@"; do
  i=$((i + 1))
  dateien=("$arbeit"/roh-"$i"-*)
  echo "$app"
  echo "  ruhig:      $(zusammen ruhe "${dateien[@]}")"
  echo "  beim Scan:  $(zusammen scan "${dateien[@]}")"
done
