#!/usr/bin/python3
"""Drives the window on a real kernel's adapter, inside the booted machine: window.py PROGRAM_DIRECTORY OBJID_FOLDER

`usb-gauge` has plugged the adapter in and puts it back after a while. The processor is emulated, so every wait is long
and looks at one thing; what the program says of its speed is not looked at.
"""
import os, shutil, subprocess, sys, tempfile, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../gui"))
from gui import Gui

PROGRAMS, IDS = map(os.path.abspath, sys.argv[1:3])
BUS = os.environ["I2C_DEVICE"].removeprefix("/dev/i2c-")
PULL_OUT = "0xe7"     # the battery's command that unplugs the adapter
VOLTAGE, VALUE, RAW = 9, 1, "12345"
PATIENCE, started = 180, time.time()


def tell(what):
    print(f"window: {what} ({time.time() - started:.0f} s)", flush=True)


home = tempfile.mkdtemp(prefix="tarnlo-home-")
for name in os.listdir(PROGRAMS):
    there = os.path.join(PROGRAMS, name)
    if os.path.isdir(there):
        shutil.copytree(there, os.path.join(home, name))
    elif name.endswith((".ini", ".sbs")):
        shutil.copy(there, home)
log = os.path.join(home, "bench.log")

with Gui([PROGRAMS + "/tarnlo", "-d0"], size="1366x768", ids=IDS, log="/dev/stderr",
         env={"TARNLO_HOME": home, "HOME": home, "TARNLO_ADAPTER": "real"}) as g:
    def wait(node, pattern):
        return g.wait_text(node, pattern, timeout=PATIENCE)

    g.find("frmMDI", timeout=PATIENCE)
    if not g.gone("frmSplash", timeout=PATIENCE):
        sys.exit("the splash stays")
    tell("starts without a target")

    g.key("ctrl+t")
    targets = g.find("frmTargets", timeout=PATIENCE)
    lines = g.find("lstTargets", under=targets, timeout=PATIENCE)
    row = next(n for n in lines.children() if "eneric" in n.name)
    g.click(row, times=2)
    if not g.gone("frmTargets", timeout=PATIENCE):
        sys.exit("the target list stays open")
    footer = g.find("lblFooter", timeout=PATIENCE)
    wait(footer, r"29 rows .*, \d+ failed")
    voltage = g.cell("grdSBS", VOLTAGE, VALUE)
    if voltage.name != RAW:
        sys.exit(f"Voltage shows {voltage.name}")
    tell(f"scans the generic target: {g.text(footer)}")

    g.type("txtFilter", "volt")
    grid = g.find("grdSBS")
    g._until(lambda: g.shape(grid)[0] == 3, "filtered rows", PATIENCE)
    g.key("Escape")
    g._until(lambda: g.shape(grid)[0] == 29, "all rows", PATIENCE)
    tell("filters")

    g.click("cmdStartLogging")
    g.type(g.find("fileNameEdit", timeout=PATIENCE), log, enter=True)
    logged = g.find("lblLog", timeout=PATIENCE)
    wait(logged, "sample [1-9]")
    tell("logs")

    subprocess.run(["i2cget", "-y", BUS, "0x0b", PULL_OUT, "b"], capture_output=True)
    wait(footer, "29 failed")
    tell(f"says so when the adapter is pulled out: {g.text('lblLink')}")
    wait(footer, r"(29|[12]\d) answered")
    g._until(lambda: g.cell(grid, VOLTAGE, VALUE).name == RAW, "the value again", PATIENCE)
    tell("finds it again")

    g.click("cmdStopLogging")
    g.press("Exit")
    if g.app.wait(PATIENCE) != 0:
        sys.exit("did not end well")
with open(log, newline="") as f:
    lines = f.read().split("\r\n")
head = next(i for i, line in enumerate(lines) if line.startswith("Sample"))
column = lines[head].split("\t").index("Volt")
records = [line.split("\t") for line in lines[head + 1:] if line]
values = {record[column] for record in records}
if RAW not in values or not values <= {RAW, ""}:
    sys.exit(f"the log holds {values}")
tell(f"closes; {len(records)} records, Voltage {sorted(values)}")
