# What the commands at the root of the tree share; they source it.
# shellcheck shell=bash

# Not left to those who source this: without pipefail a build that failed would look like one that did not.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*" >&2; }

fail() {
    printf '%s\n' "$@" >&2
    exit 1
}

cores() { nproc 2>/dev/null || echo 2; }

# Passes lines on to the log $1. On a terminal the latest one also stands, cut to one row, where the next replaces it.
show_latest_line() {
    local line columns=0
    if [[ -t 2 ]]; then
        columns=$(tput cols 2>/dev/null || echo 80)
    fi
    while IFS= read -r line || [[ -n $line ]]; do
        printf '%s\n' "$line"
        [[ $columns -eq 0 ]] || printf '\r\033[K%.*s' "$((columns - 1))" "$line" >&2
    done >"$1"
    [[ $columns -eq 0 ]] || printf '\r\033[K' >&2
}

# logged LOG COMMAND...: runs a command whose output matters only if it fails.
logged() {
    local log=$1
    shift
    "$@" </dev/null 2>&1 | show_latest_line "$log"
}

# What the programs of a build are started with, for those that run in the course of it.
build_prefix=()

configure_and_build() {
    local preset=$1
    shift
    cmake --preset "$preset" &&
        "${build_prefix[@]}" cmake --build "build/$preset" -j "$(cores)" ${1:+--target "$@"}
}

# build PRESET [TARGET...]: configures and builds, all targets if none is named. What is written on failure is
# everything but ninja's progress. Two builds of the same preset wait for each other.
build() {
    local preset=$1 log=$root/build/$1.log
    mkdir -p "$root/build"
    (
        cd "$root"
        exec 9>"build/$preset.lock"
        flock 9
        logged "$log" configure_and_build "$@"
    ) || {
        say "Building $preset failed:"
        grep -v '^\[[0-9]*/[0-9]*\]' "$log" | tail -n 200 >&2
        return 1
    }
}

# in_private HOME COMMAND...: runs a program where it cannot reach the desk that it runs on: no display, no session
# bus, no settings or music of the user's. HOME is an empty folder to be thrown away.
in_private() {
    local home=$1
    shift
    mkdir -p "$home/runtime"
    chmod 700 "$home/runtime"
    env -u DISPLAY -u WAYLAND_DISPLAY -u XDG_DATA_HOME -u XDG_CONFIG_HOME -u XDG_CACHE_HOME -u XDG_STATE_HOME \
        -u XDG_MUSIC_DIR HOME="$home" XDG_RUNTIME_DIR="$home/runtime" DBUS_SESSION_BUS_ADDRESS=disabled: \
        QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8 "$@"
}
