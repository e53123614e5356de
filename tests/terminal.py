"""What a program writes to a terminal, for tests."""

import fcntl
import os
import pty
import struct
import subprocess
import termios
import threading

END = b"\0"  # nothing that is written to people contains it


def said_on_terminal(command, columns=80, *, both=False, **options):
    """The exit status and the bytes of a command whose output is a terminal of that width.

    both: its standard error as well. The options are those of subprocess.Popen.

    A read that comes between a program's last words and its end can be told that the terminal is
    closed, before what is still in it: so this end stays open, and says itself when all has come.
    """
    ours, its = pty.openpty()
    try:
        fcntl.ioctl(its, termios.TIOCSWINSZ, struct.pack("HHHH", 25, columns, 0, 0))
        if both:
            options["stderr"] = its
        with subprocess.Popen(command, stdout=its, **options) as process:
            ender = threading.Thread(target=lambda: (process.wait(), os.write(its, END)))
            ender.start()
            said = b""
            while not said.endswith(END):
                said += os.read(ours, 65536)
            ender.join()
    finally:
        os.close(its)
        os.close(ours)
    return process.returncode, said.removesuffix(END)
