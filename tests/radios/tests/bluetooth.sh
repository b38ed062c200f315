# Adapter, scans and advertising. First the machine itself: what one controller advertises the other
# receives, byte for byte.
. /mnt/tests/lib.sh
bluetooth_start || exit
check "power hci0" power hci0 true
check "power hci1" power hci1 true
python3 /mnt/tests/hci.py 0 300 >/tmp/reports.log &
receiver=$!
# Beside bluetoothd, by the management socket: all bytes are the test's own.
check "advertise raw bytes" python3 - <<'P'
import sys
sys.path.insert(0, '/mnt/tests')
import hci
control = hci.open_socket(hci.NONE, hci.CONTROL)
sys.exit(hci.add_advertising(control, 1, 5, 1, bytes.fromhex('02010605ff34120a0b'), bytes.fromhex('06095241572d31')))
P
python3 /mnt/tests/discover.py hci0 300 &
discovery=$!
check "the advertisement is received as it was sent" wait_for 90 grep -q '^ADV_IND .* 02010605ff34120a0b$' /tmp/reports.log
check "the scan response is received by itself" wait_for 90 grep -q '^SCAN_RSP .* 06095241572d31$' /tmp/reports.log
kill $discovery $receiver
wait $discovery $receiver
gtest "$STAGE/tests/radios_bluetooth_test"
