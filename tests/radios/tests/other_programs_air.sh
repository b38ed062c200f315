# Advertisements between pelaconctl and programs that are not ours: bluetoothctl and btmgmt.
. /mnt/tests/lib.sh
radios_start hci0
ours=$(address_of hci0)
theirs=$(address_of hci1)

exec_on hci0 pelaconctl advertise --name Ours --uuid 180F --manufacturer FFFF:0215aa --response-name Answer \
    >/tmp/advertise.log 2>&1 &
advertise=$!
mkfifo /tmp/bluetoothctl.in
bluetoothctl </tmp/bluetoothctl.in >/tmp/bluetoothctl.log 2>&1 &
exec 3>/tmp/bluetoothctl.in
printf 'select %s\nscan le\n' "$theirs" >&3
check "bluetoothctl finds our advertisement" wait_for 60 grep -q "NEW.*Device $ours" /tmp/bluetoothctl.log
echo "info $ours" >&3
check "... its name" wait_for 60 grep -qE 'Name: (Ours|Answer)' /tmp/bluetoothctl.log
check "... its service" wait_for 60 grep -q 'UUID: Battery Service' /tmp/bluetoothctl.log
check "... its manufacturer's data" wait_for 60 grep -q '02 15 aa' /tmp/bluetoothctl.log
echo "scan off" >&3
exec 3>&-
# btmgmt reads its commands from a terminal.
found_by_btmgmt() { timeout 30 script -qec "btmgmt --index 1 find -l" /dev/null | grep -A2 "$ours" | grep -q "name Ours"; }
check "btmgmt finds it by its name" found_by_btmgmt
kill $advertise
wait $advertise

exec_on hci0 pelaconctl --json scan >/tmp/scan.log 2>&1 &
scan=$!
heard() { grep "\"address\":\"$theirs\"" /tmp/scan.log | grep -q "$1"; }
check "btmgmt advertises" timeout 20 script -qec \
    "btmgmt --index 1 add-adv -c -d 0303aafe0716aafe20000102 -s 06095468656972 1" /dev/null
check "its advertisement is received as it is" wait_for 60 heard '"data":"0201040303aafe0716aafe20000102"' ||
    tail -n 3 /tmp/scan.log
check "... and its scan response" wait_for 60 heard '"data":"06095468656972"' || tail -n 3 /tmp/scan.log
timeout 20 script -qec "btmgmt --index 1 clr-adv" /dev/null >/dev/null
(printf 'select %s\nmenu advertise\nmanufacturer 0xffff 0x01 0x02\nname Console\nback\nadvertise on\n' "$theirs"
    sleep 60) | timeout 70 bluetoothctl >/tmp/bluetoothctl.log 2>&1 &
check "bluetoothctl's advertisement is received" wait_for 60 heard '05ffffff0102' || tail -n 3 /tmp/scan.log
check "... and its name" wait_for 60 heard 436f6e736f6c65 || tail -n 3 /tmp/scan.log
kill $scan
