#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Holds what the desktop and the shell read about the program to their own rules.
# Usage: check_packaging.sh FOLDER
set -euo pipefail
cd "$1"
desktop-file-validate org.brambury.Brambury.desktop
appstreamcli validate --no-net org.brambury.Brambury.metainfo.xml
# The desktop takes them for one program by the name alone.
for line in '<id>NAME</id>' '<launchable type="desktop-id">NAME.desktop</launchable>'; do
    grep -F "${line/NAME/org.brambury.Brambury}" org.brambury.Brambury.metainfo.xml ||
        { echo "metainfo: another name" >&2; exit 1; }
done
grep -x 'Icon=org.brambury.Brambury' org.brambury.Brambury.desktop || { echo "icon: another name" >&2; exit 1; }
bash -n brambury.bash-completion

mime=$(mktemp -d)
trap 'rm -rf "$mime"' EXIT
mkdir "$mime/packages"
cp org.brambury.Brambury.xml "$mime/packages/"
said=$(update-mime-database "$mime" 2>&1)
grep -q 'application/x-brambury-database:Bramdat.mdb' "$mime/globs2" || { echo "no MIME type: $said" >&2; exit 1; }

said=$(MANWIDTH=100 man --warnings -E UTF-8 -l brambury.1 2>&1 >/dev/null)
[ -z "$said" ] || { echo "$said" >&2; exit 1; }
