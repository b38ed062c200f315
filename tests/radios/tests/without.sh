# A service with both radios real, without bus, bluetoothd, card, rights: it starts, its status names what is
# missing, and what appears is used.
. /mnt/tests/lib.sh
control() { on hci0 timeout 60 pelaconctl "$@"; }
# The part of the status about Bluetooth, in one line.
radio() { control service status | sed -n '/Bluetooth radio/,/Wi-Fi radio/p' | tr -s ' \n' ' '; }
wifi_radio() { control service status | sed -n '/Wi-Fi radio/,/^Adapter/p' | tr -s ' \n' ' '; }
check "a service without a bus" service_start hci0 linux
service=$SERVICE
check "the status names what is missing" prints "no message bus .* install and start D-Bus" radio
check "the status names the card as missing" prints "no such card .* plug it in" wifi_radio
check "bluetooth is off" exits 0 'is off' control bt status
check "it cannot be switched on" exits 1 'does not support it' control bt on
check "scanning is refused" exits 5 'is off' control scan --seconds 5
check "a bus" dbus_start
check "the status names bluetoothd as missing" wait_for 30 prints "no bluetoothd .* start bluetooth.service" radio
check "two controllers" controllers_start || exit
check "bluetoothd" bluetoothd_start || exit
check "bluetooth can be used" wait_for 30 control bt on
check "the status shows it" prints "BlueZ .*adapter hci0" radio
check "scanning works" control scan --seconds 2
check "a card" modprobe mac80211_hwsim radios=1
check "it is used" wait_for 30 prints "adapter wlan0" wifi_radio || wifi_radio
check "the service is the same" kill -0 $service
kill $service

# as_nobody COMMAND...
as_nobody() { setpriv --reuid nobody --regid nogroup --clear-groups --inh-caps=-all "$@"; }
for_nobody() { PELACON_RUNTIME_DIR=/run/pelacon-nobody LD_LIBRARY_PATH=$STAGE/lib as_nobody timeout 60 "$STAGE/bin/pelaconctl" "$@"; }
mkdir -p /run/pelacon-nobody
chown nobody /run/pelacon-nobody
PELACON_RUNTIME_DIR=/run/pelacon-nobody as_nobody "$STAGE/libexec/pelacon/PelaconService" --radio linux \
    >/tmp/ready-nobody 2>/tmp/service-nobody.log &
check "a service without capabilities" wait_for 20 grep -q ready /tmp/ready-nobody
control() { for_nobody "$@"; }
check "the status names what is missing" prints "CAP_NET_RAW, to .* CAP_NET_ADMIN, to" radio
check "... also for Wi-Fi" prints "/dev/rfkill" wifi_radio || wifi_radio
check "bluetooth can be used" control bt on
check "it is renamed" exits 0 'Desk' control bt name Desk
check "advertising works" exits 0 Advertising control advertise --name Ours --seconds 1
check "scanning works" control scan --seconds 1

# What a system's administrator may forbid.
forbid() { # RULES of D-Bus's policy for nobody
    cat >/etc/dbus-1/system.d/forbid.conf <<P
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><policy user="nobody">$1</policy></busconfig>
P
    busctl --system call org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus ReloadConfig
}
forbid_calls() {
    local rules= call
    for call in "$@"; do
        rules+="<deny send_destination='org.bluez' send_interface='org.${call%.*}' send_member='${call##*.}'/>"
    done
    forbid "$rules"
}
check "a policy that forbids to change anything" forbid_calls freedesktop.DBus.Properties.Set \
    bluez.Adapter1.StartDiscovery bluez.LEAdvertisingManager1.RegisterAdvertisement \
    bluez.GattManager1.RegisterApplication
is_forbidden() { as_nobody busctl --system set-property org.bluez /org/bluez/hci0 org.bluez.Adapter1 Alias s x 2>&1 | grep -q denied; }
check "it holds" wait_for 10 is_forbidden
check "switching is refused" exits 1 'not permitted' control bt off
check "a new name is refused" exits 1 'not permitted' control bt name Other
check "a scan is ended" exits 1 'ended the scan' control scan --seconds 3
check "advertising is refused" exits 1 'not permitted' control advertise --name Ours --seconds 3
echo '{"services": [{"uuid": "180D", "characteristics": [{"uuid": "2A37"}]}]}' >/tmp/services.json
check "a GATT service is refused" exits 1 'not permitted' control gatt serve /tmp/services.json --seconds 3
check "a policy that forbids everything" forbid "<deny send_destination='org.bluez'/>"
kill $BLUETOOTHD
wait $BLUETOOTHD
check "bluetoothd" bluetoothd_start
check "the status shows it" wait_for 20 prints "no access to bluetoothd .* let this user send to org.bluez" radio
check "a policy that allows it again" forbid ""
check "bluetooth can be used again" wait_for 40 control bt on
