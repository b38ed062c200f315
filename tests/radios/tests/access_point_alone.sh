# Groups and the soft AP without NetworkManager: with neither it nor wpa_supplicant, and with wpa_supplicant alone.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
check "three cards" cards_start 3 || exit
dbus_start
check "a service" wifi_service_start

# use WAY: what the status says.
use() {
    local way=$1
    check "$way: the status says so" wait_for 10 prints "$way" wifi_status
    check "$way: it is switched off" control wifi off
    check "$way: it is switched on" control wifi on
    check "$way: a scan" control wifi scan
    check "$way: a group" eval 'control group create --channel 1 --json >/tmp/created'
    check "$way: a station joins" station_join "$(field ssid </tmp/created)" "$(field passPhrase </tmp/created)"
    check "$way: it has an address" station_dhcp
    check "$way: it pings the owner" station_ping 192.168.49.1
    station_leave
    only_channel 1
    check "$way: the soft AP beside it" control ap create --band 2.4
    check "$way: the soft AP is removed" control ap destroy
    check "$way: the group is removed" control group remove
    check "$way: nothing is left" wait_for 5 nothing_left
}
use "neither NetworkManager nor wpa_supplicant"
check "wpa_supplicant" supplicant_start
use "wpa_supplicant alone"
kill $SERVICE
wait $SERVICE
check "the service ends by SIGTERM" test $? = 0
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
