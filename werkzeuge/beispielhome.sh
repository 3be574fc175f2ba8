#!/usr/bin/env bash
# Builds a sample home with something for every page: caches and logs for the catalog, large
# and old files, duplicates, programs with leftovers and leftovers of removed ones, developer
# projects with build folders, and a few items in the Trash.
#   bash werkzeuge/beispielhome.sh ZIEL     → ZIEL/home (about 2.5 GB of real, non-sparse bytes)
set -euo pipefail
ziel=${1:?"Aufruf: beispielhome.sh ZIEL"}
home="$ziel/home"
if [ -e "$home" ]; then echo "beispielhome: $home gibt es schon" >&2; exit 1; fi
mkdir -p "$home"

# datei PFAD MB [TAGE_ALT]: a file of real bytes whose content depends on its name
datei() {
  local p="$home/$1" mb=$2 alt=${3:-0}
  mkdir -p "$(dirname "$p")"
  yes "$1" | head -c "$((mb * 1000 * 1000))" > "$p" || true
  if [ "$alt" -gt 0 ]; then touch -d "$alt days ago" "$p"; fi
}
# kb PFAD KB [TAGE_ALT]
kb() {
  local p="$home/$1" k=$2 alt=${3:-0}
  mkdir -p "$(dirname "$p")"
  yes "$1" | head -c "$((k * 1000))" > "$p" || true
  if [ "$alt" -gt 0 ]; then touch -d "$alt days ago" "$p"; fi
}
alt() { find "$home/$1" -exec touch -d "$2 days ago" {} +; }
programm() {  # programm NAME KENNUNG MB
  local app="$home/Applications/$1.app/Contents"
  mkdir -p "$app/MacOS"
  cat > "$app/Info.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>CFBundleIdentifier</key><string>$2</string>
  <key>CFBundleName</key><string>$1</string>
  <key>CFBundleExecutable</key><string>$1</string>
  <key>CFBundleShortVersionString</key><string>$4</string>
</dict></plist>
PLIST
  datei "Applications/$1.app/Contents/MacOS/$1" "$3"
}

# large and old files
datei "Movies/Urlaub 2019.mov" 420 900
datei "Movies/Hochzeit Anna und Tom.mp4" 260 400
datei "Downloads/ubuntu-22.04-desktop-amd64.iso" 180 500
datei "Documents/Archiv/Projekt-Archiv-2021.zip" 90 800
datei "Music/Live-Mitschnitt.wav" 64 200
datei "Desktop/Bildschirmaufnahme.mov" 55 20
# duplicates: the same photos and a contract in two places
for i in 1 2 3 4 5; do datei "Pictures/Urlaub/IMG_00$i.jpg" 3 700; done
mkdir -p "$home/Downloads/Urlaub-Export"
cp -p "$home"/Pictures/Urlaub/IMG_00{1,2,3}.jpg "$home/Downloads/Urlaub-Export/"
datei "Documents/Vertrag Wohnung.pdf" 2 600
cp -p "$home/Documents/Vertrag Wohnung.pdf" "$home/Desktop/Vertrag Wohnung (1).pdf"
datei "Documents/Steuer/Belege-2023.zip" 12 300
cp -p "$home/Documents/Steuer/Belege-2023.zip" "$home/Downloads/Belege-2023.zip"
kb "Documents/Brief an die Bank.txt" 4 30

# the catalog's places
datei "Library/Caches/com.spotify.client/Data/cache.bin" 80
datei "Library/Caches/com.tinyspeck.slackmacgap/Cache.db" 24
datei "Library/Caches/Google/Chrome/Default/Cache/data_1" 60
datei "Library/Caches/Firefox/Profiles/abc.default/cache2/entries" 30
datei "Library/Caches/Homebrew/downloads/ffmpeg--6.0.bottle.tar.gz" 120 60
datei "Library/Caches/pip/http/wheels.bin" 25
datei "Library/Caches/JetBrains/IntelliJIdea2023.2/caches.bin" 45
datei "Library/Application Support/Slack/Cache/Cache_Data/data_0" 35
datei "Library/Application Support/Slack/Service Worker/CacheStorage/x" 15
kb "Library/Application Support/Slack/storage/root-state.json" 2
datei "Library/Application Support/Code/CachedData/1a2b/data" 22
kb "Library/Application Support/Code/User/settings.json" 1
datei "Library/Developer/Xcode/DerivedData/Wetter-abcdef/Build/Products/app" 150 20
datei "Library/Developer/Xcode/iOS DeviceSupport/16.4 (20E247)/Symbols/dyld" 70 120
datei ".npm/_cacache/content-v2/sha512/aa" 70
datei ".cargo/registry/cache/index.crates.io/serde.crate" 18
datei ".gradle/caches/modules-2/files.bin" 28
datei ".cache/huggingface/hub/models--openai--whisper-small/blob" 95 50
datei "Library/Logs/DiagnosticReports/Spotify-2024.ips" 4
datei "Library/Logs/Slack/slack.log" 6
datei "Downloads/Firefox Setup 121.0.dmg" 130 45
datei "Downloads/Install Spotify.pkg" 48 70

# programs with leftovers, and leftovers of a program long gone
programm Spotify com.spotify.client 40 "1.2.26"
programm Slack com.tinyspeck.slackmacgap 30 "4.35.126"
programm Wetter de.beispiel.wetter 8 "2.1"
datei "Library/Application Support/Spotify/PersistentCache/Storage/a" 20
kb "Library/Preferences/com.spotify.client.plist" 6
datei "Library/Application Support/com.example.fotoschau/Vorschauen.db" 40 400
kb "Library/Preferences/com.example.fotoschau.plist" 3 400
datei "Library/Caches/com.example.fotoschau/thumbs.bin" 12 400
datei "Library/Containers/com.example.notizblock/Data/Library/Caches/x" 9 300
alt "Library/Application Support/com.example.fotoschau" 400
alt "Library/Containers/com.example.notizblock" 300

# developer projects: one resting for weeks, one worked on today
kb "Projects/webshop/package.json" 2
datei "Projects/webshop/node_modules/react/index.js" 60
datei "Projects/webshop/node_modules/typescript/lib/tsc.js" 55
kb "Projects/webshop/src/index.ts" 8
alt "Projects/webshop" 45
kb "Projects/wettertool/Cargo.toml" 1
datei "Projects/wettertool/target/debug/wettertool" 90
kb "Projects/wettertool/src/main.rs" 6
alt "Projects/wettertool" 70
kb "Code/notizen-app/requirements.txt" 1
datei "Code/notizen-app/.venv/lib/python3.11/site-packages/numpy/core.so" 40
kb "Code/notizen-app/app.py" 4

# the Trash of this home, with the records the freedesktop Trash keeps
trash="$home/.local/share/Trash"
mkdir -p "$trash/files" "$trash/info"
for name in "Alte Präsentation.key:25:40" "Screenshot 2023-01-04.png:3:12"; do
  IFS=: read -r n mb tage <<<"$name"
  yes "$n" | head -c "$((mb * 1000 * 1000))" > "$trash/files/$n" || true
  printf '[Trash Info]\nPath=%s\nDeletionDate=%s\n' "$home/Desktop/$n" \
    "$(date -d "$tage days ago" +%Y-%m-%dT%H:%M:%S)" > "$trash/info/$n.trashinfo"
done
mkdir -p "$home/.config"
echo "$home"
