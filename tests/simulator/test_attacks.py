"""A panel that wants out, and people who want in through a panel's folders. Each attack is tried
in a panel that root started, and in one of an ordinary user."""

import importlib.machinery
import importlib.util
import os
import pathlib
import socket
import subprocess
import sys
import unittest

from checkout import ROOT, SOMEBODY, STARTER, Checkout, may_be_anybody
from patience import PATIENCE_S

BUILD = sys.argv.pop(1)
SECRET = "nobody in a panel knows this"

# Every mount of a panel in which something can be written, and what it is.
WRITABLE = {
    "/": "memory", "/tmp": "memory", "/run": "memory", "/root": "memory", "/dev": "memory",
    "/dev/full": "no store", "/dev/null": "no store", "/dev/zero": "no store",
    "/dev/random": "no store", "/dev/urandom": "no store",
    "/dev/pts": "its own terminals", "/dev/tty": "its own terminal",
    "/etc": "volatile folder", "/panel": "volatile folder", "/root/plat-intf": "volatile folder",
    "/panel/state": "device", "/hmi_data": "device", "/hmi/Config": "device",
}
WRITABLE_MOUNTS = """
for line in open("/proc/self/mountinfo"):
    before, _, after = line.partition(" - ")
    if "rw" in before.split()[5].split(","):
        print(before.split()[4])
"""
# All that is no file, folder or link, besides what lies in /dev and on a process's own descriptors.
ODD_THINGS = """
import os, stat
for folder, names, files in os.walk("/"):
    names[:] = [name for name in names if not (folder == "/proc" and name.isdigit())
                and os.path.join(folder, name) not in ("/dev", "/proc/self", "/proc/thread-self")]
    for name in files:
        path = os.path.join(folder, name)
        kind = os.lstat(path).st_mode
        if not stat.S_ISREG(kind) and not stat.S_ISLNK(kind):
            print(path)
"""
OPENED_FOR_WRITING = """
import os
paths = ["/proc/1/exe", "/proc/self/exe"]
for folder, names, files in os.walk("/proc"):
    names[:] = [name for name in names if not name.isdigit()
                and os.path.join(folder, name) not in ("/proc/self", "/proc/thread-self")]
    paths += [os.path.join(folder, name) for name in files]
for path in paths:
    try:
        os.close(os.open(path, os.O_WRONLY))
    except OSError:
        continue
    print(path)
"""
KERNEL = """
import ctypes, os, platform, sys
kernel = ctypes.CDLL(None, use_errno=True)
machine = platform.machine()
ADD, READ, SEARCH = ({"x86_64": 248, "aarch64": 217}[machine], 11, 10)
def keyctl(*words):
    return kernel.syscall(ADD + 2, *words)
"""
# The person's session with a secret in it, in which a panel is started.
WITH_A_KEY = KERNEL + """
JOIN, SESSION, USER = 1, -3, -4
if keyctl(JOIN, None) < 0:
    sys.exit("no keys here")
keys = [kernel.syscall(ADD, b"user", b"attacked", sys.argv[1].encode(), len(sys.argv[1]), ring)
        for ring in (SESSION, USER)]
sys.stdout.flush()
status = os.spawnvp(os.P_WAIT, sys.argv[2], [*sys.argv[2:], *map(str, keys)])
keyctl(9, keys[1], USER)
sys.exit(status)
"""
READ_THE_KEYS = KERNEL + """
try:
    print(open("/proc/keys").read())
except OSError:
    pass
rings = [-2, -3, -4, -5]
found = [keyctl(SEARCH, ring, b"user", b"attacked", 0) for ring in rings]
for key in [*found, *map(int, sys.argv[1:])]:
    for ring in (-4, -5):
        keyctl(8, ring, -3)
    buffer = ctypes.create_string_buffer(100)
    if keyctl(READ, key, buffer, 100) > 0:
        print(buffer.value.decode())
print("tried")
"""
MAKE_NAMESPACES = KERNEL + """
NEW_USER = 0x10000000
unshare, clone = {"x86_64": (272, 56), "aarch64": (97, 220)}[machine]
for name, number, first in (("unshare", unshare, NEW_USER), ("clone", clone, NEW_USER | 17)):
    result = kernel.syscall(number, first, 0, 0, 0, 0)
    if result == 0 and name == "clone":
        os._exit(0)
    if result >= 0:
        print(name)
words = (ctypes.c_uint64 * 11)(NEW_USER, 0, 0, 0, 17)
result = kernel.syscall(435, words, 88)
if result == 0:
    os._exit(0)
if result > 0:
    print("clone3")
print("tried")
"""
# The same calls as a program of 32 bits makes them: the number in EAX, the first argument in EBX.
OLD_CALLS = """
import ctypes, mmap
code = mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)
code.write(bytes.fromhex("53 89 f8 89 f3 31 c9 31 d2 cd 80 5b c3"))
call = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int, ctypes.c_int)(
    ctypes.addressof(ctypes.c_char.from_buffer(code)))
print(call(20, 0) > 0, call(286, 0), call(287, 0), call(288, 0), call(310, 0x10000000),
      call(437, 0), call(425, 0))
"""

