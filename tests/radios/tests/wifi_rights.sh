# A service without rights reads Wi-Fi and may not switch it; the rules that are installed with it let its user
# switch, with NetworkManager and without.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
modprobe rfkill
check "two cards" cards_start 2 || exit
check "NetworkManager" manager_start
useradd --system pelacon
mkdir -p /run/pelacon-wifi
chown pelacon:pelacon /run/pelacon-wifi
AS="setpriv --reuid pelacon --regid pelacon --clear-groups --inh-caps=-all"
control() { on wifi timeout 60 $AS pelaconctl "$@"; }
off_and_on() {
    control wifi off && prints 'Wi-Fi is off' control wifi status && control wifi on
}
check "a service without rights" wifi_service_start
check "Wi-Fi is on" wait_for 20 prints 'Wi-Fi is on' control wifi status
check "a scan by a program without rights" control wifi scan
check "it cannot be switched" exits 4 'still on' control wifi off --wait 1
check "Wi-Fi is on" exits 0 'Wi-Fi is on' control wifi status

install_rules() {
    install -D -m 644 /mnt/tests/polkit.rules /etc/polkit-1/rules.d/50-pelacon.rules
    install -D -m 644 /mnt/tests/udev.rules /run/udev/rules.d/60-pelacon.rules
    udevadm control --reload
    udevadm trigger --action=change --subsystem-match=misc --sysname-match=rfkill
    udevadm settle --timeout=20
    stat -c %G /dev/rfkill | grep pelacon
}
check "the rules" install_rules
check "it can be switched with NetworkManager" wait_for 30 off_and_on
manager_stop
kill $SERVICE
wait $SERVICE
check "a service without NetworkManager" wifi_service_start
check "the status says so" prints "switch: by rfkill" wifi_status
check "it can be switched by rfkill" off_and_on
sed 's/^/    /' /tmp/service-wifi.log | grep -v client
