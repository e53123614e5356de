"""The emulated panel as a test sees it: presses on its touch screen, its screen as a picture, and a
shell inside the machine.

Whatever is waited for has to come; how long it takes says nothing, for the machine is emulated and
the one around it may be busy. The patience only ends what would never end.
"""

import json
import operator
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent.parent
START = ROOT / "arm/machine/start"
PATIENCE_S = 1800
LONGEST_AXIS = 32767  # what a touch screen's position is told in
READY = b"agent is ready\n"
COMPARED_BYTES = slice(3001, None, 3001)  # of a screen: one of each thousandth pixel, in turn


class Channel:
    """Bytes from and to a socket, in lines or up to a mark."""

    def __init__(self, path, alive):
        self._socket = socket.socket(socket.AF_UNIX)
        wait_for(lambda: self._connects(path), f"the socket {path.name}", alive)
        self._socket.settimeout(PATIENCE_S)
        self._kept = b""

    def _connects(self, path):
        try:
            self._socket.connect(str(path))
        except (FileNotFoundError, ConnectionRefusedError):
            return False
        return True

    def send(self, content):
        self._socket.sendall(content)

    def take_until(self, mark):
        """Everything before the mark, which is taken as well."""
        while mark not in self._kept:
            piece = self._socket.recv(1 << 16)
            if not piece:
                raise ConnectionError("the machine has gone")
            self._kept += piece
        taken, _, self._kept = self._kept.partition(mark)
        return taken

    def close(self):
        self._socket.close()