# Every call that can give a file a mode, each with a set-ID bit for a file of its own.
SET_ID = KERNEL + """
import stat
X86 = machine == "x86_64"
HERE, MAKE = -100, os.O_CREAT | os.O_WRONLY
folder = sys.argv[1]
def name(call):
    return os.path.join(folder, call).encode()
def plain(call):
    with open(name(call), "w") as file:
        os.chmod(file.fileno(), 0o755)
    return name(call)
def old(call, number, *words):
    return [(call, number, *words)] if X86 else []
for bit in (stat.S_ISUID, stat.S_ISGID):
    mode = bit | 0o755
    how = (ctypes.c_uint64 * 3)(MAKE, mode, 0)
    opened = os.open(plain("fchmod%d" % bit), os.O_RDONLY)
    for call, number, *words in (
            *old("chmod", 90, plain("chmod%d" % bit), mode),
            ("fchmod", 91 if X86 else 52, opened, mode),
            ("fchmodat", 268 if X86 else 53, HERE, plain("fchmodat%d" % bit), mode),
            ("fchmodat2", 452, HERE, plain("fchmodat2%d" % bit), mode, 0),
            *old("open", 2, name("open%d" % bit), MAKE, mode),
            *old("creat", 85, name("creat%d" % bit), mode),
            *old("mknod", 133, name("mknod%d" % bit), stat.S_IFREG | mode, 0),
            ("openat", 257 if X86 else 56, HERE, name("openat%d" % bit), MAKE, mode),
            ("unnamed", 257 if X86 else 56, HERE, folder.encode(), os.O_TMPFILE | os.O_WRONLY, mode),
            ("openat2", 437, HERE, name("openat2%d" % bit), how, 24),
            ("mknodat", 259 if X86 else 33, HERE, name("mknodat%d" % bit), stat.S_IFREG | mode, 0),
            ("io_uring", 425, 1, ctypes.create_string_buffer(120))):
        if kernel.syscall(number, *words) >= 0:
            print(call)
for path, _, files in os.walk(folder):
    for file in files:
        if os.lstat(os.path.join(path, file)).st_mode & 0o6000:
            print(file, "is left")
os.close(os.open(name("usual"), MAKE, 0o1755))
print("tried")
"""


