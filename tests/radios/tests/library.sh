# The library with a service on each controller: a program on hci1 is the device that one on hci0 uses.
. /mnt/tests/lib.sh
radios_start hci0 hci1
PEER=$(address_of hci1)
export PEER
mkfifo /tmp/peer.in
exec_on hci1 "$STAGE/tests/radios_library_peer" </tmp/peer.in >/tmp/peer.log 2>&1 &
peer=$!
exec 3>/tmp/peer.in
check "the peer is ready" wait_for 30 grep -q ready /tmp/peer.log || cat /tmp/peer.log
gtest on hci0 "$STAGE/tests/radios_library_test"
sed -n 's/^read: /FIGURE &/p' /tmp/gtest.log
exec 3>&-
wait $peer
check "the peer ends" test $? = 0
