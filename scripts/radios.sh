# The tests in the virtual machine. To be sourced, after common.sh.

# Whether QEMU is installed, or can be, and runs.
can_run_radio_tests() {
    (need_packages "${radio_packages[@]}") && timeout 30 qemu-system-x86_64 --version >/dev/null
}

# radio_tests: all names, those first that take longest, as several run at a time.
radio_tests() {
    local name longest="library access_points_many scan wifi access_point"
    printf '%s\n' $longest
    for name in tests/radios/tests/*.sh; do
        name=$(basename "$name" .sh)
        [[ " $longest " == *" $name "* ]] || echo "$name"
    done
}

build_radio_machine() {
    can_run_radio_tests || fail "QEMU does not run here, so the virtual machine cannot be started."
    tests/radios/build || fail "The virtual machine could not be built; the lines above give the reason.
Without it the real radios are not tested end to end; all else is tested by scripts/test."
}

# run_radio_tests STAGE [NAME...]: those that are named, or all.
run_radio_tests() {
    local stage="$1" name failed=()
    shift
    build_radio_machine
    [ $# -gt 0 ] || set -- $(radio_tests)
    for name in "$@"; do
        [ -e "tests/radios/tests/$name.sh" ] || fail "There is no test tests/radios/tests/$name.sh"
    done
    say "Running the tests in the virtual machine"
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

# run_radio_test STAGE NAME FOLDER: prints one line and what was measured, or all of the output of a test that
# failed. NAME.passed is made in the folder if it passed.
run_radio_test() {
    local begin=$SECONDS log="$3/$2.log" result=failed
    if tests/radios/run "$1" "tests/radios/tests/$2.sh" >"$log" 2>&1; then
        result="$(grep -c '^PASS' "$log") checks passed"
        touch "$3/$2.passed"
    fi
    (
        flock 9
        echo "$2: $result ($((SECONDS - begin)) s)"
        if [ "$result" = failed ]; then cat "$log"; else sed -n 's/^FIGURE /    /p' "$log"; fi
    ) 9>"$3/lock"
}
