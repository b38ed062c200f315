# A Wine environment for the tests. To be sourced after common.sh.

build_packages+=("${mingw_packages[@]}" googletest wine wine64)

# start_wine FOLDER: creates a prefix there, once, and starts its server, which ends with the script.
start_wine() {
    WINEPREFIX=$(mkdir -p "$1" && cd "$1" && pwd)
    export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
    trap 'wineserver -k 2>/dev/null || true' EXIT
    if [ ! -e "$WINEPREFIX/system.reg" ]; then
        say "Making a Wine prefix ($1)"
        wineboot -i </dev/null >/dev/null 2>&1 || fail "wineboot failed: is Wine installed?"
        # By default, Wine reports Windows 7.
        wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f </dev/null >/dev/null 2>&1 ||
            fail "Wine's registry could not be written."
    fi
    # The server that created the prefix runs for some more seconds, and that of an interrupted run
    # does not end: either would keep the next server from starting.
    wineserver -k 2>/dev/null || true
    wineserver -w
    # A persistent server, and a first program without the script's streams: Wine's own processes
    # would otherwise keep the test runner's output open.
    wineserver -p || fail "Wine's server did not start in $1."
    wine cmd /c exit </dev/null >/dev/null 2>&1 || fail "Wine runs no program in $1."
}
