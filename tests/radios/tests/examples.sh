# The heart-rate examples on two controllers: a sensor on hci1, and two displays on hci0, which share its
# connection.
. /mnt/tests/lib.sh
radios_start hci0 hci1
peer=$(address_of hci1)
device=/org/bluez/hci0/dev_${peer//:/_}
mkfifo /tmp/sensor.in
exec_on hci1 heart_rate_sensor </tmp/sensor.in >/tmp/sensor.log 2>&1 &
sensor=$!
exec 3>/tmp/sensor.in
exec_on hci0 heart_rate_display >/tmp/display1.log 2>&1 &
display1=$!
measured() { test "$(grep -c 'beats per minute' "$1")" -ge "$2"; }
check "the display shows measurements" wait_for 60 measured /tmp/display1.log 3 || cat /tmp/display1.log /tmp/sensor.log
check "it has read the sensor's location" grep -q 'sensor at body location 1' /tmp/display1.log
check "the sensor was written to" grep -q 'energy reset' /tmp/sensor.log
# A connected peripheral does not advertise, so that the second program is given its address.
exec_on hci0 pelaconctl gatt subscribe "$peer" 180D 2A37 >/tmp/display2.log 2>&1 &
display2=$!
lines() { test "$(wc -l <"$1")" -ge "$2"; }
check "a second program shares the connection" wait_for 60 lines /tmp/display2.log 3 || cat /tmp/display2.log
kill $display1
wait $display1 2>/dev/null
before=$(wc -l </tmp/display2.log)
check "it stays when the first has left" wait_for 20 lines /tmp/display2.log $((before + 3)) || cat /tmp/display2.log
connected() { bluez get-property org.bluez "$device" org.bluez.Device1 Connected | grep -q true; }
check "the connection is there" connected
kill $display2
wait $display2 2>/dev/null
disconnected() { ! connected; }
check "it ends with the last" wait_for 20 disconnected
check "the sensor reports that it left" wait_for 20 grep -q left /tmp/sensor.log
exec_on hci0 heart_rate_display 3 >/tmp/display3.log 2>&1 &
display3=$!
check "another display connects" wait_for 60 measured /tmp/display3.log 3 || cat /tmp/display3.log /tmp/sensor.log
wait $display3
check "it ends after three measurements" test $? = 0
exec 3>&-
wait $sensor
check "the sensor ends" test $? = 0
