#!/usr/bin/python3
"""Soak monitor: reads the pack's voltage for hours and counts, minute by minute, what went wrong.

A plug-in for Tarnlo with a form of its own (python3-tk), and an example of one in Python. Each minute is a line:
reads, failures, the longest time that a read took (from asking Tarnlo to its answer, other views' turns on the bus
included), lowest and highest voltage. The lines can be saved as CSV; when Tarnlo ends the plug-in before that was done,
they are kept as soak-DATE-TIME.csv in the folder above this one.
"""
import csv
import os
import signal
import tempfile
import time
import tkinter
from tkinter import filedialog, font, messagebox, ttk

import tarnlo_plugin

VOLTAGE = 0x09
INTERVAL_MS = 500
STRIP_MINUTES = 120
COLUMNS = (("minute", "Minute", 120), ("reads", "Reads", 70), ("failures", "Failures", 80),
           ("worst", "Worst ms", 80), ("lowest", "Lowest mV", 90), ("highest", "Highest mV", 90))


class Minute:
    def __init__(self, begin):
        self.begin, self.reads, self.failures, self.worst, self.lowest, self.highest = begin, 0, 0, 0.0, None, None
        self.text = ""      # of the last failure

    def add(self, milliseconds, millivolts, text):
        self.reads += 1
        self.worst = max(self.worst, milliseconds)
        if millivolts is None:
            self.failures += 1
            self.text = text
            return
        self.lowest = millivolts if self.lowest is None else min(self.lowest, millivolts)
        self.highest = millivolts if self.highest is None else max(self.highest, millivolts)

    def row(self):
        empty = ""
        return (time.strftime("%Y-%m-%d %H:%M", time.localtime(self.begin)), self.reads, self.failures,
                "%.1f" % self.worst, empty if self.lowest is None else self.lowest,
                empty if self.highest is None else self.highest)


