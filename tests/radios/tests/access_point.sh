# A group and the soft AP on real Wi-Fi: a station in a network namespace of its own joins, gets an address, is
# reported, pings the owner, and leaves. With what may go wrong.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
desktop_start || exit
service=$SERVICE
check "groups are possible" wait_for 20 prints "by an access point" wifi_status

# create WHAT OPTIONS...: its name, its pass phrase and its channel are in NAME, PASS and CHANNEL.
create() {
    control "$1" create --json "${@:2}" >/tmp/created || { cat /tmp/service-wifi.log; return 1; }
    NAME=$(field ssid </tmp/created) PASS=$(field passPhrase </tmp/created) CHANNEL=$(field channel </tmp/created)
    test -n "$NAME" -a -n "$PASS" -a -n "$CHANNEL"
}

# use WHAT OWNER'S-ADDRESS JOINED LEFT: from its beginning to its end. What is printed by a watch is given.
use() {
    local what=$1 owner=$2 watch
    exec_on wifi timeout 300 pelaconctl $what watch >/tmp/watch-$what 2>&1 &
    watch=$!
    check "$what: created" create $what $CHOICE || return
    sed 's/^/    /' /tmp/created
    check "$what: it is on its channel" wait_for 5 eval 'iw dev pelacon0 info | grep -q "channel $CHANNEL "'
    check "$what: NetworkManager leaves it alone" wait_for 5 manager_shows pelacon0:unmanaged
    check "$what: the pass phrase is on no command line" eval '! grep -aq -- "$PASS" /proc/[0-9]*/cmdline'
    check "$what: it is in no log" eval '! grep -q -- "$PASS" /tmp/*.log'
    check "$what: a station joins" station_join "$NAME" "$PASS"
    check "$what: it has an address" station_dhcp
    check "$what: it is reported" wait_for 10 grep -q "$3" /tmp/watch-$what
    check "$what: it pings the owner" station_ping "$owner"
    check "$what: the station leaves" station_leave
    check "$what: that is reported" wait_for 20 grep -q "$4" /tmp/watch-$what
    sed 's/^/    /' /tmp/watch-$what
    check "$what: removed" control $what $REMOVE
    check "$what: nothing is left" wait_for 5 nothing_left
    kill $watch
}
CHOICE="--channel 6" REMOVE=remove use group 192.168.49.1 'joined, 192\.168\.49\.' left
CHOICE="--band 2.4" REMOVE=destroy use ap 192.168.50.1 'a device connected' 'a device disconnected'

# Together, and moved with a station.
check "a group" create group --channel 1
only_channel 1
check "the soft AP beside it" create ap --band 2.4
check "two interfaces" eval 'test "$(ls /sys/class/net | grep -c pelacon)" = 2'
check "the group is removed" control group remove
check "a station joins the soft AP" station_join "$NAME" "$PASS"
check "it has an address" station_dhcp
check "only channel 11 is left to choose" only_channel 11
moves() { quiet; control ap refresh && prints 'on channel 11' control ap status; }
check "the soft AP moves" wait_for 30 moves
check "the station stays" station_ping 192.168.50.1
check "the station is on channel 11" station_is freq=2462
station_leave

# Trouble.
check "Wi-Fi is switched off" control wifi off
check "nothing is left" wait_for 5 nothing_left
check "there is no soft AP" prints 'There is no soft AP' control ap status
check "a group is refused" exits 5 'off' control group create
check "Wi-Fi is switched on" control wifi on
check "a group" control group create --channel 6
pkill -KILL -f 'wpa_supplicant -i pelacon'
check "without its wpa_supplicant it ends" wait_for 5 nothing_left
check "a group" control group create --channel 6
pkill -KILL -f 'dnsmasq.*pelacon'
check "without its dnsmasq it ends" wait_for 5 nothing_left
check "a group" control group create --channel 6
check "its interface is removed" iw dev pelacon0 del
check "it ends" wait_for 5 nothing_left
check "a group" control group create --channel 6
check "rfkill" rfkill block wifi
check "it ends" wait_for 5 nothing_left
check "rfkill no more" rfkill unblock wifi
check "Wi-Fi is on" wait_for 10 prints 'Wi-Fi is on' control wifi status
check "a group on a channel of radars is refused" exits 1 'channel' control group create --channel 100
check "a country without 5 GHz" iw reg set 00
check "its channels" wait_for 10 prints '5 GHz +none' control wifi channels
check "a group on 5 GHz is refused" exits 1 'channel' control group create --channel 36
iw reg set DE
check "its channels are back" wait_for 10 prints '5 GHz +36' control wifi channels
check "another access point" access_point Home password99 6
check "wlan0 joins it" home_join Home password99 6
check "the connection" wait_for 20 prints 'Connected to +Home, on channel 6' control wifi status
check "a group elsewhere is refused" exits 1 'channel' control group create --channel 36
check "a group is on its channel" control group create
check "channel 6" wait_for 5 eval 'iw dev pelacon0 info | grep -q "channel 6"'
check "the connection stays" home_is wpa_state=COMPLETED
check "the group is removed" control group remove
check "the connection stays" home_is wpa_state=COMPLETED
check "a group" control group create
kill $service
wait $service
check "the service ends by SIGTERM" test $? = 0
check "nothing is left" wait_for 5 nothing_left
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
