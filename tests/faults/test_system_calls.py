"""What the operations of the rooms ask of the system, seen from outside with strace. Runs in a panel
of its own; the last argument is the build folder."""

import pathlib
import re
import subprocess
import sys
import unittest

BUILD = pathlib.Path(sys.argv.pop())
PROGRAM = BUILD / "tests" / "faults" / "run_operation"
TRACE = pathlib.Path("/run/trace")
MARK = "getpgid"
CALL = re.compile(r"^(\w+)\((.*)\)\s+= (.*)$")

# How the calls fail in the world.
ERRORS = {
    "access": "EACCES", "clone": "EAGAIN", "clone3": "EAGAIN", "dup": "EMFILE", "dup2": "EMFILE",
    "faccessat2": "EACCES", "fcntl": "ENOLCK", "fdatasync": "EIO", "ftruncate": "EIO",
    "ioctl": "ENOTTY", "lseek": "EINVAL", "mknodat": "EACCES", "newfstatat": "EIO",
    "openat": "EMFILE", "pipe2": "EMFILE", "read": "EIO", "statx": "EIO", "vfork": "EAGAIN",
    "wait4": "EINTR", "write": "ENOSPC",
}
# Those that a signal can interrupt.
INTERRUPTIBLE = {"fcntl", "fdatasync", "ioctl", "openat", "read", "wait4", "write"}
# Those that are not made to fail: memory, which is a matter of the C++ library, what cannot fail as
# it is called (signals, limits), does not say so (sync), or leaves what it should end when it is
# kept from doing it (close).
UNFAULTED = {
    "brk", "close", "madvise", "mmap", "mprotect", "mremap", "munmap", "prlimit64", "rt_sigaction",
    "rt_sigpending", "rt_sigprocmask", "sync",
}

# Operations that ask the system without the buffers and processes of the C library between. Each
# call is one of the library there, by this name in the table of the operation's outcomes.
DIRECT = ("SysReg", "ReadLocal", "WriteLocal", "DFileSystem", "DFifo")
LIBRARY = {
    "access": "access", "faccessat2": "access", "fdatasync": "fdatasync", "lseek": "lseek",
    "mknodat": "mkfifo", "openat": "open", "read": "read", "write": "write",
}


class Call:
    def __init__(self, name, arguments, result, nth):
        self.name = name
        self.arguments = arguments
        self.result = result
        self.nth = nth  # since the program started, from 1

    def __repr__(self):
        return f"{self.name}({self.arguments}) = {self.result}"


