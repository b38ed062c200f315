# The tests in the virtual machine. To be sourced, after common.sh.

# run_radio_tests STAGE [NAME...]: those that are named, or all.
run_radio_tests() {
    local stage="$1" name failed=()
    shift
    tests/radios/build || fail "The virtual machine could not be built; the lines above say why.
Without it the real radios are not tested end to end; all else is tested by scripts/test."
    qemu-system-x86_64 --version >/dev/null 2>&1 ||
        fail "qemu-system-x86_64 does not run here, so the virtual machine cannot be started."
    if [ $# -eq 0 ]; then
        for name in tests/radios/tests/*.sh; do
            set -- "$@" "$(basename "$name" .sh)"
        done
    fi
    for name in "$@"; do
        [ -e "tests/radios/tests/$name.sh" ] || fail "There is no test tests/radios/tests/$name.sh"
    done
    for name in "$@"; do
        say "In the virtual machine: $name"
        tests/radios/run "$stage" "tests/radios/tests/$name.sh" || failed+=("$name")
    done
    [ ${#failed[@]} -eq 0 ] || fail "Tests failed in the virtual machine: ${failed[*]}"
}