class EmulatedPanel:
    """options: of the machine's start."""

    def __init__(self, *options):
        self._options = list(map(str, options))
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="panel-check."))
        for name in ("control", "screen"):
            (self._folder / name).mkdir(mode=0o700)
        self._process = self._machine = self._agent = None
        self._marks = 0
        self.size = None

    # ---- On and off

    def start(self, *options, size=(1024, 600)):
        """Switches it on, and returns when its home page is there."""
        self.size = size
        self._process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", START, *self._options, *options,
             "--size", f"{size[0]}x{size[1]}", "--control", self._folder / "control",
             "--screen-socket", self._folder / "screen/vnc"],
            stdin=subprocess.DEVNULL)
        control = self._folder / "control"
        self._machine = Channel(control / "machine", self._alive)
        self._machine.take_until(b"\n")  # a greeting; the machine begins with the first command
        self.machine("qmp_capabilities")
        self._agent = Channel(control / "agent", self._alive)
        self.wait_until_on()

    def wait_until_on(self):
        """Returns when the home page of this boot is there, and what is pressed on it is heard."""
        self._agent.take_until(READY)
        # A pipe that nobody writes to: the shell waits on it without a process of its own for that,
        # which would take the time of what it waits for.
        self.look("mkfifo /tmp/never && exec 9<>/tmp/never")
        self.look("until [ -s /panel/run/main ] && [ -e /panel/run/touch ]; do read -t 0.1 _ <&9; done")
        self.find(name="open")

    def restart(self, press):
        """Does what restarts the machine; returns when it is on again."""
        before = self.look("cat /proc/sys/kernel/random/boot_id")
        press()
        self.wait_until_on()
        assert self.look("cat /proc/sys/kernel/random/boot_id") != before, "it is the same boot"

    def stop(self):
        """Cuts its power."""
        for channel in filter(None, (self._machine, self._agent)):
            channel.close()
        if self._process and self._process.poll() is None:
            self._process.terminate()
            self._process.wait()
        self._process = self._machine = self._agent = None

    def clean(self):
        self.stop()
        shutil.rmtree(self._folder, ignore_errors=True)

    def _alive(self):
        return self._process.poll() is None

    # ---- The machine from outside

    def machine(self, command, **arguments):
        """What the machine's own control answers."""
        request = {"execute": command, "arguments": arguments}
        self._machine.send(json.dumps(request).encode() + b"\n")
        while True:
            answer = json.loads(self._machine.take_until(b"\n"))
            assert "error" not in answer, answer
            if "return" in answer:
                return answer["return"]

    def processor_seconds(self):
        """Processor time of this machine that the emulated one has taken so far. Unlike time on a
        clock, and the machine's own count of its time, it does not grow when others keep this
        machine busy."""
        processes, ticks = [self._process.pid], 0
        for process in processes:
            folder = pathlib.Path("/proc", str(process))
            ticks += sum(map(int, (folder / "stat").read_text().rpartition(")")[2].split()[11:13]))
            for children in folder.glob("task/*/children"):
                processes += map(int, children.read_text().split())
        return ticks / os.sysconf("SC_CLK_TCK")

    def press(self, x, y):
        """Presses and lets go of a point of the touch screen, in pixels. A finger comes from nowhere:
        nothing moves before the press."""
        self._touch(x, y, True)
        self._touch(x, y, False)

    def _touch(self, x, y, down):
        def axis(name, value, length):
            # The middle of the pixel.
            return {"type": "abs", "data": {
                "axis": name, "value": (2 * value + 1) * (LONGEST_AXIS + 1) // (2 * length)}}
        events = [axis("x", x, self.size[0]), axis("y", y, self.size[1]),
                  {"type": "btn", "data": {"button": "left", "down": down}}]
        self.machine("input-send-event", events=events)

    def picture(self, path):
        """Writes what the machine shows, as a PNG."""
        with tempfile.TemporaryDirectory(dir=self._folder / "control") as folder:
            name = pathlib.Path(folder).name
            self.machine("screendump", filename=f"/control/{name}/picture", format="png")
            shutil.copyfile(pathlib.Path(folder, "picture"), path)

    def pixels(self):
        """What the machine shows: three bytes for a pixel, behind a few that say how many."""
        file = self._folder / "control/pixels"
        self.machine("screendump", filename="/control/pixels", format="ppm")
        return file.read_bytes()

    def page(self):
        """What it shows when it has come to show a page and nothing else: a page whose widgets the
        runtime describes may still be on its way to the screen."""
        last = b""

        def rests():
            nonlocal last
            before, last = last, self.pixels()
            is_empty = len(set(last[COMPARED_BYTES])) == 1
            return before and not is_empty and not is_another_page(before, last)
        wait_for(rests, "a page on the screen", self._alive, pause_s=0.2)
        return last

    def wait_for_another_page(self, before):
        """Nothing in the machine is asked for that; but it stands still for each look, so they are
        few."""
        wait_for(lambda: is_another_page(before, self.pixels()), "another page on the screen",
                 self._alive, pause_s=0.2)

    # ---- The panel from inside

    def look(self, line):
        """What a line of shell prints in the machine."""
        self._marks += 1
        mark = f"-- end of look {self._marks} --\n"
        self._agent.send(f"{{ {line}\n}} 2>&1; echo '{mark[:-1]}'\n".encode())
        return self._agent.take_until(mark.encode()).decode(errors="replace").strip()

    def wait_for_look(self, line, wanted, what):
        """Waits until wanted() is true of what a line prints, and returns that."""
        shown = []

        def is_there():
            shown[:] = [self.look(line)]
            return wanted(shown[0])
        try:
            wait_for(is_there, what, self._alive)
        except AssertionError as why:
            raise AssertionError(f"{why}; there is: {shown[0]}") from None
        return shown[0]

    def widgets(self):
        """All visible widgets, as the runtime describes them."""
        answer = "/panel/run/widgets.json"
        return json.loads(self.look(
            f"rm -f {answer}; : >/panel/run/describe; "
            f"until [ -e {answer} ]; do read -t 0.05 _ <&9; done; cat {answer}"))

    def texts(self):
        return {widget["text"] for widget in self.widgets()}

    def find(self, **wanted):
        """The visible widget whose properties contain the wanted texts; waits for it."""
        found = []

        def is_there():
            found[:] = [widget for widget in self.widgets()
                        if all(text in str(widget[key]) for key, text in wanted.items())]
            return found
        wait_for(is_there, f"{wanted} on the screen", self._alive)
        return found[0]

    def press_widget(self, **wanted):
        """Presses the middle of the first visible widget with these properties."""
        widget = self.find(**wanted)
        self.press(widget["x"] + widget["width"] // 2, widget["y"] + widget["height"] // 2)


def is_another_page(before, after):
    """Whether a third of the screen's pixels or more are others: more than by a pressed button, or a
    clock that ticks."""
    old, new = before[COMPARED_BYTES], after[COMPARED_BYTES]
    return sum(map(operator.ne, old, new)) * 3 > len(old)


def wait_for(condition, what, alive=lambda: True, pause_s=0.05):
    """Waits until the condition holds; ends when the machine has gone, or nobody would wait on."""
    deadline = time.monotonic() + PATIENCE_S
    while not condition():
        assert alive(), f"the machine has gone before {what} came"
        assert time.monotonic() < deadline, f"waited in vain for {what}"
        time.sleep(pause_s)
