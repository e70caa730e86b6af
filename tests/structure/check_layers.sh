#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The order of the house, as far as include lines show it: nothing includes a later floor, logic knows no Qt but Core,
# and every outside library is known in one place.
# Usage: check_layers.sh SOURCE_FOLDER QT_INCLUDE_FOLDER     Ends with 1 and says where when the order is broken.
set -euo pipefail
cd "$1"
qt=$2
[ -e "$qt/QtCore/QString" ] || { echo "$qt holds no Qt headers" >&2; exit 1; }

floors=(platform shell data log linktest mail publish
    platform/system platform/desktop platform/pages platform/database platform/network platform/parts platform/widgets
    ui/parts ui/lists ui/help ui/mail ui/records ui/main cli)
broken=0
files=0

# Prints a floor's place, by the path of a file or of an include line. Folders within folders come first.
place_of() {
    local i
    for ((i = ${#floors[@]} - 1; i >= 0; i--)); do
        case $1 in "${floors[i]}"/*) echo "$i"; return ;; esac
    done
    echo -1
}
complain() {
    echo "src/$1: $2" >&2
    broken=1
}
# Whether a Qt header ("QString", "QtCore/QString") belongs to one of the modules given.
of_module() {
    local header=$1 module
    shift
    for module in "$@"; do
        case $header in
        "$module"/*) return 0 ;;
        */*) ;;
        *) [ ! -e "$qt/$module/$header" ] || return 0 ;;
        esac
    done
    return 1
}
# An outside library has one room. platform/parts, which puts the rooms together, tells the versions of all.
known_in() {
    case ${1%/*} in
    "$3" | platform/parts) ;;
    *) complain "$1" "includes $2, which $3 alone may know" ;;
    esac
}

while read -r file; do
    files=$((files + 1))
    own=$(place_of "$file")
    folder=${file%/*}
    [ "$own" -ge 0 ] || complain "$file" "stands on no floor"
    while read -r included; do
        header=${included:1:-1}
        case $included in
        '"'*.moc'"') ;;
        '"'*/*'"')
            other=$(place_of "$header")
            [ "$other" -ge 0 ] || complain "$file" "includes $header, which stands on no floor"
            [ "$other" -le "$own" ] || complain "$file" "includes $header of a later floor"
            case $folder:$header in
            cli:ui/* | cli:platform/widgets/*) complain "$file" "includes $header: commands run without windows" ;;
            esac
            ;;
        '"'*) complain "$file" "includes $header without its folder" ;;
        '<Q'*)
            case $folder in
            ui/* | platform/widgets) ;;
            platform/*)
                of_module "$header" QtCore QtNetwork QtDBus ||
                    complain "$file" "includes $header: only Qt Core, Network and DBus here"
                ;;
            *) of_module "$header" QtCore || complain "$file" "includes $header: only Qt Core here" ;;
            esac
            ;;
        '<curl/'* | '<gmime/'*) known_in "$file" "$header" platform/network ;;
        '<sqlite3'* | '<sqlcipher/'* | '<openssl/'*) known_in "$file" "$header" platform/database ;;
        '<gumbo'* | '<csv.h'*) known_in "$file" "$header" platform/pages ;;
        '<canberra'* | '<hunspell/'* | '<qt6keychain/'*) known_in "$file" "$header" platform/desktop ;;
        '<CLI/'*) known_in "$file" "$header" cli ;;
        esac
    done < <(sed -nE 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*(<[^>]*>|"[^"]*").*/\1/p' "$file")
done < <(find . -mindepth 2 \( -name '*.h' -o -name '*.cpp' \) -printf '%P\n' | sort)

[ $files -gt 0 ] || complain . "no sources found"
exit $broken
