#!/usr/bin/env python3
"""emulated.py OPTION...: what an operator waits for, on the emulated panel: instructions and times.

The options are those of the machine's start. The machine runs twice. In the first run its clock
counts instructions, one a nanosecond, so that the processor time of a program is the number of its
instructions, those of the kernel for it among them; this is the same on any machine around it. In the
second the clock is a clock, and a busy machine around it makes the times long.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/arm/machine"))
sys.dont_write_bytecode = True
from emulated_panel import EmulatedPanel  # noqa: E402  -- in that folder

TOOL = "/panel-build/simulator/platform-tool/platform_tool"
FONTS = "<fontconfig><dir>/hmi</dir><cachedir>/tmp/fontconfig</cachedir></fontconfig>"
FIRST_FRAME = "from exec to the first frame"

# The runtime that the machine has started itself stands still meanwhile. The benchmarks look for the
# platform's tools where a simulated panel has them.
PREPARATIONS = (
    "kill -STOP $(pidof panel-host)",
    f"mkdir -p {TOOL.rpartition('/')[0]} /panel/bin",
    f"ln -s /panel/program/platform_tool {TOOL}",
    f"echo '{FONTS}' >/tmp/fonts.conf",
    "export HOME=/root LANG=C.UTF-8 XDG_RUNTIME_DIR=/run QT_FONT_DPI=96 QT_HASH_SEED=0",
    "export QT_QPA_PLATFORM=offscreen QT_QPA_PLATFORM_PLUGIN_PATH=/panel/program",
    "export FONTCONFIG_FILE=/tmp/fonts.conf",
)
# Its report is three numbers: the moment, the processor time in seconds, the memory in kilobytes.
START_TO_FIRST_FRAME = (
    "FIRST_FRAME_FD=3 /panel/program/start_host /panel/program/libSettingsPlugin.so 3>/tmp/frame & "
    "until [ -s /tmp/frame ]; do usleep 100000; done; kill $!; od -An -v -w8 -tf8 /tmp/frame")


def measure(*options):
    """The processor time of each step, in milliseconds."""
    panel = EmulatedPanel(*options)
    try:
        panel.start("--fresh", "--language", "english", "--adapters", "1")
        for line in PREPARATIONS:
            shown = panel.look(line)
            assert not shown, f"{line}: {shown}"
        _, seconds, _ = map(float, panel.look(START_TO_FIRST_FRAME).splitlines()[-3:])
        printed = panel.look("/panel/program/operator_times")
    finally:
        panel.clean()
    steps = {name: float(value) for name, value in
             re.findall(r"^(\S.*\S) +(\d+\.\d+)$", printed, re.MULTILINE)}
    assert len(steps) > 5, printed
    return {FIRST_FRAME: seconds * 1e3, **steps}


def show(head, measured):
    print(f"| {head} | |\n|---|---|")
    for name, value in measured.items():
        print(f"| {name} | {value:.1f} |")
    print(flush=True)


def main():
    show("Instructions of a 32-bit ARM, in millions", measure("--counted", *sys.argv[1:]))
    show("Processor time under emulation, in milliseconds", measure(*sys.argv[1:]))


if __name__ == "__main__":
    main()
