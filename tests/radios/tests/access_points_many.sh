# Many access points: how long a group takes beside the same steps by hand, twenty groups and twenty soft APs in
# a row, and ten services that are killed while they have one. Nothing is left of any of them.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
desktop_start --log debug || exit

now() { date +%s%3N; }

# by_hand: how many milliseconds the steps take until the access point is there. Without a scan before it, as the
# service makes it.
by_hand() {
    local begin end folder=/run/by-hand
    mkdir -p $folder
    cat >$folder/network.conf <<C
ctrl_interface=$folder/control
p2p_disabled=1
ap_scan=2
network={
 ssid="by-hand"
 psk="password99"
 key_mgmt=WPA-PSK
 proto=RSN
 pairwise=CCMP
 mode=2
 frequency=2437
}
C
    begin=$(now)
    iw phy phy0 interface add pelacon0 type __ap addr 02:00:00:00:00:99
    ip addr add 192.168.49.1/24 dev pelacon0
    wpa_supplicant -B -P $folder/pid -i pelacon0 -D nl80211 -c $folder/network.conf -f $folder/log >/dev/null
    dnsmasq --conf-file=/dev/null --port=0 --interface=pelacon0 --bind-dynamic --user= --group= \
        --dhcp-range=192.168.49.10,192.168.49.200,1h --dhcp-leasefile=$folder/leases --pid-file=$folder/dnsmasq.pid
    while ! iw dev pelacon0 info | grep -q "channel 6"; do :; done
    end=$(now)
    kill "$(cat $folder/pid)" "$(cat $folder/dnsmasq.pid)"
    wait_for 5 eval '! pgrep -f by-hand'
    iw dev pelacon0 del
    echo $((end - begin))
}

# time_of TEXT: when the service logged it last, in milliseconds.
time_of() { date -d "$(grep -- "$1" /tmp/service-wifi.log | tail -n 1 | cut -c 1-23)" +%s%3N; }

# by_service: the same, from the request to the notification.
by_service() {
    control group create --channel 6 >/dev/null || return 1
    echo $(($(time_of ' < [A-Za-z0-9]*CreateGroup') - $(time_of ' > [A-Za-z0-9]*CreateGroup')))
    control group remove >/dev/null
}
median() { sort -n | sed -n "$((($1 + 1) / 2))p"; }
for round in 1 2 3 4 5; do
    by_hand >>/tmp/by-hand
    by_service >>/tmp/by-service
done
hand=$(median 5 </tmp/by-hand)
service=$(median 5 </tmp/by-service)
echo "    by hand: $(tr '\n' ' ' </tmp/by-hand)ms, by the service: $(tr '\n' ' ' </tmp/by-service)ms"
check "a group takes at most 1.3 times as long as by hand" test $((service * 10)) -le $((hand * 13))

open_files() { ls /proc/$SERVICE/fd | wc -l; }
before=$(open_files)
many() {
    local round
    for round in $(seq 20); do
        control group create --channel 6 && control group remove && nothing_left || return 1
        control ap create --band 2.4 && control ap destroy && nothing_left || return 1
    done
}
check "20 groups and 20 soft APs" many
check "no connection of NetworkManager is left" eval '! nmcli -t -f NAME connection | grep -i -e pelacon -e DIRECT'
check "no address is left" prints_not '192\.168\.(49|50)\.' ip address
check "no open file is left" wait_for 10 eval 'test $(open_files) -le $before'

killed() {
    local round
    for round in $(seq 10); do
        control group create --channel 6 || { tail -n 12 /tmp/service-wifi.log; return 1; }
        control ap create --band 2.4 &
        local creating=$!
        sleep "0.$round"
        kill -KILL $SERVICE
        wait $SERVICE $creating
        wifi_service_start --log debug || return 1
        wait_for 5 nothing_left || { ps ax; ls /sys/class/net /run/pelacon-wifi; return 1; }
    done
}
check "ten services that are killed" killed
check "the last one has a group" control group create --channel 6
kill $SERVICE
wait $SERVICE
check "nothing is left" wait_for 5 nothing_left
