#!/usr/bin/python3
"""Drive a desktop program from outside: private X server, private D-Bus, AT-SPI tree, XTEST input.

Nothing is linked into the program. Widgets are found by object name (when the small "objid" Qt plug-in is given,
built beside this file), else by accessible name. Run it with /usr/bin/python3: another python3 that stands first on
PATH has no gi.

    with Gui(["build/debug/bin/tarnlo", "-d0"], ids="build/debug/tests/gui") as g:
        g.click("cmdRefresh"); g.type("txtFilter", "Volt"); g.wait_text("lblFooter", "answered"); g.rows("grdSBS")
        g.menu("Help", "About"); g.click("OK"); g.screenshot("shot.png")

`click` is a real pointer click (a modal window blocks it, as for a user), `press` the accessible action, also on hidden
menu entries. Wait on a text after an act, do not sleep.
"""
import os, re, shutil, signal, subprocess, sys, tempfile, time
import gi
gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib

ACC, ACT, CMP, TXT, EDT, VAL, TAB = ("org.a11y.atspi." + i for i in
    ("Accessible", "Action", "Component", "Text", "EditableText", "Value", "Table"))
STATES = {1: "active", 4: "checked", 7: "editable", 8: "enabled", 11: "focusable", 12: "focused",
          16: "modal", 23: "selected", 24: "sensitive", 25: "showing", 30: "visible"}
TABLE_ROLES = {"table", "tree", "tree table", "list", "list box"}
PATIENCE = 15   # seconds; a sanitized program on a machine that builds beside it is slow


class NotFound(Exception):
    pass


