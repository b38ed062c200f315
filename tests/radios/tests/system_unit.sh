# The system's unit, by a systemd of its own in the machine: the service has what its group and soft AP need, and no
# more. With the rules that are installed beside it.
. /mnt/tests/lib.sh
. /mnt/tests/wifi_lib.sh
installed_start || exit
install -D -m 644 /mnt/tests/polkit.rules /etc/polkit-1/rules.d/50-pelacon.rules
install -D "$STAGE/libexec/pelacon/PelaconService" /usr/libexec/pelacon/PelaconService
sed 's|@CMAKE_INSTALL_FULL_LIBEXECDIR@|/usr/libexec|; s|@CMAKE_INSTALL_FULL_DOCDIR@|/usr/share/doc|' \
    /mnt/tests/pelacon.service.in >/etc/systemd/system/pelacon.service
mkdir -p /etc/default
echo 'PELACON_OPTIONS=--radio wifi=linux:wlan0 --log debug' >/etc/default/pelacon
cat >/etc/systemd/system/test.target <<C
[Unit]
Requires=basic.target pelacon.service
After=basic.target
C
# What this machine has started already, or does without.
systemctl mask systemd-udevd.service systemd-udev-trigger.service systemd-modules-load.service \
    systemd-sysctl.service systemd-random-seed.service systemd-remount-fs.service systemd-tmpfiles-setup-dev.service \
    systemd-tmpfiles-setup.service systemd-tmpfiles-clean.timer dbus.service dbus.socket >/dev/null 2>&1
mount -t cgroup2 cgroup2 /sys/fs/cgroup

# Process 1 of a namespace of its own; the network and the message bus are the machine's.
unshare --pid --mount --fork --mount-proc --propagation=private env container=test \
    /lib/systemd/systemd --system --unit=test.target --log-target=null --show-status=no &
namespace=$!
inside() { nsenter --target "$(pgrep -P $namespace)" --pid --mount -- "$@"; }
control() {
    inside env PELACON_RUNTIME_DIR=/run/pelacon LD_LIBRARY_PATH="$STAGE/lib" timeout 60 "$STAGE/bin/pelaconctl" "$@"
}
check "the unit is active" wait_for 60 eval 'inside systemctl is-active pelacon.service'

service_has() { grep -P "^$1:\s+$2" "/proc/$(pgrep -f libexec/pelacon/PelaconService)/status"; }
check "its user" service_has Uid "$(id -u pelacon)"
check "its capabilities" service_has CapEff 0000000000003400
check "and no others for its programs" service_has CapBnd 0000000000003400
check "system calls are filtered" service_has Seccomp 2
check "the status" wait_for 20 prints "by an access point" wifi_status

group() { control group create --channel 1 --json >/tmp/created; }
check "a group" group
child_has() { grep -P "^$2:\s+$3" "/proc/$(pgrep -f "$1")/status"; }
check "wpa_supplicant's capabilities" child_has 'wpa_supplicant -i pelacon0' CapEff 0000000000003000
check "dnsmasq's capabilities" child_has 'dnsmasq.*pelacon0' CapEff 0000000000001400
check "no core dumps" grep -q 'Max core file size *0 ' "/proc/$(pgrep -f 'wpa_supplicant -i pelacon0')/limits"
check "a station joins" station_join "$(field ssid </tmp/created)" "$(field passPhrase </tmp/created)"
check "it has an address" station_dhcp
check "it pings the owner" station_ping 192.168.49.1
only_channel 1
check "the soft AP beside it" control ap create --band 2.4
check "the unit is killed" inside systemctl kill --kill-whom=main --signal=KILL pelacon.service
no_access_point() { ! ls /sys/class/net | grep pelacon && ! pgrep -f pelacon[0-9]; }
check "no interface and no program is left" wait_for 5 no_access_point
check "it is started again" wait_for 30 prints "by an access point" wifi_status
check "no file is left" eval '! ls -d /run/pelacon/*access-points'
check "a group" group
check "it is removed" control group remove
check "Wi-Fi is switched off, by polkit's rule" wait_for 30 control wifi off
check "Wi-Fi is switched on" control wifi on
check "the unit is stopped" inside systemctl stop pelacon.service
check "no interface and no program is left" no_access_point
inside journalctl -u pelacon.service --no-pager -o cat >/tmp/journal
grep -v -e client -e debug /tmp/journal | sed 's/^/    /'
