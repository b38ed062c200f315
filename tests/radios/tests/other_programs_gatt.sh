# GATT between pelaconctl and programs that are not ours: gatttool, bluetoothctl, and a device made with BlueZ
# alone.
. /mnt/tests/lib.sh
radios_start hci0
ours=$(address_of hci0)
theirs=$(address_of hci1)

echo "Our server, their clients"
cat >/tmp/services.json <<'J'
{"services": [{"uuid": "180D", "characteristics": [
    {"uuid": "2A37", "flags": ["read", "notify"], "value": "0048"},
    {"uuid": "2A38", "flags": ["read"], "value": {"text": "0123456789012345678901234567890123456789"}},
    {"uuid": "2A39", "flags": ["read", "write"], "value": "01"},
    {"uuid": "2A3A", "flags": ["indicate"], "value": "02"},
    {"uuid": "2A3B", "flags": ["writeWithoutResponse"]}]}]}
J
mkfifo /tmp/serve.in
exec_on hci0 pelaconctl gatt serve /tmp/services.json </tmp/serve.in >/tmp/serve.log 2>&1 &
serve=$!
exec 3>/tmp/serve.in
check "pelaconctl serves" wait_for 60 grep -q Serving /tmp/serve.log || exit
exec_on hci0 pelaconctl advertise --name Ours --uuid 180D >/tmp/advertise.log 2>&1 &
advertise=$!

tool() { timeout 60 gatttool -i hci1 -b "$ours" "$@"; }
handle_of() { sed -n "s/.*char value handle = \(0x[0-9a-f]*\), uuid = 0000$1.*/\1/p" /tmp/characteristics; }
check "gatttool finds the service" prints 0000180d tool --primary
check "gatttool finds the characteristics" prints 00002a37 tool --characteristics || exit
cp /tmp/prints.log /tmp/characteristics
rate=$(handle_of 2a37)
control=$(handle_of 2a39)
indicated=$(handle_of 2a3a)
check "gatttool reads" prints '00 48' tool --char-read -a "$rate"
check "gatttool reads the first part of a long value" prints '30 31 32 .* 38' tool --char-read -a "$(handle_of 2a38)"
check "gatttool writes" prints 'written successfully' tool --char-write-req -a "$control" -n 0a0b
check "pelaconctl shows the write" wait_for 60 grep -q "$theirs writes 180D/2A39: 0a0b" /tmp/serve.log
check "gatttool reads what it wrote" prints '0a 0b' tool --char-read -a "$control"
check "gatttool's write of another one is refused" prints "can't be written" tool --char-write-req -a "$rate" -n 01
# What a subscription needs stands behind the value.
descriptor() { printf '0x%04x' $(($1 + 1)); }
# gatttool reads its commands from a terminal.
mkfifo /tmp/gatttool.in
script -qfc "gatttool -i hci1 -b $ours -I" /dev/null </tmp/gatttool.in >/tmp/gatttool.log 2>&1 &
gatttool=$!
exec 5>/tmp/gatttool.in
dialogue() { # COMMAND TEXT: the text that answers
    echo "$1" >&5
    wait_for 60 grep -qE "$2" /tmp/gatttool.log || { tail -n 5 /tmp/gatttool.log; false; }
}
check "gatttool connects" dialogue connect 'Connection successful'
check "gatttool agrees on an MTU" dialogue 'mtu 200' 'MTU was exchanged successfully: 200'
check "gatttool then reads the long value at once" dialogue "char-read-hnd $(handle_of 2a38)" \
    '(3[0-9] ){39}39'
check "pelaconctl shows the MTU" wait_for 60 grep -q "$theirs has MTU 200" /tmp/serve.log
: >/tmp/serve.log
echo exit >&5
exec 5>&-
wait $gatttool
check "the disconnection is reported" wait_for 60 grep -q "$theirs disconnected" /tmp/serve.log
listen() { # HANDLE VALUE: a subscription, until it is killed
    timeout 60 gatttool -i hci1 -b "$ours" --char-write-req -a "$(descriptor "$1")" -n "$2" --listen \
        >/tmp/listen.log 2>&1 &
    listen=$!
    wait_for 60 grep -q 'written successfully' /tmp/listen.log
}
check "gatttool subscribes to notifications" listen "$rate" 0100 || cat /tmp/listen.log /tmp/serve.log
echo "2A37 004c" >&3
check "gatttool receives a notification" wait_for 60 grep -q 'Notification handle.*00 4c' /tmp/listen.log
end_listening() {
    : >/tmp/serve.log
    kill $listen
    wait $listen 2>/dev/null
    check "the disconnection is reported" wait_for 60 grep -q "$theirs disconnected" /tmp/serve.log
}
end_listening
check "gatttool subscribes to indications" listen "$indicated" 0200 || cat /tmp/listen.log /tmp/serve.log
echo "2A3A 03" >&3
check "gatttool receives an indication" wait_for 60 grep -q 'Indication   handle.*03' /tmp/listen.log
end_listening

mkfifo /tmp/bluetoothctl.in
bluetoothctl </tmp/bluetoothctl.in >/tmp/bluetoothctl.log 2>&1 &
exec 4>/tmp/bluetoothctl.in
console() { # COMMANDS TEXT: the text that answers
    printf '%b\n' "$1" >&4
    wait_for 60 grep -q "$2" /tmp/bluetoothctl.log || { tail -n 15 /tmp/bluetoothctl.log; false; }
}
check "bluetoothctl finds it" console "select $theirs\nscan le" "Device $ours"
check "bluetoothctl connects" console "scan off\nconnect $ours" "Connection successful"
check "bluetoothctl finds the services" console "" "ServicesResolved: yes"
echo "menu gatt" >&4
check "bluetoothctl reads" console "select-attribute 00002a39-0000-1000-8000-00805f9b34fb\nread" "  0a 0b"
check "bluetoothctl writes" console "write '0x0c 0x0d'\nread" "  0c 0d"
check "pelaconctl shows the write" wait_for 60 grep -q "writes 180D/2A39: 0c0d" /tmp/serve.log
printf 'select-attribute 00002a3b-0000-1000-8000-00805f9b34fb\nwrite "0x0e 0x0f" 0 command\n' >&4
check "bluetoothctl writes without a response" wait_for 60 grep -q "writes 180D/2A3B: 0e0f" /tmp/serve.log ||
    tail -n 5 /tmp/bluetoothctl.log
