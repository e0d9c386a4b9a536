#!/usr/bin/env python3
"""python_script.py <directory of vellix.py> <library> <plug-in in C>

A script as the host. What the script logs, what Python's logging gets and what
a plug-in in C logs goes into one log, whose target is an object of the script.
At the end the script reads the log back.
"""
import ctypes
import logging
import os
import re
import sys
import threading

_, share, library, plugin = sys.argv
sys.path.insert(0, share)  # where share/vellix/vellix.py is installed
import vellix

PATH = "vellix_python_script.log"
LINE = re.compile(
    r"\[TM=.{24}\] \[TH=\d+\] \[LV=(.{5})\] \[FR=(.*?)(?: Line: \d+)?\]"
    r" \[MG=(.*)\] \[BN=(.*)\]\r\n")
THREADS, ROUNDS = 8, 100


class Target:
    """A file that takes no line above 1000 bytes."""

    def __init__(self, path):
        self.file = open(path, "wb", buffering=0)

    def write(self, record):
        """Called on the thread that logs, with one log record at a time."""
        logging.getLogger("target").debug("from here it is dropped")
        if len(record) > 1000:
            raise ValueError("a long log record")
        self.file.write(record)


def use_logger():
    log = vellix.Logger("script")
    log.info("started")
    log.error("bad packet", b"\x0f\xa0\x01")
    log.warn(os.fsdecode(b"no file \xff\n"))  # a name that is not UTF-8
    log.fatal("NUL \0", bytearray(2))
    log.debug(None)
    log.info("x" * 1000)  # the target raises, this does not


def use_logging():
    log = logging.getLogger("net.dns")
    for level in (5, logging.INFO, logging.WARNING, 35, logging.ERROR, 99):
        log.log(level, "level %d", level)


def use_plugin():
    """The plug-in finds the library that the script has loaded."""
    ctypes.CDLL(plugin).plugin_run()
    why = vellix.failure()
    assert (why.code, why.message, why.file) == (10021011, "no samples", "pump")
    seen = []  # each thread has a failure record of its own
    thread = threading.Thread(target=lambda: seen.append(vellix.failure()))
    thread.start()
    thread.join()
    assert seen == [None]


EXPECTED = r"""
INFO  script: started NULL
ERROR script: bad packet 0F A0 01
WARN  script: no file \udcff\n NULL
FATAL script: NUL \0 00 00
DEBUG script: NULL NULL
DEBUG net.dns: level 5 NULL
INFO  net.dns: level 20 NULL
WARN  net.dns: level 30 NULL
WARN  net.dns: level 35 NULL
ERROR net.dns: level 40 NULL
FATAL net.dns: level 99 NULL
INFO  pump: running NULL
DEBUG pump: 3 of 4 valves open NULL
WARN  pump: bad reply 0F A0 01
EXP   File: pump: no samples NULL
""".strip().split("\n")


def work(number):
    log = vellix.Logger(f"worker {number}")
    for i in range(ROUNDS):
        log.info(i)
        logging.getLogger(f"pool {number}").info(i)


def go_on():
    while True:
        vellix.Logger("daemon").info("until the interpreter ends")


vellix.load(library)
try:
    vellix.set_log_file("/proc/none/script.log")
except OSError as error:
    print(f"{error}; code {vellix.failure().code}")
    vellix.clear_failure()
assert vellix.failure() is None

vellix.set_log_stream(Target(PATH).write)
logging.basicConfig(level=1, handlers=[vellix.Handler()])
raised = []
sys.excepthook = lambda kind, *_: raised.append(kind)
use_logger()
sys.excepthook = sys.__excepthook__
assert raised == [ValueError]
use_logging()
use_plugin()
threads = [threading.Thread(target=work, args=(n,)) for n in range(THREADS)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()

with open(PATH, newline="") as file:
    records = LINE.findall(file.read())
lines = ["{} {}: {} {}".format(*record).rstrip() for record in records]
print("\n".join(lines[:len(EXPECTED)]))
assert lines[:len(EXPECTED)] == EXPECTED
assert len(lines) == len(EXPECTED) + 2 * THREADS * ROUNDS
for n in range(THREADS):
    for source in (f"worker {n}", f"pool {n}"):
        texts = [record[2] for record in records if record[1] == source]
        assert texts == [str(i) for i in range(ROUNDS)]

# What logs when the interpreter has ended finds the log switched off.
ctypes.CDLL(None).on_exit(ctypes.CDLL(plugin).plugin_run, None)
for _ in range(4):
    threading.Thread(target=go_on, daemon=True).start()
