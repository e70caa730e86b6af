#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Holds what the desktop and the shell read about the program to their own rules.
# Usage: check_packaging.sh FOLDER
set -euo pipefail
cd "$1"
desktop-file-validate brambury.desktop
appstreamcli validate --no-net org.brambury.Brambury.metainfo.xml
bash -n brambury.bash-completion

mime=$(mktemp -d)
trap 'rm -rf "$mime"' EXIT
mkdir "$mime/packages"
cp org.brambury.Brambury.xml "$mime/packages/"
said=$(update-mime-database "$mime" 2>&1)
grep -q 'application/x-brambury-database:Bramdat.mdb' "$mime/globs2" || { echo "no MIME type: $said" >&2; exit 1; }

said=$(MANWIDTH=100 man --warnings -E UTF-8 -l brambury.1 2>&1 >/dev/null)
[ -z "$said" ] || { echo "$said" >&2; exit 1; }
