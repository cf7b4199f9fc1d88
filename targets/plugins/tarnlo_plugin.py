"""The other end of Tarnlo's plug-in socket, for plug-ins in Python; standard library only.

    import tarnlo_plugin

    class Hello:
        Caption = "Hello"
        Popup = 1                       # ShowForm is wanted
        TargetInfo = ""                 # written by the host
        TargetAddress = 22              # written by the host
        def ShowForm(self, argument):
            word = host.ReadSMBusWord_(cmd=9, addr=self.TargetAddress)
            print(word["word"], "mV") if word["err"] == 0 else print(word["text"])

    host = tarnlo_plugin.Host(Hello())
    host.run()

A form with an event loop of its own calls host.serve() whenever host.fileno() can be read (tkinter:
root.createfilehandler). docs/plugins.md of Tarnlo lists the operations.
"""
import json
import os
import select
import socket

VERSION = 1
LONGEST_LINE = 65536


class Ended(Exception):
    """The host closed the connection; the plug-in should end too."""


class Refused(Exception):
    """The host did not do what was asked: an unknown operation, a wrong argument."""


class Host:
    """The running Tarnlo. Its operations are methods: arguments by name, a dict of results.

    plugin -- object with Caption, Popup, TargetInfo, TargetAddress and ShowForm(argument)
    """

    def __init__(self, plugin):
        self._plugin = plugin
        self._socket = socket.socket(socket.AF_UNIX)
        try:
            self._socket.connect(os.environ["TARNLO_PLUGIN_SOCKET"])
        except KeyError:
            raise SystemExit("This is a plug-in: Tarnlo starts it, by a view button with its name.")
        self._rest = b""
        self._lines = []
        self._answers = {}
        self._id = 0
        self._send({"hello": VERSION, "as": "plugin", "token": os.environ["TARNLO_PLUGIN_TOKEN"]})
        hello = json.loads(self._next_line())
        if "error" in hello:
            raise SystemExit(hello["error"])

    def fileno(self):
        """For select and for the event loops of forms."""
        return self._socket.fileno()

    def call(self, operation, **arguments):
        """An operation by name; waits for its answer and serves the host meanwhile."""
        self._id += 1
        number = self._id
        self._send({"id": number, "call": operation, "args": arguments})
        while number not in self._answers:
            self._take(json.loads(self._next_line()))
        answer = self._answers.pop(number)
        if "error" in answer:
            raise Refused(answer["error"])
        return answer["result"]

    def __getattr__(self, name):
        if name.startswith("__"):
            raise AttributeError(name)
        return lambda **arguments: self.call(name, **arguments)

    def acquire(self, timeout=10000):
        """Exclusive use of the bus; True when it was had. Give it back with ReleaseUSBExclAccess."""
        return self.call("AcquireUSBExclAccess", timeout=timeout)["result"]

    def colour(self, index, otherwise):
        """A colour of the host's skin as "#rrggbb"; otherwise: what to use for a colour of the system."""
        value = self.call("GetColor", index=index)["result"]
        if value < 0:
            return otherwise
        return "#%02x%02x%02x" % (value & 255, value >> 8 & 255, value >> 16 & 255)

    def serve(self):
        """Answers what the host has asked, without waiting. Raises Ended when the host is gone."""
        while self._lines or select.select([self._socket], [], [], 0)[0]:
            self._take(json.loads(self._next_line()))

    def run(self):
        """Serves until the host goes."""
        try:
            while True:
                self._take(json.loads(self._next_line()))
        except Ended:
            pass

    def _send(self, message):
        try:
            self._socket.sendall(json.dumps(message).encode() + b"\n")
        except OSError as error:
            raise Ended(str(error))

    def _next_line(self):
        while not self._lines:
            try:
                data = self._socket.recv(LONGEST_LINE)
            except OSError as error:
                raise Ended(str(error))
            if not data:
                raise Ended("the host closed the connection")
            *whole, self._rest = (self._rest + data).split(b"\n")
            self._lines += whole
        return self._lines.pop(0)

    def _take(self, message):
        kind = next((key for key in ("get", "set", "call") if key in message), None)
        if kind is None:
            if message.get("id") is None:
                raise Ended(message.get("error", "the host refused"))
            self._answers[message["id"]] = message
            return
        answer = {"id": message["id"]}
        try:
            answer["result"] = self._obey(kind, message)
        except Ended:
            raise
        except Exception as error:      # the host shows it; the plug-in goes on
            answer["error"] = "%s: %s" % (type(error).__name__, error)
        self._send(answer)

    def _obey(self, kind, message):
        name = message[kind]
        if kind == "get":
            return getattr(self._plugin, name)
        if kind == "set":
            return setattr(self._plugin, name, message["value"])
        if name == "ping":
            return None
        if name == "ShowForm":
            return self._plugin.ShowForm(message.get("args", {}).get("argument", 0))
        raise AttributeError("no operation " + name)
