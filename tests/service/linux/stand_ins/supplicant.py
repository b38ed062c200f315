#!/usr/bin/python3
"""Plays a wpa_supplicant whose network is an access point: its control socket.

A test sends "TEST event EVENT" to have it report an event, "TEST refuse N" to have it refuse the next moves,
"TEST exit" to have it end, "TEST hold" to have it not answer the next move, and "TEST answer ANSWER" to have it
answer that. If the folder of access points has a file "stuck", it never comes up; with a file
"busy" it answers after as many seconds as the file says.
"""
import os
import re
import select
import signal
import socket
import sys
import time

arguments = dict(zip(sys.argv[1::2], sys.argv[2::2]))
with open(arguments['-c']) as file:
    folder = re.search('ctrl_interface=(.*)', file.read()).group(1)
parent = os.path.dirname(os.path.dirname(folder))
is_stuck = os.path.exists(parent + '/stuck')
os.makedirs(folder, exist_ok=True)
path = folder + '/' + arguments['-i']
control = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
control.bind(path)
listeners = []
refusals = 0
holds = False
held = None
if os.path.exists(parent + '/busy'):
    with open(parent + '/busy') as file:
        time.sleep(float(file.read()))


def end(*_):
    os.unlink(path)
    sys.exit(0)


def report(event):
    for listener in listeners:
        control.sendto(b'<3>' + event.encode(), listener)


signal.signal(signal.SIGTERM, end)
while True:
    select.select([control], [], [])
    command, sender = control.recvfrom(4096)
    words = command.decode().split(' ')
    if words[:2] == ['TEST', 'event']:
        report(' '.join(words[2:]))
    elif words[:2] == ['TEST', 'refuse']:
        refusals = int(words[2])
    elif words[:2] == ['TEST', 'hold']:
        holds = True
    elif words[:2] == ['TEST', 'answer']:
        control.sendto(words[2].encode() + b'\n', held)
    elif words[0] == 'TEST':
        end()
    elif words[0] == 'ATTACH':
        listeners.append(sender)
        control.sendto(b'OK\n', sender)
    elif words[0] == 'STATUS':
        state = 'SCANNING' if is_stuck else 'COMPLETED'
        control.sendto(f'wpa_state={state}\n'.encode(), sender)
    elif words[0] == 'CHAN_SWITCH' and holds:
        holds, held = False, sender
    elif words[0] == 'CHAN_SWITCH' and refusals > 0:
        refusals -= 1
        control.sendto(b'FAIL\n', sender)
    elif words[0] == 'CHAN_SWITCH':
        control.sendto(b'OK\n', sender)
        report(f'AP-CSA-FINISHED freq={words[2]} dfs=0')
