# A device on hci1, made with BlueZ alone, used from hci0 over BlueZ's own interfaces: what our client and
# server are compared with.
. /mnt/tests/lib.sh
bluetooth_start || exit
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
peer=$!
check "peer is ready" wait_for 60 grep -q ready /tmp/peer.log || exit
check "power hci0" power hci0 true
address=$(address_of hci1)
device=/org/bluez/hci0/dev_${address//:/_}
property() { bluez get-property org.bluez "$1" "$2" "$3"; }
python3 /mnt/tests/discover.py hci0 60 &
discovery=$!
check "the peer is found" wait_for 30 property "$device" org.bluez.Device1 Address || exit
kill $discovery
check "connect" bluez call org.bluez "$device" org.bluez.Device1 Connect || exit
resolved() { property "$device" org.bluez.Device1 ServicesResolved | grep -q true; }
check "services are found" wait_for 20 resolved
characteristic() { # by its number
    local path
    for path in $(bluez tree --list org.bluez | grep "^$device/.*/char[0-9a-f]*$"); do
        property "$path" org.bluez.GattCharacteristic1 UUID | grep -q "0000010$1-" && echo "$path"
    done
}
one=$(characteristic 1)
two=$(characteristic 2)
long=$(characteristic 4)
read_value() { bluez call org.bluez "$1" org.bluez.GattCharacteristic1 ReadValue 'a{sv}' 0; }
reads() { read_value "$1" | grep -q "$2"; }
check "read" reads "$one" 'ay 5 104 101 108 108 111'
check "write" bluez call org.bluez "$one" org.bluez.GattCharacteristic1 WriteValue 'aya{sv}' 2 1 2 0
check "the peer has it" wait_for 60 grep -q 'written 1 0102' /tmp/peer.log
check "long read" reads "$long" 'ay 300 '
# A subscription ends with the program that asked for it, so a program that stays.
mkfifo /tmp/client.in
bluetoothctl </tmp/client.in >/tmp/client.log 2>&1 &
exec 3>/tmp/client.in
is_selected() { echo "select-attribute $two" >&3; sleep 1; grep -q 'service[0-9a-f]*/char' /tmp/client.log; }
echo "menu gatt" >&3
check "the characteristic is selected" wait_for 60 is_selected || tail -n 5 /tmp/client.log
echo "notify on" >&3
check "the peer was subscribed to" wait_for 60 grep -q 'subscribed 2' /tmp/peer.log
check "values are shown" wait_for 60 grep -q 'CHG.*Attribute.*Value' /tmp/client.log || tail -n 20 /tmp/client.log
echo "notify off" >&3
exec 3>&-
check "the subscription ends" wait_for 60 grep -q 'unsubscribed 2' /tmp/peer.log
check "disconnect" bluez call org.bluez "$device" org.bluez.Device1 Disconnect
# Our own client, with the same device.
gtest "$STAGE/tests/radios_gatt_test" --gtest_filter='AGattPeer.*'
kill "$peer" "$BLUETOOTHD"
wait "$peer" "$BLUETOOTHD"
check "bluetoothd with a small MTU" bluetoothd_start 'ExchangeMTU = 48' || exit
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
check "peer is ready" wait_for 60 grep -q ready /tmp/peer.log || exit
gtest "$STAGE/tests/radios_gatt_test" --gtest_filter='AGattPeerOfASmallMtu.*'
