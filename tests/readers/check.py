#!/usr/bin/env python3
"""Readers find the fields of golden.fields, split at 0x1F, in golden.log."""
import functools, itertools, json, os, pathlib, re, subprocess, sys, tempfile

here = pathlib.Path(__file__).parent
log, root = here / "golden.log", here.parents[1]
share = root / "share/vellix"
page = (root / "docs/log-readers.md").read_text()
golden = [line.split("\x1f") for line in
          (here / "golden.fields").read_text("latin-1").split("\n")[:-1]]
output = functools.partial(subprocess.check_output, encoding="latin-1")
os.environ["TZ"] = "IST-5:30"


def lnav():
    names = "log_time, thread, log_level, source, log_body, data"
    with tempfile.TemporaryDirectory() as home:
        env = {"HOME": home, "PATH": "/usr/bin:/bin"}
        output(["lnav", "-i", share / "vellix_log.json"], env=env)
        rows = output(["lnav", "-n", "-c", f";SELECT {names} FROM vellix_log",
                       "-c", ":write-json-to -", log], env=env)
    return [[str(value) for value in row.values()] for row in json.loads(rows)]


def for_lnav(_, time, thread, level, source, message, data):
    level = {"WARN": "warning", "EXP": "error"}.get(level, level.lower())
    message = re.sub("\x1b\\[\\d*m", "", message)
    return [time + ".000", thread, level, source, message, data]


def stored_as_page_says(section, *command):
    with tempfile.TemporaryDirectory() as work:
        text = page.split(f"## {section}\n")[1].split("```")[1]
        for shown, own in (
                ("/var/log/app.log", f"{log}"),
                ("/var/log/app.json", "/dev/stdout"),
                ("/var/spool/rsyslog", work),
                (r'include\(.*/(.*)"\)', lambda f: (share / f[1]).read_text()),
                ("/usr/share/vellix", f"{share}")):
            text = re.sub(shown, own, text)
        pathlib.Path(work, "conf").write_text(text)
        with subprocess.Popen(
                ["timeout", "300", root / ".ci/unpacked", *command, "conf"],
                cwd=work, stdout=subprocess.PIPE, encoding="latin-1") as daemon:
            rows = [*itertools.islice(daemon.stdout, len(golden))]
            daemon.terminate()
    for row in rows:
        row = re.sub(r"\\\\x(..)", lambda code: chr(int(code[1], 16)), row)
        yield [str(value) for _, value in sorted(json.loads(row).items())]


def for_daemons(time, when, thread, level, source, message, data):
    severity = {"DEBUG": 7, "INFO": 6, "WARN": 4, "FATAL": 2}.get(level, 3)
    when = when.replace(" ", "T") + "+05:30"
    return [data, source, level, message, str(severity), thread, time, when]


def jq():
    recipe = re.search("^jq -r '(.*)' app.json$", page, re.M)[1]
    rows = output([*sys.argv[2:], "json"], stdin=open(log))
    return output(["jq", "-r", recipe], input=rows).split("\n")[:-1]


def for_jq(*fields):
    row = re.sub("NULL$| $", "", "\t".join(fields[2:])).encode("latin-1")
    return row.decode(errors="replace").encode().decode("latin-1")


rsyslog = stored_as_page_says("rsyslog", "rsyslogd", "-n", "-iNONE", "-f")
syslog_ng = stored_as_page_says("syslog-ng", "sh", "-c", """
    exec syslog-ng -F --no-caps -R state -c control -p "$PWD/id" \
    --module-path "$0"/[0-9]* -f "$1" """, root / "build/tools/usr/lib/syslog-ng")
for rows, fields_for in ((lnav(), for_lnav), (rsyslog, for_daemons),
                         (syslog_ng, for_daemons), (jq(), for_jq)):
    for row, fields in zip(rows, golden, strict=True):
        assert row == fields_for(*fields), (row, fields_for, fields)
expression = re.search(r"\^\\\[TM.*\$", (share / "vellix.grok").read_text())[0]
assert sum(expression in file.read_text() for file in share.glob("v*")) == 3