class SoakMonitor:
    Caption = "Soak monitor"
    Popup = 1
    TargetInfo = ""
    TargetAddress = 22

    def __init__(self):
        self.minutes = []
        self.started = time.monotonic()
        self.running = True
        self.saved = True
        self.form = None

    def ShowForm(self, argument):
        if self.form:
            self.form.deiconify()
            self.form.lift()

    # ---- form ----

    def build(self, host):
        self.host = host
        self.form = form = tkinter.Tk(className="SoakMonitor")
        form.withdraw()                 # until the host asks for it
        form.title("Soak monitor")
        form.geometry("640x460")
        form.minsize(520, 320)
        form.iconphoto(True, self.icon())
        self.figure = tkinter.StringVar(value="Waiting for the first read")
        self.detail = tkinter.StringVar()
        self.style = ttk.Style(form)
        self.style.theme_use("clam")
        body = font.nametofont("TkDefaultFont")
        large = body.copy()
        large.configure(size=int(abs(body.cget("size")) * 1.8), weight="bold")
        frame = ttk.Frame(form, padding=12)
        frame.pack(fill="both", expand=True)
        ttk.Label(frame, textvariable=self.figure, font=large).pack(anchor="w")
        ttk.Label(frame, textvariable=self.detail, style="Quiet.TLabel").pack(anchor="w", pady=(0, 8))
        buttons = ttk.Frame(frame)
        buttons.pack(side="bottom", fill="x", pady=(8, 0))
        self.pause = ttk.Button(buttons, text="Pause", command=self.toggle)
        self.pause.pack(side="left")
        ttk.Button(buttons, text="Reset", command=self.reset).pack(side="left", padx=8)
        ttk.Button(buttons, text="Save as CSV...", command=self.save).pack(side="left")
        self.strip = tkinter.Canvas(frame, height=84, highlightthickness=0)
        self.strip.pack(side="bottom", fill="x", pady=(8, 0))
        table = ttk.Frame(frame)
        table.pack(fill="both", expand=True)
        self.table = ttk.Treeview(table, columns=[c[0] for c in COLUMNS], show="headings", selectmode="browse")
        for key, text, width in COLUMNS:
            self.table.heading(key, text=text, anchor="e" if key != "minute" else "w")
            self.table.column(key, width=width, anchor="e" if key != "minute" else "w")
        bar = ttk.Scrollbar(table, command=self.table.yview)

        def scrolled(first, last):      # the bar stands there only when there is something to scroll
            bar.set(first, last)
            if float(first) <= 0 and float(last) >= 1:
                bar.grid_remove()
            else:
                bar.grid(row=0, column=1, sticky="ns")
        self.table.configure(yscrollcommand=scrolled)
        self.table.grid(row=0, column=0, sticky="nsew")
        table.rowconfigure(0, weight=1)
        table.columnconfigure(0, weight=1)
        form.protocol("WM_DELETE_WINDOW", self.close)
        form.createfilehandler(host, tkinter.READABLE, lambda *_: self.guard(host.serve))
        self.dress()
        form.after(0, self.tick)

    def icon(self):
        """A pulse line, drawn here so that the script is one file."""
        picture = tkinter.PhotoImage(master=self.form, width=32, height=32)
        picture.put("#14657a", to=(1, 1, 31, 31))
        heights = [18] * 8 + [14, 10, 6, 12, 18, 24, 27, 22, 16, 12] + [18] * 8
        for x, y in enumerate(heights, 3):
            picture.put("#ffffff", to=(x, min(y, heights[max(x - 4, 0)]), x + 1, max(y, heights[max(x - 4, 0)]) + 2))
        return picture

    def dress(self):
        """Takes the host's colours, again every minute: its skin may change."""
        host = self.host
        back, text = host.colour(0, "#f8f8f8"), host.colour(5, "#202020")
        fill, fill_text = host.colour(4, "#14657a"), host.colour(6, "#ffffff")
        button, self.failed = host.colour(7, "#eef1f3"), host.colour(8, "#a65300")
        mix = lambda share: "#" + "".join(
            "%02x" % round(int(back[i:i + 2], 16) * (1 - share) + int(text[i:i + 2], 16) * share) for i in (1, 3, 5))
        self.back, self.text, self.quiet, self.line, self.fill = back, text, mix(0.65), mix(0.2), fill
        style = self.style
        style.configure(".", background=back, foreground=text, bordercolor=self.line, troughcolor=back,
                        lightcolor=back, darkcolor=back)
        style.configure("Quiet.TLabel", foreground=self.quiet)
        style.configure("TButton", background=button, padding=(10, 3))
        style.map("TButton", background=[("active", mix(0.12))])
        style.configure("Treeview", background=back, fieldbackground=back, foreground=text, borderwidth=0)
        style.configure("Treeview.Heading", background=button, foreground=text, relief="flat", padding=(4, 2))
        style.map("Treeview.Heading", background=[("active", button)])
        style.map("Treeview", background=[("selected", fill)], foreground=[("selected", fill_text)])
        style.configure("Vertical.TScrollbar", background=button, arrowcolor=text)
        self.form.configure(background=back)
        self.strip.configure(background=back)
        self.table.tag_configure("failed", foreground=self.failed)

    # ---- work ----

    def guard(self, work):
        try:
            work()
        except tarnlo_plugin.Ended:
            self.form.quit()

    def tick(self):
        self.form.after(INTERVAL_MS, self.tick)
        if self.running:
            self.guard(self.read)

    def read(self):
        begin = time.monotonic()
        answer = self.host.ReadSMBusWord_(cmd=VOLTAGE, addr=self.TargetAddress)
        took = (time.monotonic() - begin) * 1000
        now = int(time.time()) // 60 * 60
        if not self.minutes or self.minutes[-1].begin != now:
            self.minutes.append(Minute(now))
            self.table.insert("", 0, iid=str(len(self.minutes)), values=self.minutes[-1].row())
            self.dress()
        good = answer["err"] == 0
        minute = self.minutes[-1]
        minute.add(took, answer["word"] & 0xFFFF if good else None, answer.get("text", ""))
        self.saved = False
        self.table.item(str(len(self.minutes)), values=minute.row(), tags=("failed",) if minute.failures else ())
        self.show(answer["word"] & 0xFFFF if good else None)

    def show(self, millivolts):
        reads, failures = sum(m.reads for m in self.minutes), sum(m.failures for m in self.minutes)
        self.figure.set("%d mV" % millivolts if millivolts is not None else "No answer")
        texts = [m.text for m in self.minutes if m.text]
        seconds = time.monotonic() - self.started
        self.detail.set("%d reads, %d failures in %d:%02d h, worst %.1f ms%s" % (
            reads, failures, seconds // 3600, seconds // 60 % 60, max(m.worst for m in self.minutes),
            ". Last failure: " + texts[-1] if texts else ""))
        self.draw()

    def draw(self):
        """Lowest to highest voltage of each minute; a minute with failures has a mark below."""
        strip, shown = self.strip, self.minutes[-STRIP_MINUTES:]
        strip.delete("all")
        width, height = strip.winfo_width(), strip.winfo_height()
        known = [m for m in shown if m.lowest is not None]
        if not known or width < 100:
            return
        low, high = min(m.lowest for m in known), max(m.highest for m in known)
        middle, span = (low + high) / 2, max(high - low, 40)
        left, top, bottom = 56, 10, height - 16
        y = lambda mv: bottom - (mv - middle + span / 2) / span * (bottom - top)
        for mv in (middle + span / 2, middle - span / 2):
            strip.create_line(left, y(mv), width, y(mv), fill=self.line)
            strip.create_text(left - 6, y(mv), text="%d" % mv, anchor="e", fill=self.quiet)
        step = (width - left) / STRIP_MINUTES
        for i, minute in enumerate(shown):
            x = left + i * step
            if minute.lowest is not None:
                strip.create_rectangle(x, y(minute.highest) - 1, x + max(step - 1, 2), y(minute.lowest) + 1,
                                       fill=self.fill, width=0)
            if minute.failures:
                strip.create_text(x + step / 2, height - 6, text="x", fill=self.failed)

    def toggle(self):
        self.running = not self.running
        self.pause.configure(text="Pause" if self.running else "Go on")

    def reset(self):
        self.minutes.clear()
        self.started = time.monotonic()
        self.table.delete(*self.table.get_children())
        self.strip.delete("all")
        self.detail.set("")
        self.saved = True

    def save(self):
        path = filedialog.asksaveasfilename(parent=self.form, title="Save the minutes", defaultextension=".csv",
                                            initialfile="soak.csv", filetypes=[("CSV files", "*.csv")])
        if not path:
            return False
        try:
            self.write(path)
        except OSError as error:
            messagebox.showerror("Soak monitor", "%s was not saved: %s." % (path, error.strerror), parent=self.form)
        return self.saved

    def write(self, path):
        """The file whole or not at all: a full disk leaves the old one."""
        handle, temporary = tempfile.mkstemp(dir=os.path.dirname(path) or ".")
        try:
            with open(handle, "w", newline="", encoding="utf-8") as file:
                writer = csv.writer(file)
                writer.writerow([text for _, text, _ in COLUMNS])
                writer.writerows(minute.row() for minute in self.minutes)
            os.chmod(temporary, 0o644)
            os.replace(temporary, path)
        except BaseException:
            os.unlink(temporary)
            raise
        self.saved = True

    def keep(self):
        """Hours of reads are not lost because a window was closed elsewhere."""
        if self.saved:
            return
        name = time.strftime("soak-%Y%m%d-%H%M%S.csv")
        path = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), name)
        try:
            self.write(path)
        except OSError as error:
            print("%s was not saved: %s." % (path, error.strerror))

    def close(self):
        """The form was closed: the plug-in ends, and with it its window in Tarnlo."""
        if not self.saved:
            answer = messagebox.askyesnocancel("Soak monitor", "Save the minutes before closing?", parent=self.form)
            if answer is None or (answer and not self.save()):
                return
            self.saved = True           # or not wanted
        self.form.quit()


if __name__ == "__main__":
    monitor = SoakMonitor()
    monitor.build(tarnlo_plugin.Host(monitor))
    signal.signal(signal.SIGTERM, lambda *_: monitor.form.quit())    # Tarnlo ends the plug-in
    monitor.form.mainloop()
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
    monitor.keep()
