# What may happen to a group on real Wi-Fi: its program leaves, a station comes back, NetworkManager goes and comes
# back, the service or the card is gone, a scan forbids a move, and a group that comes later than the library waits.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
desktop_start || exit
group() { control group create --channel 6 --json >/tmp/created && NAME=$(field ssid </tmp/created) PASS=$(field passPhrase </tmp/created); }
group_is_there() { control group info --json | grep -q '"exists": *true' && test -e /sys/class/net/pelacon0; }

check "a group" group
check "it is there when its program has ended" group_is_there
exec_on wifi timeout 600 pelaconctl group watch >/tmp/watch 2>&1 &
check "a station joins" station_join "$NAME" "$PASS"
check "it has an address" station_dhcp
check "it is reported" wait_for 10 grep -q 'joined, 192\.168\.49\.' /tmp/watch
address=$(ip -n far -4 -o addr show wlan1 | sed 's/.* inet \([0-9.]*\).*/\1/')
check "with the address that it has" grep -q "joined, $address" /tmp/watch
check "it leaves" station_leave
check "that is reported" wait_for 20 grep -q left /tmp/watch
: >/tmp/watch
check "it joins again" station_join "$NAME" "$PASS"
check "it asks for another address" station_dhcp -r "${address%.*}.77" -x 0x3d:01aabbccddeeff
check "it is reported" wait_for 10 grep -q 'joined, 192\.168\.49\.' /tmp/watch
address=$(ip -n far -4 -o addr show wlan1 | sed 's/.* inet \([0-9.]*\).*/\1/')
check "with the address that it has now" grep -q "joined, $address" /tmp/watch

manager_stop
check "without NetworkManager the group stays" group_is_there
check "and its station" station_ping 192.168.49.1
check "NetworkManager is back" manager_start
check "it leaves the group alone" wait_for 5 manager_shows pelacon0:unmanaged
check "the group stays" group_is_there
check "and its station" station_ping 192.168.49.1

# A card that scans refuses to move, and a scan of all channels takes half a minute here.
ip link set wlan0 up
scan() { while [ ! -e /tmp/scanned ]; do iw dev wlan0 scan; done; }
time_of() { local begin=${EPOCHREALTIME/./}; "$@" >/tmp/timed 2>&1; echo $(((${EPOCHREALTIME/./} - begin) / 1000)); }
control group remove
check "the soft AP" control ap create --band 2.4
check "only channel 11 is left to choose" only_channel 11
scan >/tmp/scan.log 2>&1 &
scan=$!
refused() { control ap refresh; ! iw dev pelacon0 info | grep -q 'channel 11 '; }
check "a move is refused" refused
took=$(time_of control ap refresh)
sed 's/^/    /' /tmp/timed
echo "    a move during a scan: $took ms"
check "a move that is refused ends" test "$took" -lt 6000
check "it is where it was" iw dev pelacon0 info
touch /tmp/scanned
wait $scan
moves() { control ap refresh && iw dev pelacon0 info | grep -q 'channel 11 '; }
check "it is made after the scan" wait_for 40 moves
check "the soft AP is removed" control ap destroy
check "nothing is left" wait_for 5 nothing_left

# A group that comes when the library has stopped waiting for it: the service is stopped meanwhile.
mkfifo /tmp/late.in
exec_on wifi env STAGE="$STAGE" python3 /mnt/tests/late_group.py 6 </tmp/late.in >/tmp/late.log 2>&1 &
late=$!
exec 4>/tmp/late.in
check "a program" wait_for 20 grep -q ready /tmp/late.log
kill -STOP $SERVICE
echo >&4
check "the library stops waiting for a group" wait_for 40 grep -q '^result -12 20' /tmp/late.log
kill -CONT $SERVICE
check "the group comes" wait_for 20 test -e /sys/class/net/pelacon0
check "the library removes it" wait_for 20 nothing_left
check "the program is told that there is none" wait_for 5 grep -q '^notified 0' /tmp/late.log
check "and never that there is one" eval '! grep -q "^notified 1" /tmp/late.log'
sed 's/^/    /' /tmp/late.log
exec 4>&-
wait $late

check "a group" group
kill -KILL $SERVICE
check "when the service is killed, nothing is left but files" wait_for 5 eval \
    '! ls /sys/class/net | grep pelacon && ! pgrep -f pelacon[0-9]'
check "the service again" wifi_service_start
check "no file is left" wait_for 5 nothing_left
check "a group" group
check "the card is removed" modprobe -r mac80211_hwsim
check "the group ends" wait_for 10 nothing_left
check "Wi-Fi is off" wait_for 10 prints 'Wi-Fi is off' control wifi status
check "the card is back" modprobe mac80211_hwsim radios=1
check "Wi-Fi is on" wait_for 20 prints 'Wi-Fi is on' control wifi status
iw reg set DE
check "a group" wait_for 20 group
check "it is removed" control group remove
check "nothing is left" wait_for 5 nothing_left
kill $SERVICE
wait $SERVICE
check "the service ends by SIGTERM" test $? = 0
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
