# A value that is read over a paired connection only, on a machine without a desktop.
. /mnt/tests/lib.sh
radios_start hci0
theirs=$(address_of hci1)
python3 /mnt/tests/gatt_peer.py hci1 >/tmp/peer.log 2>&1 &
check "their peer is ready" wait_for 60 grep -q ready /tmp/peer.log || exit
value() { # N: read by pelaconctl
    on hci0 timeout 60 pelaconctl gatt read "$theirs" 00000100-1234-5678-1234-56789abcdef0 \
        "0000010$1-1234-5678-1234-56789abcdef0"
}
paired() { bluez get-property org.bluez "/org/bluez/hci0/dev_${theirs//:/_}" org.bluez.Device1 Paired | grep -q true; }
not_paired() { ! paired; }
check "what needs no pairing is read" prints 68656c6c6f value 1
check "what needs it is not" exits 1 . value 7
check "the devices are not paired" not_paired
kill "$SERVICE"
wait "$SERVICE"
check "service with --pair" service_start hci0 bluetooth=linux:hci0 --pair
check "bluetooth is on" wait_for 30 prints 'is on' on hci0 pelaconctl bt status
check "it is read then" prints 736563726574 value 7
check "the devices are paired" paired