class Attacks:
    """What is tried, whoever started the panel."""

    as_root = False

    def setUp(self):
        if self.as_root and not may_be_anybody():
            self.skipTest("only root can start a panel as root")
        self.checkout = Checkout(BUILD, self.as_root)
        self.addCleanup(self.checkout.clean)
        self.checkout.take_sources(*STARTER)
        self.checkout.take_programs("panelctl/panelctl")
        self.home = self.checkout.home
        self.device = self.home / "device"
        self.victim = self.home / "victim"
        self.victim.write_text(SECRET * 40)
        self.checkout.hand_over()

    def panel(self, *command, options=(), **settings):
        """Runs a command in a panel; its status and what it printed."""
        done = self.checkout.run(self.checkout.sandbox, "--build", self.checkout.build, *options,
                                 "--", *command, **settings)
        return done.returncode, done.stdout

    def inside(self, program, *words, options=(), **settings):
        """The lines that a Python program prints in a panel, where it has to succeed."""
        status, output = self.panel("python3", "-c", program, *words, options=options, **settings)
        self.assertEqual(status, 0, output)
        return output.splitlines()

    def kept(self, script, *options):
        return self.panel("sh", "-c", script, options=("--state", self.device, *options))

    def assert_victim_is_well(self):
        self.assertEqual(self.victim.read_text(), SECRET * 40)

    def test_what_can_be_written_is_this_and_no_more(self):
        seen = self.inside(WRITABLE_MOUNTS)
        self.assertEqual(sorted(set(seen) - {"/dev/console", "/dev/mtd0"}), sorted(WRITABLE))
        # These two are /dev/null.
        self.assertEqual(sorted(self.inside(ODD_THINGS)), ["/proc/key-users", "/proc/keys"])

    def test_kernel_takes_no_settings_from_a_panel(self):
        self.assertEqual(self.inside(OPENED_FOR_WRITING), [])

    def test_build_cannot_be_changed(self):
        program = self.checkout.build / "panelctl" / "panelctl"
        before = program.read_bytes()
        status, output = self.panel("sh", "-c", 'echo \'echo gotcha\' >"$1"', "sh", program)
        self.assertNotEqual(status, 0)
        self.assertIn("Read-only file system", output)
        self.assertEqual(program.read_bytes(), before)

    def test_keys_of_a_session_cannot_be_read(self):
        done = self.checkout.run(
            "python3", "-c", WITH_A_KEY, SECRET, self.checkout.sandbox, "--build",
            self.checkout.build, "--", "python3", "-c", READ_THE_KEYS)
        if "no keys here" in done.stdout:
            self.skipTest("this machine lets nobody have keys")
        self.assertEqual((done.returncode, done.stdout), (0, "tried\n"))

    def test_no_namespace_of_users_can_be_made(self):
        for mode in ("recorded", "live"):
            with self.subTest(mode=mode):
                self.assertEqual(self.inside(MAKE_NAMESPACES, options=("--mode", mode)), ["tried"])

    def test_no_program_of_its_starter_is_left(self):
        volatile = self.home / "volatile"
        for folder in ("/hmi_data", "/panel/state", "/panel", "/etc"):
            with self.subTest(folder=folder):
                self.assertEqual(self.inside(SET_ID, folder, options=(
                    "--state", self.device, "--run", volatile)), ["tried"])
        self.assertNotEqual(self.kept("cp /usr/bin/true /hmi_data/x; chmod 4755 /hmi_data/x")[0], 0)

    def test_folders_of_a_panel_are_closed_to_everybody_else(self):
        volatile = self.home / "volatile"
        for folder in (self.device, volatile):
            folder.mkdir(mode=0o755)
        self.checkout.hand_over()
        self.assertEqual(self.kept("chmod 0777 /hmi_data /panel/state", "--run", volatile)[0], 0)
        for folder in (self.device, volatile):
            self.assertEqual(folder.stat().st_mode & 0o7777, 0o700, folder)

    @unittest.skipUnless(os.uname().machine == "x86_64", "only x86-64 has a second set of calls")
    def test_older_calls_are_no_way_around(self):
        allowed, *answers = self.inside(OLD_CALLS)[0].split()
        if allowed != "True":
            self.skipTest("this kernel runs no programs of 32 bits")
        self.assertEqual(answers, ["-38", "-38", "-38", "-1", "-38", "-38"])

    def test_open_folder_of_the_starter_is_not_handed_in(self):
        folder = os.open(self.home, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        peep = ("import os\nfor name in os.listdir('/proc/self/fd'):\n"
                "    if int(name) > 2: print(os.path.basename(os.readlink('/proc/self/fd/' + name))"
                " if os.path.exists('/proc/self/fd/' + name) else '')")
        for mode in ("recorded", "live"):
            with self.subTest(mode=mode):
                seen = self.inside(peep, options=("--mode", mode), pass_fds=[folder])
                self.assertEqual(set(seen) - {"", "faketime_shm_2"}, set())

    def test_link_left_as_the_device_image_leads_nowhere(self):
        self.assertEqual(self.kept("true")[0], 0)
        self.victim.write_bytes((self.device / "state" / "image").read_bytes())
        before = self.victim.read_bytes()
        self.assertEqual(self.kept(f"ln -sf {self.victim} /panel/state/image")[0], 0)
        status, output = self.kept("true", "--size", "1280x800", "--adapters", "2")
        self.assertEqual(self.victim.read_bytes(), before)
        self.assertEqual(status, 2, output)
        self.assertRegex(output, r"\Asandbox: the device image .* is damaged; --fresh .*\n\Z")
        self.assertEqual(self.kept("true", "--fresh")[0], 0)
        self.assertEqual(self.victim.read_bytes(), before)

    def test_new_device_comes_whatever_a_panel_left(self):
        leave = ("cd /panel/state; rm image logo; mkdir image; ln -s {0} logo; ln -s {0} new;"
                 "rm /hmi_data/sfw.dat; mkdir -p /hmi_data/sfw.dat/deep;"
                 "ln -s {0} /hmi/Config/system_settings.ini")
        self.assertEqual(self.kept(leave.format(self.victim))[0], 0)
        self.assertEqual(self.kept("wc -c </panel/state/image; wc -c </hmi_data/sfw.dat;"
                                   "ls /hmi/Config; cat /panel/state/logo", "--fresh"),
                         (0, "1024\n4096\n"))
        self.assert_victim_is_well()

    def test_display_cannot_be_led_elsewhere(self):
        door = self.home / "door"
        script = """
import os, socket
display = socket.create_server(("127.0.0.1", 5900))
display.accept()
for folder in ("/panel", "/panel/run", "/panel/state", "/panel-screen", "/"):
    for name in ("door", "vnc", "door.new"):
        try:
            os.makedirs(folder, exist_ok=True)
            os.symlink("%s", os.path.join(folder, name))
        except OSError:
            pass
display.accept()[0].sendall(b"the panel")
""" % self.victim
        panel = subprocess.Popen(
            self.checkout.words(
                self.checkout.sandbox, "--build", self.checkout.build, "--screen", "800x480",
                "--screen-socket", door, "--", "/panel/lib/with-screen", "python3", "-c", script),
            env=self.checkout.environment(), stdin=subprocess.DEVNULL)
        self.addCleanup(panel.wait)
        self.addCleanup(panel.terminate)
        while not os.path.lexists(door):
            self.assertIsNone(panel.poll())
        self.assertTrue(pathlib.Path(door).is_socket() and not door.is_symlink())
        with socket.socket(socket.AF_UNIX) as client:
            client.connect(str(door))
            self.assertEqual(client.makefile("rb").read(), b"the panel")
        self.assertEqual(panel.wait(timeout=PATIENCE_S), 0)
        self.assertFalse(os.path.lexists(door))

    def foreign_folder(self, owner, mode):
        """A folder that somebody else prepared, each of whose names leads to the victim."""
        folder = self.home / "foreign"
        folder.mkdir()
        for name in ("lock", "state", "hmi_data", "Config", "log", "new"):
            (folder / name).symlink_to(self.victim)
        if owner is not None:
            os.chown(folder, owner, owner)
        folder.chmod(mode)
        return folder

    def assert_refused(self, folder):
        for options in (["--state", folder], ["--state", folder, "--fresh"], ["--run", folder]):
            with self.subTest(options=options):
                status, output = self.panel("true", options=options)
                self.assert_victim_is_well()
                self.assertEqual(status, 2, output)
                self.assertRegex(output, r"\Asandbox: .* is no folder of yours alone; .*\n\Z")

    def test_folder_that_others_can_write_is_refused(self):
        own = SOMEBODY if may_be_anybody() and not self.as_root else None
        self.assert_refused(self.foreign_folder(own, 0o777))

    def test_folder_that_a_group_can_write_is_refused(self):
        if not may_be_anybody():
            self.skipTest("only root can choose a group")
        owner = os.geteuid() if self.as_root else SOMEBODY
        folder = self.foreign_folder(owner, 0o775)
        os.chown(folder, owner, SOMEBODY + 1)
        folder.chmod(0o775)
        self.assert_refused(folder)

    def test_group_of_the_starter_s_own_is_nobody_else(self):
        if not self.as_root:
            self.skipTest("the other one has no account and no group")
        self.device.mkdir()
        self.device.chmod(0o775)
        self.assertEqual(self.kept("true"), (0, ""))

    def test_folder_of_somebody_else_is_refused(self):
        if not may_be_anybody():
            self.skipTest("only root can be two people")
        self.assert_refused(self.foreign_folder(SOMEBODY + 1, 0o777))

    def test_links_in_a_device_s_folder_are_refused(self):
        self.device.mkdir()
        (self.device / "state").symlink_to(self.home)
        self.checkout.hand_over()
        self.assert_refused(self.device)


class StartedByRoot(Attacks, unittest.TestCase):
    as_root = True


class StartedByAUser(Attacks, unittest.TestCase):
    as_root = False


class Inspector(unittest.TestCase):
    """The inspector reads what a panel may have laid out for it."""

    def test_no_link_on_the_way_is_followed(self):
        loader = importlib.machinery.SourceFileLoader("inspect_panel", str(ROOT / "simulator/inspect"))
        inspector = importlib.util.module_from_spec(
            importlib.util.spec_from_loader("inspect_panel", loader))
        loader.exec_module(inspector)
        checkout = Checkout(BUILD, as_root=True)
        self.addCleanup(checkout.clean)
        (checkout.home / "log").mkdir()
        (checkout.home / "log" / "commands").write_text(SECRET + "\n")
        (checkout.home / "away").symlink_to(checkout.home / "log")
        (checkout.home / "log" / "times").symlink_to(checkout.home / "log" / "commands")
        os.mkfifo(checkout.home / "log" / "notices")
        writer = os.open(checkout.home / "log" / "notices", os.O_RDWR)
        self.addCleanup(os.close, writer)
        look = inspector.look
        self.assertEqual(look(checkout.home, "log/commands")[0], SECRET.encode() + b"\n")
        for name in ("away/commands", "log/times", "log/none", "log", "log/notices"):
            self.assertIsNone(look(checkout.home, name), name)

        def only_look(path, flags, *words, **settings):
            if not flags & os.O_PATH and not os.path.isfile(path):
                raise AssertionError(f"{path} is opened before it is known what it is")
            return real_open(path, flags, *words, **settings)
        real_open, os.open = os.open, only_look
        self.addCleanup(setattr, os, "open", real_open)
        self.assertIsNone(look(checkout.home, "log/notices"))
        self.assertIsNotNone(look(checkout.home, "log/commands"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
