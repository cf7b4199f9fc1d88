#!/usr/bin/python3
"""Drives the real program as a person would: window_test.py PROGRAM OBJID_FOLDER [TEST...]

Each test starts the program on a program folder of its own with the simulated pack.
"""
import os, re, shutil, sys, tempfile, time, unittest

SKIPPED = 77


def skip(reason):
    print(f"SKIPPED: {reason}. No window was tested. scripts/packages-test.txt lists what the tests need.")
    sys.exit(SKIPPED)


for tool in ("Xvfb", "openbox", "xdotool", "xprop", "import", "dbus-daemon", "/usr/libexec/at-spi-bus-launcher"):
    if not shutil.which(tool):
        skip(f"{tool} is missing")
try:
    from gui import Gui, NotFound
except (ImportError, ValueError) as error:
    skip(f"python3-gi is missing ({error})")

PROGRAM, IDS = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
VALUE, SCAN, PLOT = 1, 3, 5     # columns of the register grid
MARKS = 6                       # column of the data-flash grid; its values stand in the same one
ROWS, AT_RATE, CURRENT = 29, 4, 10


class WindowTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="tarnlo-home-")
        self.addCleanup(shutil.rmtree, self.home, True)
        built = os.path.dirname(PROGRAM)
        for name in os.listdir(built):
            there = os.path.join(built, name)
            if os.path.isdir(there):
                shutil.copytree(there, os.path.join(self.home, name))
            elif name.endswith((".ini", ".sbs", ".tgt")):
                shutil.copy(there, self.home)
        self.g = None

    def start(self, *arguments, adapter="sim", size="1366x768"):
        env = {"TARNLO_HOME": self.home, "TARNLO_ADAPTER": adapter, "HOME": self.home}
        self.log = os.path.join(self.home, "output")
        self.g = Gui([PROGRAM, *arguments], size=size, env=env, log=self.log, ids=IDS)
        self.addCleanup(self.g.close)
        self.g.find("frmMDI", timeout=30)
        self.g.gone("frmSplash")
        return self.g

    def registers(self, *arguments):
        g = self.start(*arguments)
        g.wait_text("lblFooter", f"{ROWS} answered, 0 failed", timeout=20)
        return g

    def tearDown(self):
        result = self._outcome.result
        if self.g and any(test is self for test, _ in result.failures + result.errors):
            print(self.id(), "left this picture:", self.g.screenshot(f"window_test-{self._testMethodName}.png"))
        if self.g and self.g.app.poll() is None:
            self.quit()

    def quit(self):
        """Ends the program as its menu does; it must go by itself, with nothing to complain about."""
        self.g.press("Exit")
        self.ended()

    def ended(self):
        code = self.g.app.wait(15)
        with open(self.log, errors="replace") as log:
            self.assertEqual((code, log.read()), (0, ""))

    def setting(self, file, section, key, value):
        """Sets a key that the file has, or adds it to its section."""
        path = os.path.join(self.home, file)
        with open(path, encoding="utf-8") as f:
            text = f.read()
        head, body = text.split(f"[{section}]", 1)
        body, found = re.subn(rf"^{key}=.*$", f"{key}={value}", body, count=1, flags=re.M)
        with open(path, "w", encoding="utf-8") as f:
            f.write(head + f"[{section}]" + ("" if found else f"\n{key}={value}") + body)

    def column(self, column=VALUE):
        return [row[column] for row in self.g.rows("grdSBS")]

    def told(self, text):
        """The error window says this, and is put away."""
        self.g.wait_text("lblMsg", re.escape(text))
        self.g.click("cmdOK")
        self.assertTrue(self.g.gone("frmErrMsg"))

    def interval(self, entry, value, *messages):
        g = self.g
        g.menu("Options", entry)
        g.field()
        g.type(None, str(value), enter=True)
        for message in messages[-1:]:
            self.told(message)

    # --- a bench session
    def test_scans_filters_writes_and_logs(self):
        g = self.registers()
        rows = g.rows("grdSBS")
        self.assertEqual(len(rows), ROWS)
        self.assertNotIn("", [row[VALUE] for row in rows])

        g.type("txtFilter", "volt")
        g._until(lambda: self.column(0) == ["Voltage", "ChargingVoltage", "DesignVoltage"], "filtered rows")
        g.key("Escape")
        g._until(lambda: g.shape("grdSBS")[0] == ROWS, "all rows")

        g.click(g.cell("grdSBS", AT_RATE, VALUE))
        g.type(None, "-15", clear=False)    # the first figure opens the field and stands in it
        g.wait_text("lblFooter", "Enter writes -15")
        before = g.text("PictureStat")      # a pass in the middle of the typing takes nothing away
        g._until(lambda: g.text("PictureStat") not in (before, "Ready"), "a pass")
        g.type(None, "00", clear=False, enter=True)
        g.wait_text("lblFooter", "AtRate: -1500 written and read back")
        g._until(lambda: g.cell("grdSBS", AT_RATE, VALUE).name == "-1500", "the value of the next pass")

        for column, footer in ((SCAN, "28 scanned"), (SCAN, "29 scanned"), (PLOT, "29 scanned")):
            g.click(g.cell("grdSBS", CURRENT, column))
            g.wait_text("lblFooter", footer, timeout=15)
        g.wait_text("plotLegend", "Current")

        self.interval("Refresh interval...", 70000, "The scan interval is greater than the logging interval! "
                      "Logging interval has been automatically updated to 64767ms")
        self.assertEqual(g.text("lblInterval"), "every 64767 ms")
        self.interval("Logging interval...", 300, "The scan interval is less than the logging interval! "
                      "Scan interval has been automatically updated to 300ms")
        self.assertEqual(g.text("lblInterval"), "every 300 ms")

        log = os.path.join(self.home, "bench.log")
        g.click("cmdStartLogging")
        g.type("fileNameEdit", log, enter=True)
        g.wait_text("lblLog", "sample [3-9]")
        g.click("cmdStopLogging")
        with open(log, newline="") as f:
            lines = f.read().split("\r\n")
        self.assertIn("imulated", lines[0])
        captions = lines[4].split("\t")
        self.assertEqual(captions[:3], ["Sample", "Stamp", "~Elapsed(s)"])
        self.assertEqual(len(captions), 3 + ROWS)
        records = [line.split("\t") for line in lines[5:-1]]
        self.assertGreaterEqual(len(records), 3)
        for number, record in enumerate(records, 1):
            self.assertEqual(record[0], str(number))
            self.assertEqual(record[captions.index("AtRate")], "-1500")

    def test_auto_cycle_charges_and_discharges(self):
        self.setting("tarnlo.ini", "Simulator", "Speed", 3000)
        self.setting("tarnlo.ini", "Simulator", "Charge", 8)    # below the limit, so it charges first
        for key, value in (("ChgRelax", 0), ("DChgRelax", 0)):
            self.setting("sim4s/Config.ini", "AutoCycle", key, value)
        self.setting("Config.ini", "SBS", "ScanInterval", 50)
        g = self.registers()
        g.click("Auto-cycle")
        g.click("cmdStartCycle")
        seen = []

        def turned():
            state = g.text("lblCycleState")
            if seen[-1:] != [state]:
                seen.append(state)
            return "Charging" in seen and "Discharging" in seen[seen.index("Charging"):]
        try:
            g._until(turned, "a charge and then a discharge", timeout=30)
        except NotFound as error:
            self.fail(f"{error}, seen {seen}")
        g.click("cmdStopCycle")
        g.wait_text("lblCycleState", "Idle|Stopped")

    def test_edits_and_writes_the_data_flash(self):
        g = self.registers()
        g.key("ctrl+2")
        g.wait_text("lblNotice", "Nothing read yet")
        g.key("ctrl+r")
        g.wait_text("lblLastRead", "subclasses, no errors", timeout=30)

        g.key("ctrl+f")
        g.type("txtSearch", "Cell OV Threshold")
        g._until(lambda: g.shape("grdDataFlash")[0] == 2, "a subclass row and the item")
        before = g.cell("grdDataFlash", 1, VALUE).name
        g.edit_cell("grdDataFlash", 1, VALUE, "70000")
        g.find("lblRefusal")
        g.key("Escape")
        self.assertTrue(g.gone("lblRefusal"))
        g.edit_cell("grdDataFlash", 1, VALUE, "4201")
        g._until(lambda: g.find("cmdOnlyEdited").name.endswith(": 1"), "the count of edits")
        self.assertIn("edited, not written", g.cell("grdDataFlash", 1, MARKS).name)

        g.key("ctrl+q")     # an edit is not lost without a question that says what would happen
        g.click("Keep editing")
        g.key("ctrl+shift+w")
        g.wait_text("lblPlanSummary", "1 edited item")
        g.click("cmdWritePlan")
        g.wait_text("lblNotice", "1 subclass written and verified", timeout=20)
        self.assertEqual(len(os.listdir(os.path.join(self.home, "Backups"))), 1)
        g.key("ctrl+r")
        g._until(lambda: g.cell("grdDataFlash", 1, VALUE).name == "4201", "the value that the gauge holds")

        g.menu("File", "Export data flash...")
        exported = os.path.join(self.home, "bench.gg")
        g.type("fileNameEdit", exported, enter=True)
        g.wait_text("lblNotice", "items exported")
        with open(exported, newline="", encoding="utf-8") as f:
            text = f.read()
        with open(exported, "w", newline="", encoding="utf-8") as f:
            f.write(text.replace("Cell OV Threshold = 4201", "Cell OV Threshold = " + before))
        g.menu("File", "Import data flash...")
        g.type("fileNameEdit", exported, enter=True)
        g.wait_text("lblCompareSummary", "1 changed")
        g.click("cmdTake")
        g._until(lambda: g.cell("grdDataFlash", 1, VALUE).name == before, "the value of the file")
        g.key("ctrl+z")
        g._until(lambda: g.cell("grdDataFlash", 1, VALUE).name == "4201", "the value before the import")

    def test_changes_the_target_and_closes_in_mid_scan(self):
        g = self.registers()
        g.menu("File", "Choose target...")
        lines = [row[0] for row in g.rows("lstTargets")]
        g.click(g.cell("lstTargets", next(i for i, line in enumerate(lines) if "generic" in line.lower()), 0), times=2)
        self.assertTrue(g.gone("frmTargets"))
        g._until(lambda: g.find("frmMDI").name.endswith(" - Generic Smart Battery"), "the title of the target")
        g.wait_text("lblFooter", f"{ROWS} answered")

        g.menu("File", "Communication error log", "On")
        g._until(lambda: g.checked(g.find("On", showing=False)), "the log is on")
        g.press("Clear")

        self.interval("Refresh interval...", 1)
        g.wait_text("lblInterval", "every 1 ms")
        before = g.text("PictureStat")
        g._until(lambda: g.text("PictureStat") != before, "passes")
        g.key("ctrl+q")
        self.ended()

    # --- starts with something missing: a usable window that says what
    def test_starts_without_an_adapter(self):
        g = self.start(adapter="real")
        self.told("The HX5100 connection could not be Initiated! Please close this program and try again.")
        self.assertIn("dapter", g.text("lblEmptyAdapter"))
        g.click("cmdUseSimulated")
        g.wait_text("lblFooter", f"{ROWS} answered", timeout=20)

    def test_starts_with_an_option_that_names_no_target(self):
        for arguments, file in (("-t",), ""), (("-d0", "-tnot/there.ini"), "there.ini"):
            with self.subTest(arguments):
                g = self.start(*arguments)
                g.wait_text("lblEmptyTarget", file + " is no target file")
                g.click("cmdChooseTarget")
                g.find("lstTargets")
                g.click("cmdCancel")
                self.quit()

    def test_starts_with_broken_settings(self):
        with open(os.path.join(self.home, "tarnlo.ini"), "wb") as f:
            f.write(b"\xff\xfe[GUI\0\nSkin\n=\n[Targets\n" + bytes(range(256)) * 8)
        os.remove(os.path.join(self.home, "DefSkin.ini"))
        g = self.start()
        g.wait_text("lblFile", "No target is known", timeout=10)
        g.click("cmdCancel")
        self.assertTrue(g.gone("frmTargets"))
        self.assertEqual(g.text("lblEmptyTitle"), "No target yet")
        self.assertIn("names no target", g.text("lblEmptySettings"))
        self.quit()     # before the start has quite ended


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + sys.argv[3:], verbosity=2)
