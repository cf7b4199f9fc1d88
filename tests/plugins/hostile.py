#!/usr/bin/python3
"""One script, every misbehaviour: hostile.py is run under the name of what it does."""
import fcntl
import json
import os
import signal
import socket
import struct
import subprocess
import sys
import termios
import time

MODE = os.path.basename(sys.argv[0])[:-3]
VERSION = 2 if MODE == "WrongVersion" else 1
TOKEN = "guessed" if MODE == "WrongToken" else os.environ["TARNLO_PLUGIN_TOKEN"]


def connect():
    end = socket.socket(socket.AF_UNIX)
    end.connect(os.environ["TARNLO_PLUGIN_SOCKET"])
    return end, end.makefile("r")


def send(end, message):
    end.sendall(json.dumps(message).encode() + b"\n")


if MODE == "DiesAtOnce":
    sys.exit("cannot import what I need")
if MODE == "PrintsForEver":
    while True:
        sys.stdout.write("x" * 65536)
end, lines = connect()
if MODE == "NoHello":
    send(end, {"id": 1, "call": "test"})
    time.sleep(60)
send(end, {"hello": VERSION, "as": "plugin", "token": TOKEN})
lines.readline()
if MODE in ("WrongVersion", "WrongToken"):
    time.sleep(60)

# everybody else holds the bus when it goes wrong
waiting = {"Caption": MODE, "Popup": 0}
acquired = False
send(end, {"id": 1, "call": "AcquireUSBExclAccess", "args": {"timeout": 0}})
while not acquired or waiting:
    message = json.loads(lines.readline())
    if "get" in message:
        send(end, {"id": message["id"], "result": waiting.pop(message["get"], 0)})
    elif "id" in message and ("set" in message or "call" in message):
        send(end, {"id": message["id"], "result": None})
    elif message.get("id") == 1:
        acquired = message["result"]["result"]

if MODE == "Dies":
    sys.exit(3)
if MODE == "EndsWell":
    sys.exit(0)
if MODE == "IsKilled":
    os.kill(os.getpid(), signal.SIGKILL)
if MODE == "LeavesAChild":
    subprocess.Popen(["sleep", "611.7"])
    print("child", flush=True)
    sys.exit(1)
if MODE == "Hangs":
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
    time.sleep(600)
if MODE == "Garbage":
    end.sendall(b"\x00\xff{]\n" * 20)
if MODE == "LongLine":
    end.sendall(b"x" * 1000000)
if MODE == "Floods":
    end.sendall(b'{"id":5,"call":"test"}\n' * 100000)
if MODE == "DoesNotRead":
    for i in range(10 ** 6):
        send(end, {"id": i, "call": "ReadSrec", "args": {}})
        while struct.unpack("i", fcntl.ioctl(end, termios.TIOCOUTQ, bytes(4)))[0]:
            pass        # the host has not read it yet
if MODE == "CallsWithoutEnd":
    number = 10
    while True:
        number += 1
        send(end, {"id": number, "call": "GetColor", "args": {"index": 0}})
        while True:
            message = json.loads(lines.readline())
            if message.get("id") == number and "result" in message:
                break
            send(end, {"id": message["id"], "result": None})
time.sleep(600)
