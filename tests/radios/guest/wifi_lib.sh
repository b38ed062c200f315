# For tests of Wi-Fi in the guest, which begin with: . /mnt/tests/lib.sh; . /mnt/tests/wifi_lib.sh

# cards_start [RADIOS]: wlan0 here; wlan1 in the network namespace `far`, for a station; the others here.
cards_start() {
    modprobe mac80211_hwsim radios="${1:-3}"
    wait_for 10 test -e /sys/class/net/wlan1 || return 1
    iw reg set DE
    ip netns add far
    iw phy phy1 set netns name far
    ip netns exec far ip link set lo up
}

# supplicant_start: as a desktop runs it, with D-Bus and without an interface of its own.
supplicant_start() {
    dbus_start
    wpa_supplicant -B -u -s -O /run/wpa_supplicant -P /run/wpa_supplicant.pid -f /tmp/wpa_supplicant.log
    wait_for 10 busctl --system --auto-start=no status fi.w1.wpa_supplicant1
}

# manager_start: NetworkManager, with polkit. It takes wlan0 and leaves the others alone.
manager_start() {
    dbus_start
    if [ -z "${POLKITD:-}" ]; then
        /usr/lib/systemd/systemd-udevd --daemon >/dev/null 2>&1
        udevadm trigger --action=add --subsystem-match=net
        udevadm settle --timeout=20
        /usr/lib/polkit-1/polkitd --no-debug >/tmp/polkitd.log 2>&1 &
        POLKITD=$!
        mkdir -p /etc/NetworkManager/conf.d
        cat >/etc/NetworkManager/conf.d/radios.conf <<C
[main]
plugins=keyfile
dns=none
rc-manager=unmanaged
[keyfile]
unmanaged-devices=interface-name:hwsim*;interface-name:wlan1;interface-name:wlan2
[device]
wifi.scan-rand-mac-address=no
C
    fi
    NetworkManager --debug >>/tmp/manager.log 2>&1 &
    MANAGER=$!
    wait_for 60 manager_shows wlan0:disconnected
}

# manager_shows DEVICE:STATE
manager_shows() { nmcli -t -f DEVICE,STATE device | grep -q "^$1"; }

manager_stop() {
    kill "$MANAGER"
    wait "$MANAGER"
}

# access_point SSID PASSPHRASE CHANNEL: one in a namespace of its own, on wlan2.
access_point() {
    ip netns add ap
    iw phy phy2 set netns name ap
    ip netns exec ap ip link set wlan2 up
    cat >/tmp/hostapd.conf <<C
interface=wlan2
driver=nl80211
ssid=$1
hw_mode=g
channel=$3
wpa=2
wpa_key_mgmt=WPA-PSK
rsn_pairwise=CCMP
wpa_passphrase=$2
C
    ip netns exec ap hostapd -B /tmp/hostapd.conf >/tmp/hostapd.log
}

# wifi_service_start [OPTIONS]: PelaconService on wlan0; its process is in SERVICE. Programs are run with
# `on wifi`. AS may name a command that changes its user.
wifi_service_start() {
    mkdir -p /run/pelacon-wifi
    : >/tmp/ready-wifi
    PELACON_RUNTIME_DIR=/run/pelacon-wifi ${AS:-} "$STAGE/libexec/pelacon/PelaconService" \
        --radio wifi=linux:wlan0 "$@" >/tmp/ready-wifi 2>>/tmp/service-wifi.log &
    SERVICE=$!
    wait_for 30 grep -q ready /tmp/ready-wifi
}

# desktop_start [OPTIONS]: three cards, wpa_supplicant and NetworkManager as on a desktop, and the service.
desktop_start() {
    check "three cards" cards_start 3 || return 1
    supplicant_start
    leave_alone
    check "NetworkManager" manager_start
    check "a service" wifi_service_start "$@"
}

# installed_start: three cards, NetworkManager, and the account that the service's package makes.
installed_start() {
    check "three cards" cards_start 3 || return 1
    leave_alone
    check "NetworkManager" manager_start
    useradd --system pelacon
}

control() { on wifi timeout 60 pelaconctl "$@"; }

# only_channel CHANNEL: what the soft AP can choose: a card has one channel for all that it does.
only_channel() { control wifi phone --clear --add "$1"; }

# wifi_status: of the real radio, in one line.
wifi_status() { control service status | sed -n '/Wi-Fi radio/,$p' | tr -s ' \n' ' '; }

# leave_alone: NetworkManager's configuration as it is installed with the service.
leave_alone() {
    mkdir -p /etc/NetworkManager/conf.d
    cp /mnt/tests/network-manager.conf /etc/NetworkManager/conf.d/pelacon.conf
}

# field NAME OF TEXT: a field of a record that pelaconctl --json printed.
field() { sed -n "s/.*\"$1\": *\"\\{0,1\\}\\([^\",}]*\\).*/\\1/p" | head -n 1; }

# station_join SSID PASSPHRASE: the device in the namespace `far` joins. It looks on six channels only: to scan
# all that a virtual radio has takes half a minute.
station_join() {
    cat >/tmp/station.conf <<C
ctrl_interface=/run/station
network={
 ssid="$1"
 psk="$2"
 scan_freq=2412 2437 2462 5180 5200 5220
}
C
    ip netns exec far wpa_supplicant -B -i wlan1 -D nl80211 -c /tmp/station.conf -f /tmp/station.log
    wait_for 90 eval 'quiet; station_is wpa_state=COMPLETED'
}
# quiet: a scan of NetworkManager's ends. An access point whose card scans does not receive what is sent meanwhile.
quiet() { iw dev wlan0 scan abort 2>/dev/null || true; }
station_is() { wpa_cli -p /run/station -i wlan1 status | grep -q "^$1"; }
# station_dhcp [OPTIONS]: it gets an address. Repeated, like station_ping, for scans that begin meanwhile.
station_dhcp() { quiet; wait_for 60 ip netns exec far busybox udhcpc -i wlan1 -n -q -t 10 -T 1 -s /mnt/tests/udhcpc.sh "$@"; }
# station_ping ADDRESS
station_ping() { wait_for 30 ip netns exec far ping -c 1 -W 2 "$1"; }
station_leave() {
    wpa_cli -p /run/station -i wlan1 terminate
    wait_for 10 eval '! pgrep -f station.conf'
    ip -n far addr flush dev wlan1
}

# nothing_left: no interface, program or file of an access point.
nothing_left() {
    ! ls /sys/class/net | grep pelacon && ! pgrep -a -f pelacon[0-9] && ! ls -d /run/pelacon-wifi/*access-points
}

# home_join SSID PASSPHRASE CHANNEL: wlan0 joins by a wpa_supplicant that is not on the message bus; NetworkManager
# leaves it alone from now on.
home_join() {
    nmcli device set wlan0 managed no
    wait_for 20 manager_shows wlan0:unmanaged || return 1
    cat >/tmp/home.conf <<C
ctrl_interface=/run/home
network={
 ssid="$1"
 psk="$2"
 scan_freq=$((2407 + 5 * $3))
}
C
    wpa_supplicant -B -i wlan0 -D nl80211 -c /tmp/home.conf -f /tmp/home.log
    wait_for 90 home_is wpa_state=COMPLETED
}
home_is() { wpa_cli -p /run/home -i wlan0 status | grep -q "^$1"; }
