#!/usr/bin/env bash
# Deleting a large node_modules-like tree: `hainbrem entsorgen --loeschen --ja` against `rm -rf`
# of an identical copy. Several runs each, alternating, median; prints the ratio (goal ≤ 0.75).
# Usage: bench/loeschen_vergleich.sh [path/to/hainbrem] [runs]
set -euo pipefail
HAINBREM=${1:-build/cli/hainbrem}
LAEUFE=${2:-5}
[ -x "$HAINBREM" ] || { echo "hainbrem nicht gefunden: $HAINBREM" >&2; exit 1; }
HAINBREM=$(realpath "$HAINBREM")
W=$(mktemp -d /tmp/hainbrem-bench-XXXXXX)
trap 'rm -rf "$W"' EXIT

# ~65,000 entries: 1,000 packages with a few folders, files of a few hundred bytes, and nested
# node_modules in every tenth package, like a real dependency tree.
python3 - "$W/vorlage/node_modules" <<'PY'
import os, sys, random
wurzel = sys.argv[1]
random.seed(7)
eintraege = 0
def datei(p, n):
    global eintraege
    with open(p, "wb") as f: f.write(b"x" * n)
    eintraege += 1
def ordner(p):
    global eintraege
    os.makedirs(p); eintraege += 1
ordner(wurzel)
for i in range(1000):
    paket = os.path.join(wurzel, f"paket-{i}")
    ordner(paket)
    datei(os.path.join(paket, "package.json"), 600)
    datei(os.path.join(paket, "README.md"), 2000)
    for unter in ("lib", "dist", "types"):
        u = os.path.join(paket, unter); ordner(u)
        for k in range(random.randint(12, 24)):
            datei(os.path.join(u, f"modul{k}.js"), random.randint(100, 4000))
    if i % 10 == 0:
        tief = os.path.join(paket, "node_modules", f"abh-{i}", "lib")
        os.makedirs(tief); eintraege += 3
        for k in range(40):
            datei(os.path.join(tief, f"d{k}.js"), 300)
print(f"Baum: {eintraege} Einträge", file=sys.stderr)
PY

HOME_FIXTURE="$W/home"
mkdir -p "$HOME_FIXTURE/.cache/bench" "$W/rm"
zeit() { local a b; a=$(date +%s%N); "$@" >/dev/null; b=$(date +%s%N); awk -v n=$((b - a)) 'BEGIN {printf "%.4f\n", n / 1e9}'; }
median() { sort -g | awk '{a[NR]=$1} END {if (NR%2) print a[(NR+1)/2]; else print (a[NR/2]+a[NR/2+1])/2}'; }

H=(); R=()
for ((i = 1; i <= LAEUFE; i++)); do
  cp -a "$W/vorlage/node_modules" "$HOME_FIXTURE/.cache/bench/node_modules"
  cp -a "$W/vorlage/node_modules" "$W/rm/node_modules"
  sync
  H+=("$(zeit env HOME="$HOME_FIXTURE" "$HAINBREM" entsorgen --loeschen --ja "$HOME_FIXTURE/.cache/bench/node_modules")")
  sync
  R+=("$(zeit rm -rf "$W/rm/node_modules")")
  [ ! -e "$HOME_FIXTURE/.cache/bench/node_modules" ] || { echo "hainbrem hat nicht alles gelöscht" >&2; exit 1; }
  echo "Lauf $i: hainbrem ${H[-1]} s, rm -rf ${R[-1]} s" >&2
done
MH=$(printf '%s\n' "${H[@]}" | median)
MR=$(printf '%s\n' "${R[@]}" | median)
printf 'Median hainbrem: %.3f s\nMedian rm -rf:   %.3f s\nVerhältnis:      %.2f (Ziel ≤ 0,75)\n' "$MH" "$MR" "$(awk -v a="$MH" -v b="$MR" 'BEGIN {print a / b}')"
