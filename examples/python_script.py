#!/usr/bin/env python3
"""python_script.py <directory of vellix.py> <library>: a script as the host.

Its own log records and those of Python's logging go into one log.
"""
import logging
import sys

sys.path.insert(0, sys.argv[1])  # where share/vellix/vellix.py is installed
import vellix

vellix.load(sys.argv[2])
vellix.set_log_file("vellix_python_script.log", append=False)

log = vellix.Logger("script")
log.info("started")
log.error("bad packet", b"\x0f\xa0\x01")

logging.basicConfig(level=logging.INFO, handlers=[vellix.Handler()])
logging.getLogger("net").warning("%d of %d slots in use", 7, 8)
try:
    open("missing.txt")
except OSError:
    logging.getLogger("disk").exception("no index")

vellix.enable_log(False)
with open("vellix_python_script.log", newline="") as file:
    records = file.read().split("\r\n")[:-1]
print("\n".join(records))
sys.exit(len(records) != 4)
