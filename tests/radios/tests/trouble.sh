# A bluetoothd that is killed, or hangs.
. /mnt/tests/lib.sh
check "two controllers" controllers_start || exit
check "bluetoothd" bluetoothd_keep || exit
gtest "$STAGE/tests/radios_trouble_test"
