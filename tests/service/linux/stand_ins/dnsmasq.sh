#!/bin/sh
# Plays a dnsmasq that gives no addresses: a test writes its file of leases.
exec sleep 600
