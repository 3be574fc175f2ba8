#!/usr/bin/env bash
# Pictures of every page of hainbrem-app on a sample home (werkzeuge/beispielhome.sh), taken
# under Xvfb: every page before anything ran ("-leer"), then the application checks, scans and
# searches everything, cleans up one round (the sheet, the result bar, the history) and undoes
# it; after that every page, the panel and the settings in light, then all again switched live to
# dark, and one page back in light. The README's pictures are copied to docs/bilder/.
#   bash werkzeuge/bildschirmfotos.sh [ORDNER] [PROGRAMM]
#   ORDNER: where the PNGs go (default: build/bildschirmfotos)
#   PROGRAMM: hainbrem-fotograf to run (default: build/release/werkzeuge/hainbrem-fotograf, else build/debug)
#   GANZE_PLATTE=1: the scan covers the whole start disk instead of the sample home
set -euo pipefail
cd "$(dirname "$0")/.."
ziel=$(realpath -m "${1:-build/bildschirmfotos}")
app=${2:-}
if [ -z "$app" ]; then
  for kandidat in build/release/werkzeuge/hainbrem-fotograf build/debug/werkzeuge/hainbrem-fotograf; do
    if [ -x "$kandidat" ]; then app=$kandidat; break; fi
  done
fi
if [ -z "$app" ] || [ ! -x "$app" ]; then echo "bildschirmfotos: hainbrem-fotograf nicht gebaut (cmake --build --preset debug --target hainbrem-fotograf)" >&2; exit 1; fi
command -v Xvfb >/dev/null || { echo "bildschirmfotos: Xvfb fehlt (Paket xvfb)" >&2; exit 1; }

arbeit=$(mktemp -d /tmp/hainbrem-fotos-XXXXXX)
aufraeumen() {
  if [ -n "${xvfb:-}" ]; then kill "$xvfb" 2>/dev/null || true; fi
  rm -rf "$arbeit"
}
trap aufraeumen EXIT
bash werkzeuge/beispielhome.sh "$arbeit" >/dev/null
home="$arbeit/home"

anzeige=:$((90 + RANDOM % 100))
Xvfb "$anzeige" -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
mkdir -p "$ziel"
# the session's runtime folder apart from the temp folder: a temp folder inside it is never taken
install -d -m 700 "$arbeit/laufzeit"
# the sample home is the whole world: its settings, its history, its Trash, its temp folder
env -i PATH="$PATH" DISPLAY="$anzeige" HOME="$home" XDG_CONFIG_HOME="$home/.config" \
  XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$arbeit/laufzeit" TMPDIR="$arbeit/tmp" LANG=de_DE.UTF-8 \
  ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=xcb \
  "$app" -nurHome "$([ "${GANZE_PLATTE:-}" = 1 ] && echo NO || echo YES)" -fotos "$ziel"
mkdir -p docs/bilder
for bild in uebersicht karte; do
  if command -v convert >/dev/null; then
    convert "$ziel/$bild.png" -resize 1000x "docs/bilder/$bild.png"
  else
    cp "$ziel/$bild.png" "docs/bilder/$bild.png"
  fi
done
ls "$ziel"
