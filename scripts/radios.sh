# The tests in the virtual machine. To be sourced, after common.sh.

# Whether QEMU is installed, or can be, and runs.
can_run_radio_tests() {
    (need_packages "${radio_packages[@]}") && qemu-system-x86_64 --version >/dev/null
}

# run_radio_tests STAGE [NAME...]: those that are named, or all.
run_radio_tests() {
    local stage="$1" name failed=()
    shift
    can_run_radio_tests || fail "QEMU does not run here, so the virtual machine cannot be started."
    tests/radios/build || fail "The virtual machine could not be built; the lines above give the reason.
Without it the real radios are not tested end to end; all else is tested by scripts/test."
    if [ $# -eq 0 ]; then
        for name in tests/radios/tests/*.sh; do
            set -- "$@" "$(basename "$name" .sh)"
        done
    fi
    for name in "$@"; do
        [ -e "tests/radios/tests/$name.sh" ] || fail "There is no test tests/radios/tests/$name.sh"
    done
    # The tests mostly wait, so that as many as there are processors run at a time.
    trap 'trap - TERM; kill 0' INT TERM  # children in the background ignore Ctrl-C
    local logs
    logs=$(mktemp -d)
    for name in "$@"; do
        while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do wait -n || true; done
        run_radio_test "$stage" "$name" "$logs" &
    done
    wait
    for name in "$@"; do
        [ -e "$logs/$name.passed" ] || failed+=("$name")
    done
    rm -r "$logs"
    [ ${#failed[@]} -eq 0 ] || fail "Tests failed in the virtual machine: ${failed[*]}"
}

# run_radio_test STAGE NAME FOLDER: prints all of the test's output at its end; NAME.passed is made in the
# folder if it passed.
run_radio_test() {
    local begin=$SECONDS
    if tests/radios/run "$1" "tests/radios/tests/$2.sh" >"$3/$2.log" 2>&1; then
        touch "$3/$2.passed"
    fi
    (
        flock 9
        say "In the virtual machine: $2 ($((SECONDS - begin)) s)"
        cat "$3/$2.log"
    ) 9>"$3/lock"
}
