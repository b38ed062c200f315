# How soon a callback gets an advertisement, and that a service without traffic sleeps.
. /mnt/tests/lib.sh
radios_start hci0
service=$SERVICE

# Wake-ups are voluntary context switches: a thread that waits and is woken has one.
wake_ups() { cat /proc/$service/task/*/status | awk '/^voluntary_ctxt_switches/ { sum += $2 } END { print sum }'; }
cpu() { awk '{ print $14 + $15 }' /proc/$service/stat; }  # in 1/100 s
sleep 5
before=$(wake_ups)
cpu_before=$(cpu)
sleep 30
woken=$(($(wake_ups) - before))
used=$(($(cpu) - cpu_before))
echo "FIGURE in 30 s without traffic: $woken wake-ups, $used/100 s of CPU time"
check "less than one wake-up a second" test $woken -lt 30
check "hardly any CPU time" test $used -le 10

python3 /mnt/tests/hci.py --count 1 &
counter=$!
export BLUETOOTHD
gtest on hci0 "$STAGE/tests/radios_scan_latency_test"
sed -n 's/^scan: /FIGURE &/p' /tmp/gtest.log
kill $counter
