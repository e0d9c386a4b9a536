#!/usr/bin/env python3
"""check.py <reader> [program]: golden.log, as <reader> reads it, has the fields of golden.fields:
time in two forms, thread, level, source, message, data, separated by 0x1F."""
import json, pathlib, re, subprocess, sys, tempfile

here = pathlib.Path(__file__).parent
share = here.parent.parent / "share" / "vellix"
golden = [line.split("\x1f") for line in
          (here / "golden.fields").read_text("latin-1").split("\n")[:-1]]
NAMES = ("time", "thread", "level", "from", "message", "data")


def output(*command, **options):
    return subprocess.run(command, check=True, timeout=60, capture_output=True,
                          **options).stdout.decode("latin-1")


def lnav():
    levels = {"WARN": "warning", "EXP": "error"}
    for fields in golden:
        fields[0] = fields.pop(1) + ".000"
        fields[2] = levels.get(fields[2], fields[2].lower())
        fields[4] = re.sub("\x1b\\[\\d*m", "", fields[4])
    columns = ("log_time", "thread", "log_level", "source", "log_body", "data")
    with tempfile.TemporaryDirectory() as home:
        env = {"HOME": home, "PATH": "/usr/bin:/bin"}
        output("lnav", "-i", share / "vellix_log.json", env=env)
        rows = output("lnav", "-n", "-c",
                      f";SELECT {', '.join(columns)} FROM vellix_log",
                      "-c", ":write-json-to -", here / "golden.log", env=env)
    return [[str(row[c]) for c in columns] for row in json.loads(rows)]


def lognormalizer():
    for fields in golden:
        fields.pop(1)
    for line in output("lognormalizer", "-r", share / "vellix.rulebase",
                       stdin=open(here / "golden.log")).split("\n")[:-1]:
        row = json.loads(line)
        both = row.get("message_and_data")
        if both:
            row["message"], row["data"] = re.fullmatch(
                r"(.*)\] \[BN=([^]]*)\]", both).groups()
        yield [row.get(name, "") for name in NAMES]


def pattern(file):
    for fields in golden:
        fields.pop(1)
    pattern = re.search(r"^(?:VELLIX_LOG| *Regex) +(.*)", file.read_text(), re.M)
    pattern = pattern[1].replace("(?<", "(?P<").replace("(?>", "(?:")
    log = (here / "golden.log").read_text("latin-1").split("\n")[:-1]
    for line in log:  # with its carriage return and without
        found = re.match(pattern, line) and re.match(pattern, line.rstrip("\r"))
        yield [found[name] for name in NAMES] if found else [line]


def record():
    for fields in golden:
        fields.pop(1)
    text = output(sys.argv[2], stdin=open(here / "golden.log"))
    return [row.split("\x1f") for row in text.split("\n")[:-1]]


def in_json():
    def text(field):  # with one sign for all that is not UTF-8
        return re.sub("\ufffd+", "\ufffd", field)
    for fields in golden:
        fields[:2] = []
        fields[2:4] = [text(f.encode("latin-1").decode("utf-8", "replace"))
                       for f in fields[2:4]]
    lines = output(sys.argv[2], "json", stdin=open(here / "golden.log"))
    for line in lines.encode("latin-1").decode("utf-8").split("\n")[:-1]:
        row = json.loads(line)
        assert re.fullmatch(r"\d{4}(-\d\d){2}T\d\d(:\d\d){2}\.\d{6}Z", row["time"])
        data = row["data"]
        yield [str(row["thread"]), row["level"], text(row["source"]),
               text(row["message"]), "NULL" if data is None else data + " "]


rows = {"lnav": lnav, "lognormalizer": lognormalizer,
        "fluent_bit": lambda: pattern(share / "vellix_parsers.conf"),
        "grok": lambda: pattern(share / "vellix.grok"),
        "record": record, "json": in_json}[sys.argv[1]]()
for number, (row, fields) in enumerate(zip(list(rows), golden, strict=True), 1):
    if row != fields:
        sys.exit(f"line {number}:\n{row}\ninstead of\n{fields}")