class Node:
    """One accessible object: a (bus name, object path) pair. Nothing is cached."""
    def __init__(self, gui, dest, path):
        self.gui, self.dest, self.path = gui, dest, path

    def call(self, iface, method, args=None, timeout=5000):
        r = self.gui.bus.call_sync(self.dest, self.path, iface, method, args, None,
                                   Gio.DBusCallFlags.NONE, timeout, None)
        return r.unpack()

    def prop(self, iface, name):
        return self.call("org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (iface, name)))[0]

    name = property(lambda s: s.prop(ACC, "Name"))
    description = property(lambda s: s.prop(ACC, "Description"))
    role = property(lambda s: s.call(ACC, "GetRoleName")[0])
    interfaces = property(lambda s: s.call(ACC, "GetInterfaces")[0])

    @property
    def id(self):
        d = self.description
        return d[1:].split(" ", 1)[0] if d.startswith("#") else ""

    @property
    def states(self):
        lo, hi = self.call(ACC, "GetState")[0]
        bits = lo | hi << 32
        return {n for b, n in STATES.items() if bits >> b & 1}

    def children(self):
        return [Node(self.gui, d, p) for d, p in self.call(ACC, "GetChildren")[0]
                if not p.endswith("/null")]

    def extents(self):
        return self.call(CMP, "GetExtents", GLib.Variant("(u)", (0,)))[0]

    def walk(self, depth=30, cells=False):
        yield self
        if depth and (cells or self.role not in TABLE_ROLES):
            for c in self.children():
                try:
                    yield from c.walk(depth - 1, cells)
                except GLib.Error:      # the object went away while we looked
                    continue


class Gui:
    def __init__(self, command, wm="openbox", size="1280x900", cwd=None, env=None, log=None, ids=None):
        self.procs, self.tmp = [], tempfile.mkdtemp(prefix="gui-")
        try:
            self._open(command, wm, size, cwd, env, log, ids)
        except BaseException:
            self.close()
            raise

    def _open(self, command, wm, size, cwd, env, log, ids):
        rd, wr = os.pipe()
        self._start(["Xvfb", "-displayfd", str(wr), "-screen", "0", size + "x24", "-nolisten", "tcp", "-noreset"],
                    dict(os.environ), pass_fds=(wr,))
        os.close(wr)
        with os.fdopen(rd) as f:
            display = ":" + f.readline().strip()    # to the line's end: Xvfb dies if the pipe closes early
        e = {k: v for k, v in os.environ.items()
             if k not in ("DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS", "QT_QPA_PLATFORM", "WAYLAND_DISPLAY")}
        e.update(DISPLAY=display, XDG_RUNTIME_DIR=self.tmp, XDG_CACHE_HOME=self.tmp, NO_AT_BRIDGE="1",
                 GSETTINGS_BACKEND="memory", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", LC_ALL="C.UTF-8")
        addr = f"unix:path={self.tmp}/bus"
        self._start(["dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + addr], e)
        self._until(lambda: os.path.exists(self.tmp + "/bus"), "session bus")
        e["DBUS_SESSION_BUS_ADDRESS"] = addr
        self._start(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"], e)
        session = self._until(lambda: self._connect(addr), "session bus connection")
        self.a11y = self._until(lambda: self._bus_address(session), "accessibility bus")
        self.bus = self._connect(self.a11y)
        if wm:
            self._start([wm] + (["--compositor=off"] if wm == "xfwm4" else []), e)
            self._until(lambda: "window id" in self._out(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], e), wm)
        self.env = e
        e.update(env or {})
        if ids:     # folder that holds generic/libobjid.so
            e["QT_PLUGIN_PATH"] = ids + (":" + e["QT_PLUGIN_PATH"] if "QT_PLUGIN_PATH" in e else "")
            e["QT_QPA_GENERIC_PLUGINS"] = "objid"
        self.app = self._start(command, e, cwd=cwd, log=log)
        self.registry = Node(self, "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")

    # --- set-up and clean-up
    def _start(self, cmd, env, cwd=None, log=None, **kw):
        out = open(log, "ab") if log else subprocess.DEVNULL
        p = subprocess.Popen(cmd, env=env, cwd=cwd, stdin=subprocess.DEVNULL, stdout=out, stderr=out, **kw)
        if log:
            out.close()
        self.procs.append(p)
        return p

    def _until(self, f, what, timeout=PATIENCE):
        end = time.time() + timeout
        while True:
            try:
                r = f()
            except (GLib.Error, subprocess.CalledProcessError):
                r = None
            if r:
                return r
            if time.time() > end:
                raise NotFound("timed out waiting for " + what)
            time.sleep(0.03)

    @staticmethod
    def _out(cmd, env):
        return subprocess.run(cmd, env=env, capture_output=True, text=True).stdout

    @staticmethod
    def _connect(addr):
        f = Gio.DBusConnectionFlags
        return Gio.DBusConnection.new_for_address_sync(
            addr, f.AUTHENTICATION_CLIENT | f.MESSAGE_BUS_CONNECTION, None, None)

    @staticmethod
    def _bus_address(session):
        return session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                 Gio.DBusCallFlags.NONE, 2000, None).unpack()[0]

    def close(self):
        for p in reversed(self.procs):
            if p.poll() is None:
                p.send_signal(signal.SIGTERM)
                try:
                    p.wait(3)
                except subprocess.TimeoutExpired:
                    p.kill()
                    p.wait()
        shutil.rmtree(self.tmp, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    # --- looking
    def root(self):
        for a in self.registry.children():
            if a.prop("org.a11y.atspi.Application", "ToolkitName"):
                return a
        return None

    def find(self, name, role=None, timeout=PATIENCE, under=None, showing=True):
        """First widget whose object name or accessible name is `name` (last window first)."""
        def look():
            top = under or self.root()
            tops = [under] if under else reversed(top.children()) if top else []
            for t in tops:
                for n in t.walk():
                    if (name in (n.id, n.name)) and (not role or n.role == role) \
                            and (not showing or "showing" in n.states):
                        return n
            return None
        return self._until(look, f"widget {name!r}", timeout)

    def gone(self, name, timeout=PATIENCE):
        end = time.time() + timeout
        while time.time() < end:
            try:
                self.find(name, timeout=0)
            except NotFound:
                return True
        return False

    def _node(self, x):
        return x if isinstance(x, Node) else self.find(x)

    def text(self, x):
        """What the widget holds: its text, else its value, else its name."""
        n = self._node(x)
        i = n.interfaces
        if TXT in i:
            return n.call(TXT, "GetText", GLib.Variant("(ii)", (0, -1)))[0]
        if VAL in i:
            return n.prop(VAL, "CurrentValue")
        return n.name

    def cell(self, table, row, col):
        t = self._node(table)
        d, p = t.call(TAB, "GetAccessibleAt", GLib.Variant("(ii)", (row, col)))[0]
        return Node(self, d, p)

    def shape(self, table):
        t = self._node(table)
        return t.prop(TAB, "NRows"), t.prop(TAB, "NColumns")

    def rows(self, table):
        t = self._node(table)
        r, c = self.shape(t)
        return [[self.cell(t, i, j).name for j in range(c)] for i in range(r)]

    def checked(self, x):
        return "checked" in self._node(x).states

    def wait_text(self, x, pattern, timeout=PATIENCE):
        return self._until(lambda: re.search(pattern, str(self.text(x))) and self.text(x), f"{x} ~ {pattern}", timeout)

    # --- acting
    def xdo(self, *args):
        subprocess.run(["xdotool", *map(str, args)], env=self.env, check=True, stdout=subprocess.DEVNULL)

    def click(self, x, button=1, times=1):
        """A real pointer click in the middle of the widget: a modal window in front takes it, as for a user."""
        ex, ey, w, h = self._node(x).extents()
        self.xdo("mousemove", ex + w // 2, ey + h // 2, "click", "--repeat", times, "--delay", 40, button)

    def press(self, x, action=0):
        """The widget's own accessible action, without the pointer (works on hidden menu entries too)."""
        n = x if isinstance(x, Node) else self.find(x, showing=False)
        try:
            return n.call(ACT, "DoAction", GLib.Variant("(i)", (action,)), timeout=1500)[0]
        except GLib.Error as err:       # an action that opens a modal dialog answers only when it closes
            if "imeout" in str(err) or "Timed" in str(err):
                return True
            raise

    def type(self, x, s, clear=True, enter=False):
        if not s.isascii():     # keys outside the layout get lost on a busy machine
            self.put(x, s)
            return self.key("Return") if enter else None
        if x is not None:
            self.click(x)
        if clear:
            self.key("ctrl+a")
        if s:
            self.xdo("type", "--delay", 2, "--", s)
        elif clear:
            self.key("Delete")
        if enter:
            self.key("Return")

    def field(self, dialog_of="frmMDI"):
        """The edit field of a dialog over that window, once it has the keyboard: keys sent before are lost."""
        def look():
            for t in self.root().children():
                if t.id != dialog_of and "active" in t.states:
                    return next((n for n in t.walk() if n.role == "text" and "focused" in n.states), None)
        return self._until(look, "a field with the keyboard")

    def put(self, x, s):
        """Set an edit field's text through accessibility: no key events."""
        return self._node(x).call(EDT, "SetTextContents", GLib.Variant("(s)", (s,)))[0]

    def key(self, *keys):
        self.xdo("key", "--delay", 10, *keys)

    def reveal(self, table, row, col):
        """Turn the wheel over the table until the cell is in view; an accessible action alone does not scroll."""
        t = self._node(table)
        x, y, w, h = t.extents()
        for _ in range(400):
            c = self.cell(t, row, col)      # fetched anew each time: Qt drops old cell objects
            cx, cy, cw, ch = c.extents()
            if y <= cy and cy + ch <= y + h and "showing" in c.states:
                return c
            self.xdo("mousemove", x + w // 2, y + h // 2, "click", 4 if cy < y else 5)
        raise NotFound(f"cell {row},{col} does not come into view")

    def edit_cell(self, table, row, col, s):
        self.click(self.reveal(table, row, col), times=2)
        time.sleep(0.1)
        self.type(None, s, enter=True)

    def menu(self, *path):
        for p in path:
            self.click(p)
            time.sleep(0.05)

    def screenshot(self, path):
        subprocess.run(["import", "-window", "root", path], env=self.env, check=True)
        return path

    def tree(self, node=None, depth=0, cells=False, out=sys.stdout):
        n = node or self.root()
        print("  " * depth + f"{n.role} {n.name!r} #{n.id}" + ("" if "showing" in n.states else " (hidden)"), file=out)
        if cells or n.role not in TABLE_ROLES:
            for c in n.children():
                self.tree(c, depth + 1, cells, out)


if __name__ == "__main__":      # gui.py [-s shot.png] PROGRAM ARGS... : print the tree, take a picture
    a = sys.argv[1:]
    shot = a[1] if a[:1] == ["-s"] else None
    with Gui(a[2:] if shot else a) as g:
        g._until(lambda: g.root() and g.root().children(), "a window")
        time.sleep(0.5)
        g.tree()
        if shot:
            g.screenshot(shot)
