# Scans through two services: the kinds of advertisements, filters, policies.
. /mnt/tests/lib.sh
radios_start hci0 hci1
peer=$(address_of hci1)

advertise() { # ARGUMENTS...
    exec_on hci1 pelaconctl advertise "$@" >/tmp/advertise.log 2>&1 &
    advertise=$!
    wait_for 20 grep -q Advertising /tmp/advertise.log || { cat /tmp/advertise.log; false; }
}
end_advertising() { kill $advertise; wait $advertise 2>/dev/null; }
scan() { # ARGUMENTS...: results as they come, in scan.log
    exec_on hci0 pelaconctl --json scan "$@" >/tmp/scan.log 2>&1 &
    scan=$!
}
end_scan() { kill $scan; wait $scan 2>/dev/null; }
receives() { # TEXT...: in one result
    local results text
    results=$(cat /tmp/scan.log)
    for text in "$@"; do
        results=$(grep -F -- "$text" <<<"$results")
    done
    test -n "$results"
}

for kind in connectable scannable non-connectable; do
    check "advertise $kind" advertise --raw 02010603030f18 --kind $kind
    scan
    check "$kind is received as such" wait_for 60 receives "\"event\":\"$kind\"" '"data":"02010603030f18"' ||
        tail -n 3 /tmp/scan.log
    end_scan
    end_advertising
done

check "advertise a name and data" advertise --name Filtered --uuid 180F --manufacturer FFFF:0215aa \
    --response-name Answer
expect() { # FILTER
    scan --filter "$1"
    check "the filter $1 lets it through" wait_for 60 receives "$peer" || cat /tmp/scan.log
    end_scan
}
expect name=Filt
expect "address=${peer//:/}"
expect manufacturer=FFFF
expect hex=0215AA
exec_on hci0 pelaconctl --json scan --filter name=Other --filter manufacturer=0001 >/tmp/other.log 2>&1 &
other=$!
wait_for 60 prints 'scanning=1' on hci0 pelaconctl service status
scan
check "it is received beside other filters" wait_for 60 receives "$peer" '"name":"Filtered"'
end_scan
check "the scan with other filters is there" kill -0 $other
check "... and lets nothing through" test ! -s /tmp/other.log
kill $other
wait $other 2>/dev/null
for policy in low-power balanced low-latency; do
    scan --policy $policy
    check "the policy $policy receives it" wait_for 60 receives "$peer" '"name":"Filtered"'
    check "... and its scan response" wait_for 60 receives "$peer" '"event":"scan response"' '"name":"Answer"'
    end_scan
done
end_advertising
