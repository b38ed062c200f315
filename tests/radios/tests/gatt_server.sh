# Our GATT server on hci1, used by our client on hci0.
. /mnt/tests/lib.sh
bluetooth_start || exit
gtest "$STAGE/tests/radios_gatt_server_test" --gtest_filter='AGattServer.*:AFastGattServer.*'
# The same with the smallest MTU that the kernel takes, so that values go in parts.
kill "$BLUETOOTHD"
wait "$BLUETOOTHD"
check "bluetoothd with a small MTU" bluetoothd_start 'ExchangeMTU = 48' || exit
gtest "$STAGE/tests/radios_gatt_server_test" --gtest_filter='AGattServerOfASmallMtu.*'
