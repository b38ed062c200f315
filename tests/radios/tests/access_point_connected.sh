# A group beside the connection of NetworkManager, with a card that has one channel: the connection is never cut.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
desktop_start || exit
check "another access point" access_point Home password99 6

# It gives no addresses: NetworkManager would end the connection.
nm_join() {
    nmcli connection add type wifi con-name home ifname wlan0 ssid Home wifi-sec.key-mgmt wpa-psk \
        wifi-sec.psk password99 ipv4.method manual ipv4.addresses 10.9.9.2/24 ipv6.method disabled || return 1
    wait_for 60 nmcli --wait 40 connection up home
}
check "NetworkManager joins it" nm_join
ip -n ap addr add 10.9.9.1/24 dev wlan2
stays() { nmcli -g GENERAL.STATE device show wlan0 | grep -q '^100' && wait_for 20 ping -c 1 -W 2 10.9.9.1; }
check "it is connected" stays
check "the service shows it" wait_for 20 prints 'Connected to +Home, on channel 6' control wifi status
check "a group elsewhere is refused" exits 1 'channel' control group create --channel 36
check "a group on its channel" eval 'control group create --json >/tmp/created'
check "it is there" prints '"channel":6\b' cat /tmp/created
check "the connection stays" stays
check "a station joins" station_join "$(field ssid </tmp/created)" "$(field passPhrase </tmp/created)"
check "it has an address" station_dhcp
check "it pings the owner" station_ping 192.168.49.1
check "the connection stays" stays
station_leave
check "the group is removed" control group remove
check "the connection stays" stays
check "a group" control group create
kill -KILL $SERVICE
check "the service is killed, and no interface or program is left" wait_for 5 eval \
    '! ls /sys/class/net | grep pelacon && ! pgrep -f pelacon[0-9]'
check "the connection stays" stays
changes() { grep -a '(wlan0): state change' /tmp/manager.log; }
never_cut() { changes | grep -q -e '-> activated' && ! changes | grep -e 'activated ->'; }
check "it was never cut" never_cut
check "the service again" wifi_service_start
check "nothing is left" wait_for 5 nothing_left
check "the connection stays" stays
kill $SERVICE
wait $SERVICE
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
