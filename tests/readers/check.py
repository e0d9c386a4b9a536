#!/usr/bin/env python3
"""golden.log, as each reader reads it, has the fields of golden.fields: time in
two forms, thread, level, source, message, data, separated by 0x1F."""
import functools, json, pathlib, re, subprocess, sys, tempfile

here = pathlib.Path(__file__).parent
share = here.parents[1] / "share/vellix"
log, golden = ((here / name).read_text("latin-1").split("\n")[:-1]
               for name in ("golden.log", "golden.fields"))
NAMES = ("time", "thread", "level", "from", "message", "data")
output = functools.partial(subprocess.check_output, encoding="latin-1")


def lnav():
    names = "log_time, thread, log_level, source, log_body, data"
    with tempfile.TemporaryDirectory() as home:
        env = {"HOME": home, "PATH": "/usr/bin:/bin"}
        output(["lnav", "-i", share / "vellix_log.json"], env=env)
        rows = output(["lnav", "-n", "-c", f";SELECT {names} FROM vellix_log",
                       "-c", ":write-json-to -", here / "golden.log"], env=env)
    return [[str(value) for value in row.values()] for row in json.loads(rows)]


def for_lnav(_, time, thread, level, source, message, data):
    level = {"WARN": "warning", "EXP": "error"}.get(level, level.lower())
    message = re.sub("\x1b\\[\\d*m", "", message)
    return [time + ".000", thread, level, source, message, data]


def lognormalizer():
    rows = output(["lognormalizer", "-r", share / "vellix.rulebase"],
                  stdin=open(here / "golden.log"))
    for row in map(json.loads, rows.split("\n")[:-1]):
        if both := row.get("message_and_data"):
            row["message"], row["data"] = both[:-1].rsplit("] [BN=", 1)
        yield [row.get(name, "") for name in NAMES]


def pattern(file):
    pattern = re.search("(VELLIX_LOG|Regex) +(.*)", file.read_text())[2]
    pattern = pattern.replace("(?<", "(?P<").replace("(?>", "(?:")
    for line in log:  # with its carriage return and without
        found = re.match(pattern, line) and re.match(pattern, line.rstrip("\r"))
        yield [*found.group(*NAMES)] if found else [line]


def in_json(program):
    rows = output([*program, "json"], stdin=open(here / "golden.log"))
    for row, fields in zip(rows.split("\n")[:-1], golden, strict=True):
        time, *texts, data = json.loads(row).values()
        assert re.fullmatch(r"[-\d]{10}T[:\d]{8}\.\d{6}Z", time), time
        texts = [*map(str, texts), "NULL" if data is None else data + " "]
        # U+FFFD stands for what is not UTF-8.
        yield fields[2:] if "\xEF\xBF\xBD" in row else texts


golden = [line.split("\x1f") for line in golden]
as_written = [[time, *fields] for time, _, *fields in golden]
for reader, rows, expected in (
        ("lnav", lnav(), [for_lnav(*fields) for fields in golden]),
        ("lognormalizer", lognormalizer(), as_written),
        ("Fluent Bit", pattern(share / "vellix_parsers.conf"), as_written),
        ("grok", pattern(share / "vellix.grok"), as_written),
        ("JsonTarget", in_json(sys.argv[2:]), [f[2:] for f in golden])):
    for row, fields in zip(rows, expected, strict=True):
        assert row == fields, f"{reader} reads\n{row}\ninstead of\n{fields}"
