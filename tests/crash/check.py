#!/usr/bin/env python3
"""check.py ways <example> sanitizers=[<name>...]: each way to crash of
examples/crashes.cpp leaves one whole log record, which the readers find, and the
process ends by the signal by which it would have ended without it."""
import os, pathlib, re, resource, signal, subprocess, sys, tempfile, time

_, _, example, sanitizers = sys.argv
share = pathlib.Path(__file__).parents[2] / "share" / "vellix"
TRAP = r"SIGILL \(ILL_ILLOPN\) at 0x\w+; vellix_crashes\+0x"
ABORT = r"SIGABRT \(SI_TKILL\) from process \d+; libc\."
OVERFLOW = (r"SIGSEGV \(SEGV_\w+\) at 0x\w+; "
            r"(vellix_crashes\+0x\w+(, |$)){32}$")
# way: the signal, the beginning of the message
WAYS = {
    "null": ("SEGV", r"SIGSEGV \(SEGV_MAPERR\) at 0x0; vellix_crashes\+0x"),
    "call": ("SEGV", r"SIGSEGV \(SEGV_MAPERR\) at 0x0; 0x0$"),
    "jump": ("SEGV", r"SIGSEGV \(SEGV_MAPERR\) at 0x1000$"),
    "divide": ("FPE", r"SIGFPE \(FPE_INTDIV\) at 0x\w+; vellix_crashes\+0x"),
    "free": ("ABRT", ABORT),
    "abort": ("ABRT", ABORT),
    "throw": ("ABRT", r"std::terminate: std::runtime_error: no route\\nto host; "),
    "overflow": ("SEGV", OVERFLOW),
    "overflow-thread": ("SEGV", OVERFLOW),
    "illegal": ("ILL", TRAP),
    "write": ("ILL", TRAP),
    "locked": ("ILL", TRAP),
    "descriptors": ("ILL", TRAP),
    "fork": ("ILL", TRAP),
    "handler": ("TERM", TRAP),
    "small": ("ILL", TRAP),
    "many": ("ILL", TRAP),
    "torn": ("ILL", TRAP),
}
# The sanitizers find these themselves, or (clang) look at the function before the
# call; and that of threads blocks all signals in a handler, so that the system
# ends a process whose handler faults.
LEFT_OUT = {"undefined": ("null", "call", "jump", "divide"), "address": ("free",),
            "thread": ("free", "jump")}
for name in filter(None, sanitizers.partition("=")[2].split(",")):
    for way in LEFT_OUT.get(name, ()):
        WAYS.pop(way, None)
OFF = "handle_segv=0:handle_sigfpe=0"  # the handlers of the sanitizers
environment = {**os.environ, "TZ": "<+0330>-3:30",
               "ASAN_OPTIONS": OFF, "TSAN_OPTIONS": OFF}
grok = re.search(r"^VELLIX_LOG +(.*)", (share / "vellix.grok").read_text(), re.M)
record = re.compile(grok[1].replace("(?<", "(?P<").replace("(?>", "(?:"))
failed = []
logs = b""


def no_core():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def expect(way, condition, seen):
    if not condition:
        failed.append(f"{way}: {seen}")


def now():
    return time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(time.time() + 12600))


def crash(way):
    """The crash record's fields."""
    ended, message = WAYS[way]
    with tempfile.TemporaryDirectory() as work:
        started = now()
        done = subprocess.run([example, way], cwd=work, preexec_fn=no_core,
                              capture_output=True, env=environment, timeout=120)
        log = pathlib.Path(work, "vellix_crashes.log").read_bytes()
    expect(way, done.returncode == -signal.Signals["SIG" + ended], done)
    lines = [line.decode() for line in log.split(b"\n")]
    records = [record.match(line) for line in lines]
    expect(way, records.count(None) == 1 + (way == "torn"), lines)
    found = [match for match in records if match and match["level"] == "FATAL"]
    expect(way, len(found) == 1, lines[-3:])
    for fields in found:
        expect(way, re.match(message, fields["message"]), fields["message"])
        stamp = time.strptime(fields["time"])
        expect(way, started <= time.strftime("%Y-%m-%d %H:%M:%S", stamp) <= now(),
               fields["time"])
    return log, found


for way in WAYS:
    log, found = crash(way)
    logs += log
    if way == "illegal":  # addr2line finds the very instruction
        at, offset = re.search(r"at (\w+); \w+\+(\w+)", found[0]["message"]).groups()
        place = subprocess.check_output(["addr2line", "-fCe", example, offset])
        expect(way, b"Trap" in place, place)
        expect(way, (int(at, 16) - int(offset, 16)) % 4096 == 0, (at, offset))

with tempfile.NamedTemporaryFile(suffix=".log") as file:
    file.write(logs)
    file.flush()
    seen = subprocess.check_output(
        ["lognormalizer", "-r", share / "vellix.rulebase"], stdin=open(file.name))
    expect("lognormalizer", seen.count(b'"FATAL"') == len(WAYS), seen)
sys.exit("\n".join(failed) or None)
