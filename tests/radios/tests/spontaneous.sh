# What programs see when the stack has trouble: rfkill, a bluetoothd that is killed or hangs, a message bus that
# ends, adapters that are unplugged, a peer that goes in the middle of a read. All of it comes back by itself.
. /mnt/tests/lib.sh
check "two controllers" controllers_start || exit
check "bluetoothd" bluetoothd_keep || exit
check "service on hci0" service_start hci0
service=$SERVICE
check "bt on, hci0" on hci0 pelaconctl bt on

control() { on hci0 timeout 60 pelaconctl "$@"; }
begin() { # a scan and an advertisement
    exec_on hci0 pelaconctl advertise --name Ours >/tmp/advertise.log 2>&1 &
    advertise=$!
    exec_on hci0 pelaconctl scan >/tmp/scan.log 2>&1 &
    scan=$!
    wait_for 20 grep -q Advertising /tmp/advertise.log && wait_for 20 prints 'scanning=1' control service status
}
ended_off() { # PROCESS LOG
    wait_for 20 is_over "$1" && cat "$2" && grep -q 'Bluetooth was switched off' "$2"
}
both_ended() { ended_off $advertise /tmp/advertise.log && ended_off $scan /tmp/scan.log; }

echo "rfkill"
check "a scan and an advertisement" begin
check "block" rfkill block bluetooth
check "bluetooth is off" wait_for 20 prints 'is off' control bt status
check "scan and advertisement end with the reason" both_ended
check "bluetooth cannot be switched on" exits 5 'the radio is off' control bt on
check "unblock" rfkill unblock bluetooth
check "bluetooth is on, or can be switched on" wait_for 20 control bt on

echo "bluetoothd is killed"
check "a scan and an advertisement" begin
kill -KILL "$(cat /run/bluetoothd.pid)"
check "scan and advertisement end with the reason" both_ended
check "bluetooth is on again by itself" wait_for 60 prints 'is on' control bt status
check "a scan and an advertisement" begin
kill $scan $advertise
wait $scan $advertise

echo "bluetoothd is killed during a connection"
counter="$(address_of hci1) 00000100-1234-5678-1234-56789abcdef0 00000102-1234-5678-1234-56789abcdef0"
subscribe() { # until values are received
    python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
    peer=$!
    wait_for 60 grep -q ready /tmp/peer.log || { cat /tmp/peer.log; return 1; }
    : >/tmp/subscribe.log
    exec_on hci0 pelaconctl gatt subscribe $counter >/tmp/subscribe.log 2>&1 &
    subscribe=$!
    wait_for 60 grep -q 000000 /tmp/subscribe.log || { cat /tmp/subscribe.log; return 1; }
}
no_link() { ! btmgmt --index 0 con | grep -q type; }
for round in 1 2 3; do
    check "a connection, $round" subscribe
    check "the kernel shows it" test -n "$(btmgmt --index 0 con | grep type)"
    kill -KILL "$(cat /run/bluetoothd.pid)"
    check "it ends" wait_for 30 is_over "$subscribe"
    check "bluetooth is on again by itself" wait_for 60 prints 'is on' control bt status
    check "the kernel has no connection" wait_for 10 no_link
    kill $peer
    wait $peer
done

echo "bluetoothd hangs"
kill -STOP "$(cat /run/bluetoothd.pid)"
check "switching is answered" exits 1 'did not answer' control bt off
check "what is known is answered meanwhile" exits 0 'is on' control bt status
kill -CONT "$(cat /run/bluetoothd.pid)"
check "it answers again" wait_for 60 control bt on

echo "a peer goes in the middle of a read"
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
peer=$!
check "their peer is ready" wait_for 60 grep -q ready /tmp/peer.log || cat /tmp/peer.log
silent="$(address_of hci1) 00000100-1234-5678-1234-56789abcdef0 00000105-1234-5678-1234-56789abcdef0"
exec_on hci0 pelaconctl gatt read $silent >/tmp/read.log 2>&1 &
read=$!
check "the peer is asked" wait_for 60 grep -q 'asked 5' /tmp/peer.log || cat /tmp/read.log
check "the peer's adapter is switched off" power hci1 false
check "the read ends" wait_for 30 is_over "$read"
wait $read
check "... with a failure" test $? = 1
check "... and the reason" grep -qE 'not connected|ended the connection' /tmp/read.log
kill $peer
# This bluetoothd may crash of it.
check "bluetooth is on" wait_for 60 prints 'is on' control bt status

echo "the message bus ends during a connection"
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
check "their peer is ready" wait_for 60 grep -q ready /tmp/peer.log || cat /tmp/peer.log
counter="$(address_of hci1) 00000100-1234-5678-1234-56789abcdef0 00000102-1234-5678-1234-56789abcdef0"
exec_on hci0 pelaconctl gatt subscribe $counter >/tmp/subscribe.log 2>&1 &
subscribe=$!
check "values are received" wait_for 60 grep -q 000000 /tmp/subscribe.log || cat /tmp/subscribe.log
check "a scan and an advertisement" begin
check "the bus ends" dbus_end
check "the connection ends" wait_for 30 is_over "$subscribe"
wait $subscribe
check "... with a failure" test $? = 1
check "... and the reason" grep -q 'ended on this side' /tmp/subscribe.log || cat /tmp/subscribe.log
check "scan and advertisement end with the reason" both_ended
check "bluetooth is off" exits 0 'is off' control bt status
check "the status names what is missing" prints 'no message bus' control service status
check "a bus" dbus_start
check "bluetooth is on again by itself" wait_for 60 prints 'is on' control bt status

echo "the adapters are unplugged"
check "a scan and an advertisement" begin
kill $BTVIRT
wait $BTVIRT
check "bluetooth is off" wait_for 20 prints 'is off' control bt status
check "scan and advertisement end with the reason" both_ended
check "the status names the adapter as missing" prints 'no such adapter' control service status
check "two controllers" controllers_start
check "bluetooth can be used again" wait_for 60 control bt on
check "a scan and an advertisement" begin

check "the service is the same" kill -0 $service
