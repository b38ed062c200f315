# The rights of the service and of an access point's programs: as the system's unit starts it, and as root does by
# hand, with the account of the unit and without.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
installed_start || exit
mkdir -p /run/pelacon-wifi
chown pelacon:pelacon /run/pelacon-wifi

# status_of PROGRAM FIELD VALUE: as the kernel shows it; the program is a regular expression.
status_of() { grep -P "^$2:\s+$3\b" "/proc/$(pgrep -o -f "$1")/status" || { grep "^$2" "/proc/$(pgrep -o -f "$1")/status"; false; }; }
SUPPLICANT='wpa_supplicant -i pelacon0' DNSMASQ='dnsmasq.*pelacon0'

# rights WHO USER: of both programs, while there is a group that works.
rights() {
    local who=$1 user name pass
    user=$(id -u "$2")
    check "$who: a group" eval 'control group create --channel 1 --json >/tmp/created'
    check "$who: wpa_supplicant's user" status_of "$SUPPLICANT" Uid "$user"
    check "$who: dnsmasq's user" status_of "$DNSMASQ" Uid "$user"
    local set
    for set in CapInh CapPrm CapEff CapAmb; do
        check "$who: wpa_supplicant's $set" status_of "$SUPPLICANT" $set 0000000000003000  # NET_ADMIN, NET_RAW
        check "$who: dnsmasq's $set" status_of "$DNSMASQ" $set 0000000000001400  # NET_ADMIN, NET_BIND_SERVICE
    done
    check "$who: wpa_supplicant cannot get more" status_of "$SUPPLICANT" NoNewPrivs 1
    check "$who: dnsmasq cannot get more" status_of "$DNSMASQ" NoNewPrivs 1
    name=$(field ssid </tmp/created) pass=$(field passPhrase </tmp/created)
    check "$who: a station joins" station_join "$name" "$pass"
    check "$who: it has an address" station_dhcp
    check "$who: it pings the owner" station_ping 192.168.49.1
    station_leave
    only_channel 1
    check "$who: the soft AP beside it" control ap create --band 2.4
    check "$who: the group is removed" control group remove
    check "$who: and the soft AP" control ap destroy
    check "$who: nothing is left" wait_for 5 nothing_left
}

AS="setpriv --reuid pelacon --regid pelacon --init-groups --no-new-privs --inh-caps=-all,+net_admin,+net_raw,+net_bind_service --ambient-caps=-all,+net_admin,+net_raw,+net_bind_service --bounding-set=-all,+net_admin,+net_raw,+net_bind_service"
check "a service with the unit's rights" wifi_service_start
check "it has them" status_of PelaconService CapEff 0000000000003400
check "groups are possible" wait_for 20 prints "by an access point" wifi_status
rights unit pelacon
kill $SERVICE
wait $SERVICE

AS="setpriv --reuid pelacon --regid pelacon --init-groups --inh-caps=-all"
check "a service without rights" wifi_service_start
check "the status names what is missing" wait_for 20 prints "CAP_NET_ADMIN, for groups" wifi_status
check "a group is refused" exits 1 'not permitted' control group create --channel 6
check "the soft AP is refused" exits 1 'not permitted' control ap create
check "nothing is left" wait_for 5 nothing_left
kill $SERVICE
wait $SERVICE

AS=
chown root:root /run/pelacon-wifi
check "a service of root" wifi_service_start
rights root pelacon
kill $SERVICE
wait $SERVICE
userdel pelacon
check "a service of root without the account" wifi_service_start
rights "root alone" root
kill $SERVICE
wait $SERVICE
check "nothing is left" wait_for 5 nothing_left
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
