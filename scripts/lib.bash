# shellcheck shell=bash
# What the scripts here share; they source it. Leaves the working directory at the root of the checkout.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit 1
exec </dev/null

# start_log NAME: everything that phases print goes to build/logs/NAME.log, anew.
start_log() {
    log=$root/build/logs/$1.log
    mkdir -p "$root/build/logs"
    : >"$log"
}

# phase TITLE COMMAND...: one line on the terminal, the command's output in the log, its tail here if it fails.
phase() {
    local title=$1 begin=$SECONDS log_begin status=0
    shift
    printf '%s ... ' "$title"
    printf '\n== %s\n' "$title" >>"$log"
    log_begin=$(wc -c <"$log")
    "$@" >>"$log" 2>&1 || status=$?
    if [ "$status" -eq 0 ]; then
        printf 'done (%d s)\n' $((SECONDS - begin))
        return 0
    fi
    printf 'FAILED (%d s)\n' $((SECONDS - begin))
    tail -c "+$((log_begin + 1))" "$log" | tail -n 40
    printf 'The whole log: %s\n' "$log"
    return "$status"
}

configure() {
    local launcher
    launcher=$(command -v ccache || true)
    cmake --preset "$1" "-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher"
}

# set_up PRESET [TARGETS...]: from a bare checkout to build/PRESET/.
set_up() {
    local preset=$1
    shift
    [ $# -gt 0 ] || set -- all
    phase "Installing what is missing" scripts/install-dependencies
    phase "Configuring build/$preset" configure "$preset"
    phase "Building build/$preset" cmake --build --preset "$preset" --target "$@"
}

# fetch_sound_servers: the private servers in $sound_servers, after one look for newer package lists if need be.
sound_servers=$root/build/sound-servers
fetch_sound_servers() {
    scripts/fetch-sound-servers "$sound_servers" && return
    scripts/install-dependencies --update-lists && scripts/fetch-sound-servers "$sound_servers"
}

# fetch_joplin: the real notes application in $joplin, with what building it needs if that is missing. Never fails: where
# it cannot be had, the tests that want it are skipped and say so.
joplin=$root/build/joplin
fetch_joplin() {
    scripts/fetch-joplin "$joplin" && return
    scripts/install-dependencies --notes && scripts/fetch-joplin "$joplin" && return
    rm -f "$joplin/.complete"
}

# A desktop without a screen for the tray application. Never fails: where it cannot be had, its tests are skipped and
# say so.
install_desktop() {
    scripts/install-dependencies --desktop || true
}
