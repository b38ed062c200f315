# The staged service and pelaconctl run in the machine.
. /mnt/tests/lib.sh
export PELACON_RUNTIME_DIR=/run/pelacon LD_LIBRARY_PATH=$STAGE/lib PATH=$STAGE/bin:$PATH
mkdir -p $PELACON_RUNTIME_DIR
"$STAGE"/libexec/pelacon/PelaconService >/tmp/ready 2>/tmp/service.log &
service=$!
check "the service is ready" wait_for 20 grep -q ready /tmp/ready
check "pelaconctl reaches it" pelaconctl service status
kill $service
wait $service
check "the service ends by SIGTERM" test $? = 0
