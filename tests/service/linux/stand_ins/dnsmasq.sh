#!/bin/sh
# Plays a dnsmasq that gives no addresses: a test writes its file of leases. Its process id is in dnsmasq.pid
# beside that file. It ends when the folder of access points has a file "no-dnsmasq".
for argument; do
    case $argument in
        --dhcp-leasefile=*) own=$(dirname "${argument#*=}") ;;
    esac
done
echo $$ >"$own/dnsmasq.pid"
while [ ! -e "$own/../no-dnsmasq" ]; do sleep 0.1; done
exit 2
