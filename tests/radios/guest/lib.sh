# For tests in the guest, which begin with: . /mnt/tests/lib.sh

# A test starts itself again, as a child with a limit.
if [ -z "${LIMIT:-}" ]; then
    read -r LIMIT </mnt/tests/limit
    export LIMIT
    timeout -k 20 "$LIMIT" bash "$0"
    case $? in 124 | 137) echo "FAIL the test was ended after $LIMIT s" ;; esac
    exit
fi

command_not_found_handle() {
    failed "$1: no such command" >/dev/console
    return 127
}

# What the test's programs and the kernel have logged last.
print_logs() {
    local log
    for log in /tmp/*.log; do
        case "$log" in */check.log | */prints.log | */exits.log | */gtest.log) continue ;; esac
        [ ! -s "$log" ] || { echo "--- $log" && tail -n 40 "$log"; }
    done
    echo "--- the kernel's log"
    dmesg | tail -n 20
    [ ! -e /tmp/packets ] || { echo "--- the controllers' packets" && btmon -t -r /tmp/packets 2>&1 | tail -n 300; }
}

# failed NAME [LINES FILE]: prints FAIL with the name, and the last lines of the file; when something fails for the
# first time, the logs as well.
failed() {
    echo "FAIL $1"
    [ $# -lt 3 ] || tail -n "$2" "$3"
    [ -e /tmp/failed ] || { : >/tmp/failed && print_logs; }
}
trap 'failed "the test ends in time"; exit 1' TERM

# check NAME COMMAND...: prints PASS or FAIL with the name, and what a command that failed printed.
check() {
    local name=$1
    shift
    if "$@" >/tmp/check.log 2>&1; then
        echo "PASS $name"
    else
        failed "$name" 20 /tmp/check.log
        return 1
    fi
}

# gtest COMMAND...: each of the program's tests is a PASS or a FAIL.
gtest() {
    "$@" --gtest_color=no >/tmp/gtest.log 2>&1
    local code=$?
    sed -n 's/^\[       OK \] \(.*\) (.*/PASS \1/p; s/^\[  FAILED  \] \(.*\) (.*/FAIL \1/p' /tmp/gtest.log
    grep -q '^\[       OK ' /tmp/gtest.log || failed "$*: no test has passed"
    [ $code -eq 0 ] || failed "$* ended with $code" 80 /tmp/gtest.log
}

# wait_for SECONDS COMMAND...: until the command succeeds.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    while ! "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.1
    done
}

# prints TEXT COMMAND...: the command's output has the text, an extended regular expression.
prints() {
    local text=$1
    shift
    "$@" >/tmp/prints.log 2>&1
    cat /tmp/prints.log
    grep -qE -- "$text" /tmp/prints.log
}

# prints_not TEXT COMMAND...: it succeeds, and its output does not have the text.
prints_not() {
    local text=$1
    shift
    "$@" >/tmp/prints.log 2>&1 || return 1
    cat /tmp/prints.log
    ! grep -qE -- "$text" /tmp/prints.log
}

# exits CODE TEXT COMMAND...: the same, and the command's exit status is the code.
exits() {
    local expected=$1 text=$2 code
    shift 2
    "$@" >/tmp/exits.log 2>&1
    code=$?
    cat /tmp/exits.log
    echo "exit status $code"
    test $code = "$expected" && grep -qE -- "$text" /tmp/exits.log
}

# is_over PROCESS
is_over() { ! kill -0 "$1" 2>/dev/null; }

# bluez ARGUMENTS OF BUSCTL: without having the bus start a bluetoothd that is not there.
bluez() { busctl --system --auto-start=no --timeout=${BLUEZ_LIMIT:-40} "$@"; }

dbus_start() { [ -e /run/dbus/system_bus_socket ] || dbus-daemon --system --fork --nopidfile; }

# dbus_end: all programs lose their connections to it.
dbus_end() { kill "$(pidof dbus-daemon)" && rm /run/dbus/system_bus_socket; }

