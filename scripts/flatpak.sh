#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Makes the Flatpak, of Debian packages alone: two files for "flatpak install", first the platform (what the program
# needs of Debian), then the program. Both are installed into a folder of their own, and the program is started there in
# its sandbox; nothing of this system is changed but the packages that building needs.
# Usage: scripts/flatpak.sh [PACKAGE]     PACKAGE is the Debian package; scripts/release.sh makes it if none is given.
# The files are left in build/flatpak.
set -euo pipefail
package=${1:+$(readlink -f "$1")}
cd "$(dirname "$(readlink -f "$0")")/.."
. scripts/common.sh
program=org.brambury.Brambury
platform=org.brambury.Platform
platform_branch=12 # the Debian release

install_packages flatpak
bwrap --unshare-all --ro-bind / / true ||
    { echo "No sandbox can be made here (bwrap failed), so the Flatpak cannot be made: where this is a container," \
        "it has to allow user namespaces." >&2; exit 1; }
if [ -z "$package" ]; then
    scripts/release.sh
    package=$(readlink -f build/release/*.deb)
fi
result=$PWD/build/flatpak
rm -rf "$result"
mkdir -p "$result"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

echo "== platform"
# A package that needs what the program's does, and beside it: a shell and its tools for token commands, the C.UTF-8
# locale, time zones, file dialogs outside the sandbox, sound by the desktop's server. What is of no use in a sandbox
# counts as being there: a sound server, drivers of graphics cards, package questions, OpenPGP.
mkdir -p "$scratch/wanted/DEBIAN" "$scratch"/apt/{lists,cache/archives}/partial
cat >"$scratch/wanted/DEBIAN/control" <<CONTROL
Package: brambury-platform
Version: 1
Architecture: all
Maintainer: The Brambury developers <brambury@example.org>
Depends: $(dpkg-deb -W --showformat '${Depends}, ${Recommends}' "$package"), base-files, coreutils, dash, libc-bin,
 libcanberra-pulse, qt6-xdgdesktopportal-platformtheme, tzdata
Provides: debconf-2.0, gpg, libegl-mesa0, libglx-mesa0, pulseaudio
Description: what the platform of the Flatpak is made of
CONTROL
dpkg-deb --build "$scratch/wanted" "$scratch/wanted.deb" >/dev/null
# To apt this is a system on which nothing is installed yet.
: >"$scratch/apt/status"
isolated=(-qq -o Dir::State::status="$scratch/apt/status" -o Dir::State::lists="$scratch/apt/lists"
    -o Dir::Cache="$scratch/apt/cache" -o APT::Sandbox::User= -o Debug::NoLocking=true)
apt-get "${isolated[@]}" update
apt-get "${isolated[@]}" --download-only --no-install-recommends install "$scratch/wanted.deb"

tree=$scratch/platform
usr=$tree/usr
for folder in bin sbin lib lib64; do
    mkdir -p "$usr/$folder"
    ln -s "usr/$folder" "$tree/$folder"
done
for file in "$scratch"/apt/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$file" |
        tar -x -C "$tree" --keep-directory-symlink --no-same-owner --exclude='./usr/share/man' \
            --exclude='./usr/share/info' --exclude='./usr/share/locale' --exclude='./usr/share/lintian'
done
find "$usr/share/doc" -type f ! -name copyright -delete
# What the packages would do when they are configured.
mv "$tree/etc" "$usr/etc"
cp "$usr/share/libc-bin/nsswitch.conf" "$usr/etc/nsswitch.conf"
mkdir -p "$usr/etc/ssl/certs"
cat "$usr"/share/ca-certificates/mozilla/*.crt >"$usr/etc/ssl/certs/ca-certificates.crt"
XDG_DATA_DIRS=$usr/share update-mime-database "$usr/share/mime"
# The fonts of the system, which Flatpak tells of there.
cat >"$usr/etc/fonts/conf.d/05-system.conf" <<'FONTS'
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig><include ignore_missing="yes">/run/host/font-dirs.xml</include></fontconfig>
FONTS
on=$platform/$(flatpak --default-arch)/$platform_branch
printf '[Runtime]\nname=%s\nruntime=%s\nsdk=%s\n' $platform "$on" "$on" >"$tree/metadata"
mkdir "$tree/files" # it is looked for, though the files of a platform are in usr
flatpak build-export --runtime "$scratch/repo" "$tree" $platform_branch

echo "== program"
# The secret service keeps the passwords of mail servers; the folder of documents is what the command line and the user
# both see, while file dialogs reach the others by the portal.
permissions=(--share=network --share=ipc --socket=wayland --socket=fallback-x11 --socket=pulseaudio --socket=cups
    --talk-name=org.freedesktop.secrets --talk-name=org.freedesktop.Notifications --filesystem=xdg-documents)
dpkg-deb -x "$package" "$scratch/program"
mv "$scratch/program/usr" "$scratch/program/files"
printf '[Application]\nname=%s\nruntime=%s\nsdk=%s\n' $program "$on" "$on" >"$scratch/program/metadata"
flatpak build-finish --command=brambury "${permissions[@]}" "$scratch/program"
flatpak build-export "$scratch/repo" "$scratch/program" stable

flatpak build-bundle --runtime "$scratch/repo" "$result/$platform.flatpak" $platform $platform_branch
flatpak build-bundle "$scratch/repo" "$result/$program.flatpak" $program stable

echo "== first start in the sandbox"
mkdir -p "$scratch"/home/{.config,Documents}
echo 'XDG_DOCUMENTS_DIR="$HOME/Documents"' >"$scratch/home/.config/user-dirs.dirs"
mkdir -m 700 "$scratch/runtime"
export HOME=$scratch/home XDG_RUNTIME_DIR=$scratch/runtime FLATPAK_USER_DIR=$scratch/installation
unset XDG_DATA_HOME XDG_CONFIG_HOME XDG_CACHE_HOME DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS
for file in $platform $program; do
    flatpak install --user --noninteractive "$result/$file.flatpak"
done
sandboxed() { flatpak run --user --env=QT_QPA_PLATFORM=offscreen $program "$@"; }
must() { "$@" || { echo "In the sandbox there is not what is expected: $*" >&2; exit 1; }; }
sandboxed init --sample
must test -s "$HOME/.var/app/$program/data/Brambury/Data/Bramdat.mdb"
sandboxed sites
sandboxed queue test --status active,broken --all-sites
# Some of the sample's links fail, which is exit code 1.
tested=$(sandboxed test) || must test $? = 1
must grep -q "Located a link to Green Thumb Garden on Rosewood Nursery" <<<"$tested"
must sandboxed pictures --light "$HOME/.var/app/$program/cache/pictures"
must test -s "$HOME/.var/app/$program/cache/pictures/main-tested-light.png"
must sandboxed links-page "Green Thumb Garden" "$HOME/Documents/links.html"
must test -s "$HOME/Documents/links.html"
scheduled=$(sandboxed schedule daily 2>&1) && must false
must grep -q "flatpak run $program schedule run" <<<"$scheduled"
# Each plug-in finds its libraries, also those that no window without a display needs.
must flatpak run --user --command=sh $program -c \
    'for file in /usr/lib/*-linux-gnu*/qt6/plugins/*/*.so /app/bin/brambury; do
        case $(/usr/bin/ld.so --list $file 2>&1) in *"not found"*) echo $file; exit 1 ;; esac
    done'
ls -lh "$result"
