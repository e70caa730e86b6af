#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Makes a release: builds the Debian package and holds it to what a package has to be. It is installed into a folder of
# its own and started there; nothing of this system is changed but the packages that building needs.
# The package is left in build/release.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
. scripts/common.sh

install_packages build run release
use_ccache
cmake --preset release
cmake --build --preset release -j2
rm -f build/release/*.deb
(cd build/release && cpack -G DEB)
package=$(ls build/release/*.deb)

echo "== lintian"
lintian --allow-root --fail-on error "$package"

echo "== first start from the package"
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$package" "$root/package"
desktop-file-validate "$root"/package/usr/share/applications/*.desktop
appstreamcli validate --no-net "$root"/package/usr/share/metainfo/*.xml
compgen -G "$root/package/usr/share/brambury/pictures/*.png" >/dev/null ||
    { echo "The package's help has no pictures." >&2; exit 1; }
XDG_DATA_HOME=$root/data QT_QPA_PLATFORM=offscreen \
    "$root/package/usr/bin/brambury" --home "$root/home" init --sample
QT_QPA_PLATFORM=offscreen "$root/package/usr/bin/brambury" --home "$root/home" sites
echo "Made $package"