# controllers_start: two LE controllers that receive each other, hci0 and hci1. Without -L (classic, too)
# pairing would end in a kernel bug.
controllers_start() {
    # The kernel gives a new controller two seconds for its first answer, and btvirt gives none while these
    # are loaded for it.
    modprobe -a hci_vhci algif_hash algif_skcipher aes_generic cmac ecb
    dbus_start
    local tries
    for tries in 1 2 3; do
        btvirt -l2 -L >/tmp/btvirt.log 2>&1 &
        BTVIRT=$!
        if wait_for 10 python3 /mnt/tests/hci.py --ready 2; then
            [ -e /tmp/packets ] || btmon -w /tmp/packets >/dev/null 2>&1 &
            return 0
        fi
        # On a machine this busy a controller was given up by the kernel: as if it were plugged in again.
        kill $BTVIRT
        wait $BTVIRT
    done
    return 1
}

adapter_is_there() { bluez get-property org.bluez "/org/bluez/$1" org.bluez.Adapter1 Address; }

# exec_bluetoothd [SETTING...]: with these lines below [GATT] in its configuration. One channel only: with more
# of them (EATT) this bluetoothd now and then loops, and answers nothing, when a connection ends while it still
# discovers the services.
exec_bluetoothd() {
    printf '%s\n' '[GATT]' 'Channels = 1' "$@" >/tmp/bluetoothd.conf
    exec /usr/libexec/bluetooth/bluetoothd -n --configfile=/tmp/bluetoothd.conf >>/tmp/bluetoothd.log 2>&1
}

adapters_are_there() {
    BLUEZ_LIMIT=3 wait_for 30 adapter_is_there hci0 && BLUEZ_LIMIT=3 wait_for 30 adapter_is_there hci1
}

# bluetoothd_start [SETTING...]: it misses controllers that the kernel is still setting up.
bluetoothd_start() {
    exec_bluetoothd "$@" &
    BLUETOOTHD=$!
    adapters_are_there
}

# bluetoothd_keep: the same, but it is started again whenever it ends. Its id is in /run/bluetoothd.pid.
bluetoothd_keep() {
    while :; do
        exec_bluetoothd &
        echo $! >/run/bluetoothd.pid
        wait $!
        sleep 0.2  # without a bus it ends at once
    done &
    adapters_are_there
}

bluetooth_start() {
    check "two controllers" controllers_start && check "bluetoothd" bluetoothd_start "$@"
}

# power CONTROLLER true|false
power() { bluez set-property org.bluez "/org/bluez/$1" org.bluez.Adapter1 Powered b "$2"; }

# address_of CONTROLLER: as BlueZ writes it.
address_of() {
    bluez get-property org.bluez "/org/bluez/$1" org.bluez.Adapter1 Address | tr -d '"' | cut -d ' ' -f 2
}

# service_start CONTROLLER [RADIO [OPTION...]]: PelaconService on it, or with what is given for --radio, with a
# runtime folder of its own; its process is in SERVICE. Programs are run with `on CONTROLLER`.
service_start() {
    local controller=$1
    mkdir -p "/run/pelacon-$controller"
    PELACON_RUNTIME_DIR=/run/pelacon-$controller "$STAGE/libexec/pelacon/PelaconService" \
        --radio "${2:-bluetooth=linux:$controller}" "${@:3}" >"/tmp/ready-$controller" 2>>"/tmp/service-$controller.log" &
    SERVICE=$!
    wait_for 20 grep -q ready "/tmp/ready-$controller"
}

# radios_start CONTROLLER...: both adapters are on, and on each that is named there is a service.
radios_start() {
    bluetooth_start || exit
    local controller
    for controller in hci0 hci1; do
        if [[ " $* " == *" $controller "* ]]; then
            check "service on $controller" service_start "$controller"
            check "bt on, $controller" on "$controller" pelaconctl bt on
        else
            check "power $controller" power "$controller" true
        fi
    done
}

# on CONTROLLER COMMAND...: with the service that is on it.
on() { (exec_on "$@"); }

# exec_on CONTROLLER COMMAND... &: the same in the background, so that $! is the command itself.
exec_on() {
    export PELACON_RUNTIME_DIR=/run/pelacon-$1 LD_LIBRARY_PATH=$STAGE/lib PATH=$STAGE/bin:$PATH
    shift
    exec "$@"
}
