# For tests of Wi-Fi in the guest, which begin with: . /mnt/tests/lib.sh; . /mnt/tests/wifi_lib.sh

# cards_start: two, wlan0 and wlan1.
cards_start() {
    modprobe mac80211_hwsim radios=2
    wait_for 10 test -e /sys/class/net/wlan1 || return 1
    iw reg set DE
}

# supplicant_start: as a desktop runs it, with D-Bus and without an interface of its own.
supplicant_start() {
    dbus_start
    wpa_supplicant -B -u -s -O /run/wpa_supplicant -P /run/wpa_supplicant.pid -f /tmp/wpa_supplicant.log
    wait_for 10 busctl --system --auto-start=no status fi.w1.wpa_supplicant1
}

# manager_start: NetworkManager, with polkit. It takes wlan0 and leaves the other card alone.
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
unmanaged-devices=interface-name:hwsim*;interface-name:wlan1
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

control() { on wifi timeout 60 pelaconctl "$@"; }

# wifi_status: of the real radio, in one line.
wifi_status() { control service status | sed -n '/Wi-Fi radio/,$p' | tr -s ' \n' ' '; }
