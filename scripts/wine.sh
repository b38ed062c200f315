# A Wine of the tests' own. To be sourced after common.sh.

build_packages+=(g++-mingw-w64-x86-64-posix googletest wine wine64)

# start_wine FOLDER: makes a prefix there, once, and starts its server, to be ended with the script.
start_wine() {
    WINEPREFIX=$(mkdir -p "$1" && cd "$1" && pwd)
    export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
    trap 'wineserver -k 2>/dev/null || true' EXIT
    if [ ! -e "$WINEPREFIX/system.reg" ]; then
        say "Making a Wine prefix ($1)"
        wineboot -i </dev/null >/dev/null 2>&1 || fail "wineboot failed: is Wine installed?"
        # Until it is told otherwise, Wine says that it is Windows 7.
        wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f </dev/null >/dev/null 2>&1 ||
            fail "Wine's registry could not be written."
    fi
    # The server that made the prefix lingers for seconds, one of an interrupted run stays: each would
    # keep the next from starting.
    wineserver -k 2>/dev/null || true
    wineserver -w
    # A server that stays, and a first program with no streams of ours: what starts Wine's own
    # processes would otherwise hold on to the test runner's output.
    wineserver -p || fail "Wine's server did not start in $1."
    wine cmd /c exit </dev/null >/dev/null 2>&1 || fail "Wine runs no program in $1."
}
