#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds Brambury, lays the sample down if there is no program folder yet, and opens the
# window. Without a display it shows the link test instead, whose partners the program plays itself: the results log, the
# links afterwards and a picture of the main window.
# All arguments go to brambury; with a command among them that command is all that runs.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
brambury=$here/build/release/bin/brambury
. "$here/scripts/common.sh"

has_display() {
    [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}${QT_QPA_PLATFORM:-}" ]
}

# In a shell of its own: the arguments may hold paths that start where the user stands.
build() (
    cd "$here"
    install_packages build run
    use_ccache
    cmake --preset release
    cmake --build --preset release -j2
)

# Sorts the arguments: options that every command understands, and whether there is anything else.
sort_arguments() {
    common=()
    command=
    while [ $# -gt 0 ]; do
        case $1 in
        --home)
            common+=("$1" "${2-}")
            [ $# -eq 1 ] || shift
            ;;
        --home=* | --yes) common+=("$1") ;;
        *)
            command=$1
            return
            ;;
        esac
        shift
    done
}

lay_down_sample() {
    local said status=0
    said=$("$brambury" ${common[@]+"${common[@]}"} init --sample 2>&1) || status=$?
    case $status in
    0) echo "$said" >&2 ;;
    2) ;; # there is one already
    *)
        echo "$said" >&2
        exit $status
        ;;
    esac
}

# The main job without a window.
show_link_test() {
    local status=0 links
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    mkdir -m 700 "$scratch/runtime"
    export XDG_RUNTIME_DIR=$scratch/runtime

    # A sample that was tested before has nothing left to test: it is queued again.
    links=$("$brambury" "$@" links --json)
    if grep -q ':28480/' <<<"$links" && ! grep -qE '"TestQueue":(1|true)' <<<"$links"; then
        "$brambury" "$@" queue test --status active,broken --all-sites
    fi
    "$brambury" "$@" test || status=$?
    echo
    "$brambury" "$@" links
    "$brambury" "$@" pictures "$scratch/pictures"
    cp "$scratch/pictures/main-light.png" "$here/build/brambury.png"
    echo
    echo "A picture of the main window: $here/build/brambury.png"
    [ "$links" != "[]" ] ||
        echo "This database has no links to test yet: $brambury${*:+ $*} sample add brings the sample." >&2
    # Some of the sample's links fail on purpose.
    [ $status -eq 1 ] || exit $status
}

build >&2
sort_arguments "$@"
case $command in
init | --help | -h | --version) exec "$brambury" "$@" ;;
esac
lay_down_sample
if [ -n "$command" ] || has_display; then
    exec "$brambury" "$@"
fi
show_link_test "$@"