check "bluetoothctl reads a long value" console "select-attribute 00002a38-0000-1000-8000-00805f9b34fb\nread" \
    "  36 37 38 39"
check "bluetoothctl subscribes" console "select-attribute 00002a37-0000-1000-8000-00805f9b34fb\nnotify on" \
    "Notify started"
echo "2A37 0055" >&3
check "bluetoothctl receives the value" console "" "  00 55"
check "bluetoothctl disconnects" console "back\ndisconnect $ours" "Successful disconnected"
check "the disconnection is reported" wait_for 60 grep -q "$theirs disconnected" /tmp/serve.log
exec 4>&-
exec 3>&-
kill $serve $advertise
wait $serve $advertise

echo "Their server, our client"
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
peer=$!
check "their peer is ready" wait_for 60 grep -q ready /tmp/peer.log || exit
service=00000100-1234-5678-1234-56789abcdef0
characteristic() { echo "0000010$1-1234-5678-1234-56789abcdef0"; }
value() { # N: read by pelaconctl
    on hci0 timeout 60 pelaconctl gatt read "$theirs" $service "$(characteristic "$1")"
}
writes() { # N VALUE
    on hci0 timeout 60 pelaconctl gatt write "$theirs" $service "$(characteristic "$1")" "$2"
}
mtu() { on hci0 timeout 60 pelaconctl gatt mtu "$theirs"; }
check "pelaconctl reads" prints 68656c6c6f value 1
check "pelaconctl writes" writes 1 0102
check "their peer has it" wait_for 60 grep -q 'written 1 0102' /tmp/peer.log
check "pelaconctl reads what it wrote" prints 0102 value 1
check "pelaconctl writes without a response" writes 6 0506
check "their peer has it" wait_for 60 grep -q 'written 6 0506' /tmp/peer.log
check "pelaconctl reads a long value" prints "$(python3 -c 'print((bytes(range(100)) * 3).hex())')" value 4
check "a write that is not permitted is refused" exits 1 'not permitted|does not allow' writes 4 01
check "pelaconctl shows the MTU" prints 517 mtu
exec_on hci0 pelaconctl gatt subscribe "$theirs" $service "$(characteristic 2)" >/tmp/subscribe.log 2>&1 &
subscribe=$!
lines() { test "$(grep -c "$2" "$1")" -ge "$3"; }
check "pelaconctl shows notifications" wait_for 60 lines /tmp/subscribe.log 000000 5
check "their side disconnects" bluez call org.bluez "/org/bluez/hci1/dev_${ours//:/_}" org.bluez.Device1 Disconnect
wait $subscribe
check "pelaconctl ends with a failure" test $? = 1
check "... and the reason" grep -q "$theirs ended the connection" /tmp/subscribe.log
exec_on hci0 pelaconctl gatt subscribe "$theirs" $service "$(characteristic 3)" >/tmp/subscribe.log 2>&1 &
subscribe=$!
check "pelaconctl shows indications" wait_for 60 grep -q 61636b6e6f /tmp/subscribe.log
check "they are confirmed" wait_for 60 grep -q 'confirmed 3' /tmp/peer.log
kill $subscribe
wait $subscribe
check "the subscription ends" wait_for 60 grep -q 'unsubscribed 3' /tmp/peer.log
kill $peer
wait $peer

echo "bluetoothctl as a server, our client"
mkfifo /tmp/console.in
bluetoothctl </tmp/console.in >/tmp/bluetoothctl.log 2>&1 &
bluetoothctl=$!
exec 4>/tmp/console.in
service=00000300-1234-5678-1234-56789abcdef0
characteristic=00000301-1234-5678-1234-56789abcdef0
check "it registers a service" console "select $theirs\nmenu gatt\nregister-service $service" "Primary (yes/no)"
check "... with a characteristic" \
    console "yes\nregister-characteristic $characteristic read,write,notify" "Enter value"
check "... that has a value" console "0x0a 0x0b\nregister-application" "Application registered"
check "it advertises" console "back\nadvertise on" "Advertising object registered"
check "pelaconctl reads" prints 0a0b on hci0 timeout 60 pelaconctl gatt read "$theirs" $service $characteristic
exec_on hci0 pelaconctl gatt subscribe "$theirs" $service $characteristic >/tmp/subscribe.log 2>&1 &
subscribe=$!
check "pelaconctl subscribes" wait_for 60 grep -q "AcquireNotify: $ours" /tmp/bluetoothctl.log
check "pelaconctl writes" on hci0 timeout 60 pelaconctl gatt write "$theirs" $service $characteristic 0c0d
check "bluetoothctl has it" wait_for 60 grep -q "  0c 0d" /tmp/bluetoothctl.log || tail -n 5 /tmp/bluetoothctl.log
# bluetoothctl notifies of each value that is written to it.
check "pelaconctl receives the notification" wait_for 60 grep -q 0c0d /tmp/subscribe.log || cat /tmp/subscribe.log
kill $subscribe
wait $subscribe
check "the subscription ends" wait_for 60 grep -q "Notify sock closed" /tmp/bluetoothctl.log
exec 4>&-
wait $bluetoothctl
