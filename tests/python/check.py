#!/usr/bin/env python3
"""check.py <case> <library> <plug-in in C>: one case of share/vellix/vellix.py,
in a process of its own."""
import ctypes, logging, os, pathlib, re, shutil, subprocess, sys, tempfile
import threading

_, case, library, plugin = sys.argv
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "share/vellix"))
sys.dont_write_bytecode = True
import vellix

FORM = re.compile(rb"\[TM=.{24}\] \[TH=(\d+)\] \[LV=(.{5})\] \[FR=(.*)\] \[MG=(.*)\] "
                  rb"\[BN=(.*)\]\r\n", re.S)


class Target:
    """Keeps the fields of each log record."""

    def __init__(self):
        self.records = []
        vellix.set_log_stream(self.write)
        logging.getLogger().addHandler(vellix.Handler())

    def write(self, record):
        logging.getLogger("target").error("dropped")
        self.records.append(FORM.fullmatch(record).groups())

    def take(self):
        taken, self.records = [fields[1:] for fields in self.records], []
        return taken


def foreign_threads(count):
    """Threads that Python has not made; each logs four records."""
    posix, module = ctypes.CDLL(None), ctypes.CDLL(plugin)
    threads = [ctypes.c_ulong() for _ in range(count)]
    for thread in threads:
        if posix.pthread_create(ctypes.byref(thread), None, module.plugin_run, None):
            sys.exit("no thread")
    return lambda: [posix.pthread_join(thread, None) for thread in threads]


def raised(call, *arguments):
    try:
        call(*arguments)
    except Exception as error:
        return type(error)


def texts():
    vellix.load(library)
    target = Target()
    log = vellix.Logger("s\0o\udcff")
    log.info("line\nfeed \u20ac \ud800", memoryview(b"\x0f\xa0\x01\x02")[::2])
    log.log(vellix.FATAL, b"\xff\x00", bytearray(2000))
    log.debug(None, b"")
    log.warn(["any"], data=None)
    log.error("")
    assert target.take() == [
        (b"INFO ", b"s\\0o\\udcff", "line\\nfeed \u20ac \\ud800".encode(), b"0F 01 "),
        (b"FATAL", b"s\\0o\\udcff", b"\xff\\0", b"00 " * 1024),
        (b"DEBUG", b"s\\0o\\udcff", b"NULL", b"NULL"),
        (b"WARN ", b"s\\0o\\udcff", b"['any']", b"NULL"),
        (b"ERROR", b"s\\0o\\udcff", b"", b"NULL")]
    for level in (-1, 6, 1 << 32, "INFO", None):
        assert raised(log.log, level, "x") is ValueError, level
    assert raised(log.info, "x", 5) is TypeError
    assert raised(vellix.set_log_file, "x.log") is RuntimeError
    assert raised(vellix.load, "") is ValueError
    assert target.take() == []


def levels():
    vellix.load(library)
    target = Target()
    log = logging.getLogger("net.dns")
    log.setLevel(1)
    for level in (1, 10, 19, 20, 30, 35, 40, 50, 99):
        log.log(level, "%d\0\ud800", level)
    assert [b"%b %b %b" % fields[:3] for fields in target.take()] == [
        b"%-5b net.dns %d\\0\\ud800" % fields for fields in (
            (b"DEBUG", 1), (b"DEBUG", 10), (b"DEBUG", 19), (b"INFO", 20),
            (b"WARN", 30), (b"WARN", 35), (b"ERROR", 40), (b"FATAL", 50),
            (b"FATAL", 99))]


def loaded():
    """A library that the process has loaded from elsewhere is found."""
    with tempfile.TemporaryDirectory() as directory:
        copy = shutil.copy(library, directory + "/libvellix.so.1")
        host = ctypes.CDLL(copy)
        host.GetQuorlLogger.restype = ctypes.c_void_p
        vellix.load(library)  # the loaded one is used all the same
        Target()
        maps = pathlib.Path("/proc/self/maps").read_text()
        assert copy in maps and library not in maps
    table = ctypes.cast(host.GetQuorlLogger(),
                        ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p))).contents
    get_stream = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p)(table[3])
    assert get_stream(host.GetQuorlLogger())


def failures():
    vellix.load(library)
    assert vellix.failure() is None
    assert raised(vellix.set_log_file, "/proc/none/x") is OSError
    assert raised(vellix.set_log_file, "a\0b") is ValueError
    seen = []
    thread = threading.Thread(target=lambda: seen.append(vellix.failure()))
    thread.start()
    thread.join()
    why = vellix.failure()
    assert (why.code, why.file, seen) == (10021013, "../sysutils", [None])
    assert why.message.startswith("file_create error: errno: 2 ") and why.line > 0
    vellix.clear_failure()
    assert vellix.failure() is None
    target = Target()
    ctypes.CDLL(plugin).plugin_run()
    assert vellix.failure()[:3] == (10021011, "no samples", "pump")
    vellix.enable_failure_log(False)
    ctypes.CDLL(plugin).plugin_run()
    assert [fields[0] for fields in target.take()].count(b"EXP  ") == 1


def threads():
    """A target in Python, called from threads of all kinds, that logs itself."""
    vellix.load(library)
    target = Target()
    log = vellix.Logger("script")

    def use_both(number):
        for i in range(200):
            log.info(f"{number} {i}")
            logging.getLogger("logging").error("%d %d", number, i)
    own = [threading.Thread(target=use_both, args=(n,)) for n in range(8)]
    for thread in own:
        thread.start()
    foreign_threads(200)()
    for thread in own:
        thread.join()
    sources = [fields[2] for fields in target.records]
    assert sources.count(b"pump") == 3 * 200 and sources.count(b"script") == 1600
    assert sources.count(b"logging") == 1600 and len(sources) == 4000
    for n in range(8):
        prefix = b"%d " % n
        mine = [f[3] for f in target.records if f[2] == b"script" and f[3].startswith(prefix)]
        assert mine == [b"%d %d" % (n, i) for i in range(200)]


def raises():
    """What a target raises reaches no caller, and the log goes on."""
    vellix.load(library)
    kept, reported = [], []
    sys.excepthook = lambda *error: reported.append(error[0])

    def write(record):
        kept.append(record)
        if len(kept) < 3:
            raise (OSError, KeyboardInterrupt)[len(kept) - 1]
    vellix.set_log_stream(write)
    for i in range(3):
        vellix.Logger("net").info("x")
    assert reported == [OSError, KeyboardInterrupt] and len(kept) == 3


def ends():
    """The interpreter ends while threads log into its target; so does the process,
    after that."""
    script = f"""
import sys
sys.path.insert(0, {sys.path[0]!r})
sys.argv = ["", "none", {library!r}, {plugin!r}]
__file__ = {__file__!r}
exec(open(__file__).read())
vellix.load(library)
vellix.set_log_stream(lambda record: None)
foreign_threads(100)
ctypes.CDLL(None).on_exit(ctypes.CDLL(plugin).plugin_run, None)
def log():
    while True: vellix.Logger("daemon").info("x")
for _ in range(4): threading.Thread(target=log, daemon=True).start()
"""
    for _ in range(10):
        done = subprocess.run([sys.executable, "-c", script], capture_output=True,
                              text=True, timeout=120)
        assert done.returncode == 0 and not done.stderr, done


if case in globals():
    globals()[case]()