def run(operation, *options, fault=""):
    """Runs an operation under strace; what it printed, and its calls between the marks."""
    done = subprocess.run(
        ["strace", "-o", TRACE, *options, PROGRAM, operation, fault],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    counts, calls, inside = {}, [], False
    for line in TRACE.read_text(errors="replace").splitlines():
        match = CALL.match(line)
        if not match:
            continue
        name = match.group(1)
        counts[name] = counts.get(name, 0) + 1
        if name == MARK:
            inside = not inside
        elif inside:
            calls.append(Call(*match.groups(), counts[name]))
    return done, calls


def library_name(call):
    if call.name == "fcntl":
        return "fcntl" if "F_RDLCK" in call.arguments else "lockf"
    return LIBRARY.get(call.name, call.name)


def without_messages(calls):
    """Leaves out what perror asks for: standard error, and a copy of it for a moment."""
    own, copy = [], None
    for call in calls:
        descriptor = call.arguments.split(",")[0]
        if call.name == "dup":
            copy = call.result
        elif descriptor == copy:
            copy = None if call.name == "close" else copy
        elif descriptor != "2":
            own.append(call)
    return own


def fault_in_table(failing, calls):
    """How the table of a direct operation's outcomes has a failing call. "none" for one of a message
    that is printed: no result depends on it."""
    asked = without_messages(calls)
    if failing not in asked:
        return "none"
    name = library_name(failing)
    nth = [call for call in asked if library_name(call) == name].index(failing) + 1
    return f"{name} {nth} {ERRORS[failing.name]}"


def may_be_interrupted(call):
    return call.name in INTERRUPTIBLE and (call.name != "fcntl" or "F_SETLKW" in call.arguments)


def operations():
    """All but those on flash: what they ask for ends in an emulation and never reaches the system."""
    listed = subprocess.run([PROGRAM], check=True, capture_output=True, text=True).stdout
    return [name for name in listed.splitlines() if not name.startswith("mtd_")]


def lock(kind, length):
    return rf"fcntl F_SETLKW, {{l_type={kind}, l_whence=SEEK_CUR, l_start=0, l_len={length}}}"


def unlock(length):
    return rf"fcntl F_SETLK, {{l_type=F_UNLCK, l_whence=SEEK_CUR, l_start=0, l_len={length}}}"


def reading(path, at, length):
    return [f'openat "{path}", O_RDONLY|O_CLOEXEC', f"lseek {at}, SEEK_SET", lock("F_RDLCK", length),
            f"read {length}", f"lseek {at}, SEEK_SET", unlock(length), "close"]


def writing_bytes(path, at, length, medium=""):
    return [f'openat "{path}", O_WRONLY|{medium}O_CLOEXEC', f"lseek {at}, SEEK_SET",
            lock("F_WRLCK", length), f"write {length}", f"lseek {at}, SEEK_SET", unlock(length),
            "close"]


def writing_bits(path, at, length, medium=""):
    return [f'openat "{path}", O_RDWR|{medium}O_CLOEXEC', f"lseek {at}, SEEK_SET",
            lock("F_WRLCK", length), f"read {length}", f"lseek {at}, SEEK_SET", f"write {length}",
            f"lseek {at}, SEEK_SET", unlock(length), "close"]


def sending(path, length):
    """The signal of a pipe without a reader is blocked while the notice is written, and looked for
    before and after."""
    return [f'openat "{path}", O_WRONLY|O_NONBLOCK|O_CLOEXEC', "rt_sigpending", "rt_sigprocmask",
            f"write {length}", "rt_sigpending", "rt_sigprocmask", "close"]


# Every call of an operation, in its order.
PROMISED = {
    "SysReg_LoadReg": [],
    "SysReg_Read, bytes": reading("/tmp/smw.dat", 779, 8),
    "SysReg_Read, a bit": reading("/hmi_data/sfb.dat", 2, 1),
    "SysReg_Write, bytes": writing_bytes("/tmp/smw.dat", 779, 8),
    "SysReg_Write, a bit": writing_bits("/hmi_data/sfb.dat", 2, 1, "O_DSYNC|"),
    "SysReg_WriteNotify": writing_bits("/tmp/smb.dat", 2, 1) + sending("/tmp/fifo_sysreg", 4),
    "ReadLocal, bytes": reading("/tmp/smw.dat", 779, 8),
    "ReadLocal, bits": reading("/tmp/mb.dat", 1, 2),
    "WriteLocal, bytes": writing_bytes("/tmp/smw.dat", 779, 8),
    "WriteLocal, bytes on the medium": writing_bytes("/hmi_data/sfw.dat", 165, 4, "O_DSYNC|"),
    "WriteLocal, bits": writing_bits("/tmp/mb.dat", 1, 2),
    "WriteLocal, bits on the medium": writing_bits("/hmi_data/sfb.dat", 2, 1, "O_DSYNC|"),
    "WriteLocal_Notify": writing_bytes("/tmp/smw.dat", 779, 8) + sending("/tmp/fifo_localreg", 12),
}


def in_short(call):
    """A call as PROMISED has it: without descriptor and data, with the bytes that a transfer
    moved."""
    if call.name in ("read", "write"):
        return f"{call.name} {call.result}"
    if call.name in ("lseek", "fcntl", "openat"):
        return f"{call.name} {call.arguments.split(', ', 1)[1]}"
    return call.name


# Functions of the C library that the rooms call and that no fault is made for: they cannot fail as
# they are called, or only compute, or only print.
HARMLESS = {
    "__errno_location", "abort", "clearerr", "ferror", "fileno", "flockfile", "fprintf", "fstat",
    "funlockfile", "memchr", "memcmp", "memcpy", "memmove", "memset", "perror", "printf",
    "pthread_sigmask", "puts", "setvbuf", "sigaddset", "sigemptyset", "sigismember", "sigpending",
    "sigtimedwait", "snprintf", "stderr", "stdout", "strlen", "strnlen", "strtol", "sync",
    "vsnprintf",
    # What two of them are called by 32-bit programs whose times have 64 bits.
    "__fstat64_time64", "__sigtimedwait64",
}
ROOMS = ("fileio", "regstore", "device", "mtd")


def symbols(path, *options):
    """What a file defines or, with -u, asks for: names of C functions, without the compiler's own
    and those of C++."""
    listed = subprocess.run(["nm", "--format=posix", *options, path],
                            check=True, capture_output=True, text=True).stdout.splitlines()
    # A line that ends with a colon names a file of an archive, in folders of any name.
    names = {line.split()[0].split("@")[0] for line in listed if line and line[-1] != ":"}
    own = re.compile(r"_Z|_U|_GLOBAL_|__aeabi_|__asan_|__ubsan_|__cxa_|__gxx_|__gcov|qt_|__llvm|__stack_chk")
    return {name for name in names if not own.match(name)}


class SystemCalls(unittest.TestCase):
    def test_registers_make_the_promised_calls_and_no_more(self):
        for operation, promised in PROMISED.items():
            with self.subTest(operation):
                done, calls = run(operation)
                self.assertEqual([in_short(call) for call in calls], promised)
                self.assertNotIn("wrong", done.stdout)

    def test_every_register_operation_has_its_promise(self):
        registers = [name for name in operations()
                     if name.startswith(("SysReg", "ReadLocal", "WriteLocal"))]
        # Those that make a missing pipe differ from run to run in nothing but that.
        self.assertEqual(sorted(name for name in registers if "missing pipe" not in name),
                         sorted(PROMISED))

    def test_every_function_that_can_fail_is_made_to(self):
        made_to_fail = symbols(BUILD / "tests" / "faults" / "test_faults", "--defined-only")
        for room in ROOMS:
            asked_for = symbols(BUILD / room / f"lib{room}.a", "-u")
            self.assertTrue(asked_for - HARMLESS or room == "regstore")
            self.assertEqual(asked_for - made_to_fail - HARMLESS, set(), room)

    def test_any_call_may_fail_once(self):
        hit = 0
        for operation in operations():
            run(operation)  # leaves the files that it leaves every time
            _, calls = run(operation)
            with self.subTest(operation):
                self.assertEqual({call.name for call in calls} - set(ERRORS) - UNFAULTED, set())
            direct = operation.startswith(DIRECT)
            for call in (call for call in calls if call.name in ERRORS):
                fault = fault_in_table(call, calls) if direct else ""
                with self.subTest(operation, call=call, fault=fault):
                    hit += self.fail_once(operation, call, fault)
        self.assertGreater(hit, 0)

    def test_an_interrupted_call_goes_on(self):
        """Also below the C library and Qt, in popen, pclose, system, fread and the like."""
        hit = 0
        for operation in operations():
            run(operation)
            _, calls = run(operation)
            for call in filter(may_be_interrupted, without_messages(calls)):
                if operation.startswith("DFileStdio") and call.name == "write":
                    continue  # a buffered file on a medium, whose transfers no signal interrupts
                with self.subTest(operation, call=call):
                    hit += self.fail_once(operation, call, "none", "EINTR")
        self.assertGreater(hit, 100)

    def fail_once(self, operation, call, fault, error=None):
        """Of an operation without a named fault any result will do that is documented of one."""
        inject = f"inject={call.name}:error={error or ERRORS[call.name]}:when={call.nth}"
        for _ in range(20):  # what a tool prints comes in one piece or in two, as it happens
            done, calls = run(operation, "-e", inject, fault=fault)
            injected = [one for one in calls if "(INJECTED)" in one.result]
            if injected:
                break
        self.assertEqual(len(injected), 1, "the fault missed the operation")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"^result -?\d+\n$")
        return 1


if __name__ == "__main__":
    unittest.main()
