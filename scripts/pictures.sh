#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Takes the pictures of README.md anew, of the program that was built last.
# Usage: scripts/pictures.sh [BRAMBURY]     BRAMBURY is the program; build/release/bin/brambury if none is given.
set -euo pipefail
here=$(dirname "$(dirname "$(readlink -f "$0")")")
brambury=$(readlink -f "${1:-$here/build/release/bin/brambury}")
cd "$here"
. scripts/common.sh
install_packages build run pictures
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mkdir -m 700 "$scratch/runtime"
export HOME=$scratch XDG_RUNTIME_DIR=$scratch/runtime LC_ALL=C.UTF-8
"$brambury" --home "$scratch/home" init --sample >/dev/null
"$brambury" --home "$scratch/home" pictures --light "$scratch/all"

# A picture of a window and its name in docs. A palette of 256 colours makes them a quarter of the size.
while read -r window name; do
    pngquant --force --strip --speed 1 --output "docs/$name.png" 256 "$scratch/all/$window-light.png"
done <<'PICTURES'
main-tested brambury
wizard-list harvest
link link
templates templates
mail-preview preview
PICTURES
ls -l docs/*.png
