#!/usr/bin/env bash
# A desktop of a script's own: virtual screen, window manager and silent sound server, for working the player with real
# keys and the pointer. Sourced by scripts that have set `root`, `name` (how their messages begin) and `work` (an empty
# folder, where logs are kept). What was started ends with the script; `work` stays until it is removed.
set -euo pipefail
: "${root:?}" "${name:?}" "${work:?}"

bin=$root/build/release/bin
started=()

# Ends what this run started, the youngest first.
finish() {
    for ((i = ${#started[@]} - 1; i >= 0; i--)); do
        kill "${started[i]}" 2>/dev/null || true
        wait "${started[i]}" 2>/dev/null || true
    done
    started=()
    rm -rf "${work:?}/home" "${work:?}/display"
}
trap finish EXIT

fail() {
    echo "$name: $1" >&2
    [ -z "${DISPLAY:-}" ] || import -window root "$work/failure.png" 2>/dev/null || true
    echo "$name: what was written and seen lies in $work" >&2
    exit 1
}

# start NAME COMMAND...: in the background, its output kept.
start() {
    local log=$work/$1.log
    shift
    "$@" >"$log" 2>&1 3>&- &
    started+=($!)
}

# wait_for WHAT COMMAND...: until the command succeeds, 30 s at most.
wait_for() {
    local what=$1 deadline=$((SECONDS + 30))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $deadline ] || fail "waited in vain for $what"
        sleep 0.1
    done
}

window_titled() { xdotool search --onlyvisible --name "^$1\$" | head -n 1 | grep .; }
no_window_titled() { ! window_titled "$1"; }
server_is_up() { [ -s "$work/display" ]; }
window_manager_is_up() { xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'; }
player_has_ended() { ! kill -0 "$player"; }

# start_desktop WIDTHxHEIGHT: everything a program needs to run, on names that nobody else has.
start_desktop() {
    mkdir -m 700 "$work/home"
    export HOME=$work/home XDG_RUNTIME_DIR=$work/home LC_ALL=C.UTF-8
    unset WAYLAND_DISPLAY XAUTHORITY PULSE_SERVER QT_QPA_PLATFORM DBUS_SESSION_BUS_ADDRESS
    start xvfb bash -c 'exec 3>"$1"; exec Xvfb -displayfd 3 -screen 0 "$2x24" -nolisten tcp +extension RANDR' \
        xvfb "$work/display" "$1"
    wait_for "the X server" server_is_up
    DISPLAY=:$(cat "$work/display")
    export DISPLAY
    start openbox openbox --sm-disable
    wait_for "the window manager" window_manager_is_up
    start pulseaudio pulseaudio -n --daemonize=no --exit-idle-time=-1 -L module-null-sink -L module-native-protocol-unix
    wait_for "the sound server" pactl info
}

# start_player: in `work`/player; sets `player`, its process, and `window`.
start_player() {
    mkdir -p "$work/player"
    cd "$work/player"
    start talvio "$bin/talvio"
    player=${started[-1]}
    wait_for "the player's window" window_titled Talvio
    window=$(window_titled Talvio)
    xdotool windowactivate --sync "$window"
}

# open_film FILE: through the player's file chooser.
open_film() {
    xdotool key --clearmodifiers ctrl+o
    wait_for "the file chooser" window_titled 'Open File'
    xdotool windowactivate --sync "$(window_titled 'Open File')"
    xdotool type --clearmodifiers --delay 8 "$1"
    xdotool key Return
    wait_for "the file chooser to close" no_window_titled 'Open File'
    kill -0 "$player" 2>/dev/null || fail "the player ended"
}

# measure_window: sets X, Y, WIDTH and HEIGHT to its place on the screen.
measure_window() {
    eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(X|Y|WIDTH|HEIGHT)=')"
}

# close_player: by the key of the window manager; it must end well.
close_player() {
    xdotool windowactivate --sync "$window" key alt+F4
    wait_for "the player to end" player_has_ended
    unset 'started[-1]' # it has ended: nothing to end at the finish
    wait "$player" || fail "the player ended with status $?"
}
