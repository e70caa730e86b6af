# shellcheck shell=bash
# SPDX-License-Identifier: GPL-3.0-or-later
# What run.sh and test.sh share: installing what is missing. To be sourced by bash in the project's folder.

# Runs a command as root.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "Installing packages needs root or sudo." >&2
        return 1
    fi
}

# Prints the packages that are needed for the given uses and not installed.
missing_packages() {
    local name uses use wanted
    while read -r name uses; do
        case $name in '' | '#'*) continue ;; esac
        wanted=
        for use in "$@"; do
            case " $uses " in *" $use "*) wanted=yes ;; esac
        done
        if [ -n "$wanted" ] &&
            [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" != installed ]; then
            echo "$name"
        fi
    done <scripts/packages.txt
}

# Installs them. Nothing is asked of the network when nothing is missing.
install_packages() {
    local missing policy=/usr/sbin/policy-rc.d barred=
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing: ${missing[*]}"
    as_root apt-get update -q
    # A web server that comes along is started by hand, on a port of its own; the system need not start one.
    if [ ! -e $policy ]; then
        printf '#!/bin/sh\nexit 101\n' | as_root tee $policy >/dev/null
        as_root chmod 755 $policy
        barred=yes
    fi
    local status=0
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}" || status=$?
    [ -z "$barred" ] || as_root rm -f $policy
    return $status
}

# Speeds repeated builds up where ccache is there.
use_ccache() {
    if command -v ccache >/dev/null; then
        export BRAMBURY_CCACHE=ccache
    fi
}
