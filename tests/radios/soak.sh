# Two services and their programs under load, with trouble, for five minutes less than the limit.
. /mnt/tests/lib.sh
modprobe rfkill
check "two controllers" controllers_start || exit
check "bluetoothd" bluetoothd_keep || exit
check "a Wi-Fi card" modprobe mac80211_hwsim radios=1
check "wlan0" wait_for 10 test -e /sys/class/net/wlan0
iw reg set DE
PEER=$(address_of hci1)
export PEER LD_LIBRARY_PATH=$STAGE/lib PELACON_SOAK_SECONDS=$((LIMIT - 300))
mkdir -p /run/pelacon-hci0 /run/pelacon-hci1
"$STAGE/tests/radios_soak_test" --gtest_color=no
check "nothing grows" test $? = 0
