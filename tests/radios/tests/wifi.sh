# Wi-Fi by the service: the switch, its state, and channels, with NetworkManager, with wpa_supplicant alone, and
# with neither.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
dbus_start
modprobe rfkill  # /dev/rfkill is there before the card, as on a machine with systemd
check "a service without a card" wifi_service_start
service=$SERVICE
check "the status says so" prints "no such card" wifi_status
check "Wi-Fi is off" exits 0 'Wi-Fi is off' control wifi status
check "it cannot be switched on" exits 1 'no Wi-Fi adapter' control wifi on
check "three cards" cards_start 3 || exit
check "Wi-Fi is on" wait_for 20 prints 'Wi-Fi is on' control wifi status
check "with neither" wait_for 10 prints "neither" wifi_status
check "switched by rfkill" prints "by rfkill" wifi_status
check "channels" prints '2\.4 GHz +1 2 .* 11 ' control wifi channels
check "channels of 5 GHz" prints '5 GHz +36 ' control wifi channels
check "no channel where radars are" prints_not '\b100\b' control wifi channels
is_blocked() { grep -q 1 /sys/class/ieee80211/phy0/rfkill*/soft; }
check "switched off by rfkill" control wifi off
check "it is blocked" is_blocked
check "Wi-Fi is off" exits 0 'Wi-Fi is off' control wifi status
check "switched on by rfkill" control wifi on
check "it is not blocked" eval '! is_blocked'

switch_of() { basename /sys/class/ieee80211/$1/rfkill* | tr -dc 0-9; }
check "the card has another name" iw phy phy0 set name radio0
check "its switch" rfkill block "$(switch_of radio0)"
check "Wi-Fi is off" wait_for 10 prints 'Wi-Fi is off' control wifi status
check "its switch again" rfkill unblock "$(switch_of radio0)"
check "Wi-Fi is on" wait_for 10 prints 'Wi-Fi is on' control wifi status
check "the switch of another card" rfkill block "$(switch_of phy2)"
check "Wi-Fi stays on" exits 0 'Wi-Fi is on' control wifi status
check "that switch again" rfkill unblock "$(switch_of phy2)"

check "a scan beside it" control wifi scan
gtest on wifi "$STAGE/tests/radios_wifi_state_test"
grep '^state: ' /tmp/gtest.log | sed 's/^/    /'
check "wpa_supplicant" supplicant_start
check "the status shows it" wait_for 10 prints "wpa_supplicant alone" wifi_status
check "NetworkManager" manager_start
check "the status shows it" wait_for 20 prints "NetworkManager 1\." wifi_status
check "switched by NetworkManager" prints "by NetworkManager" wifi_status
check "a scan beside NetworkManager" control wifi scan
nmcli device wifi rescan
check "and beside its own" control wifi scan
check "switched off" control wifi off
check "NetworkManager is switched off" prints disabled nmcli radio wifi
check "switched on" control wifi on
check "NetworkManager is switched on" prints enabled nmcli radio wifi
check "the desktop switches off" nmcli radio wifi off
check "Wi-Fi is off" wait_for 10 prints 'Wi-Fi is off' control wifi status
check "the desktop switches on" nmcli radio wifi on
check "Wi-Fi is on" wait_for 10 prints 'Wi-Fi is on' control wifi status
check "rfkill" rfkill block wifi
check "Wi-Fi is off" wait_for 10 prints 'Wi-Fi is off' control wifi status
check "rfkill no more" rfkill unblock wifi
check "Wi-Fi is on" wait_for 10 prints 'Wi-Fi is on' control wifi status
off_and_on() {
    control wifi off &
    local off=$!
    control wifi on
    wait $off
    control wifi on
}
check "off and on at once" off_and_on
check "Wi-Fi is on" exits 0 'Wi-Fi is on' control wifi status
check "NetworkManager is switched on" prints enabled nmcli radio wifi
manager_stop
check "the status shows wpa_supplicant" wait_for 20 prints "wpa_supplicant alone" wifi_status
check "Wi-Fi is on" exits 0 'Wi-Fi is on' control wifi status
check "NetworkManager is back" manager_start
check "the status shows it" wait_for 20 prints "NetworkManager 1\." wifi_status

check "the card's driver is unloaded" modprobe -r mac80211_hwsim
check "Wi-Fi is off" wait_for 10 prints 'Wi-Fi is off' control wifi status
check "the service is the same" kill -0 $service
kill $service
wait $service
check "the service ends by SIGTERM" test $? = 0
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
