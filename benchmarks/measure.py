"""Runs the benchmark programs and counts what single benchmarks do."""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import statistics
import subprocess
import tempfile

# A benchmark by job and by who does it; its time in nanoseconds.
Name = collections.namedtuple("Name", "job by")


def name_of(run_name):
    """Google Benchmark appends to a name how it was measured."""
    parts = run_name.split("/")
    notes = [p for p in parts if re.match(r"(iterations|threads|repeats):", p)]
    kept = [p for p in parts
            if p not in notes and p not in ("real_time", "manual_time")]
    threads = [p for p in notes if p.startswith("threads:")]
    return Name("/".join(kept[:-1] + threads), kept[-1])


def full(name):
    return f"{name.job}/{name.by}"


def split(text):
    """The name of "job/by"."""
    return Name(*text.rsplit("/", 1))


def programs(directory):
    found = sorted(path for path in pathlib.Path(directory).glob("bench_*")
                   if os.access(path, os.X_OK) and path.is_file())
    if not found:
        raise SystemExit(f"no benchmark programs in {directory}")
    return found


def times(directory, repetitions, min_time, pattern):
    """The median time of each benchmark, and what the programs say of
    themselves. The repetitions of all benchmarks of a program are shuffled, so
    that a busy minute hits all alike."""
    samples = collections.defaultdict(list)
    context = {}
    for program in programs(directory):
        with tempfile.NamedTemporaryFile() as out:
            done = subprocess.run(
                [program.resolve(), f"--benchmark_filter={pattern}",
                 f"--benchmark_repetitions={repetitions}",
                 f"--benchmark_min_time={min_time}",
                 "--benchmark_enable_random_interleaving=true",
                 f"--benchmark_out={out.name}", "--benchmark_out_format=json"],
                cwd=directory, text=True, capture_output=True)
            if done.returncode != 0:
                raise SystemExit(f"{program.name}: {done.stderr}")
            text = out.read()
        if not text:
            continue  # none of its benchmarks fits the pattern
        report = json.loads(text)
        context = report["context"]
        for run in report["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            # The time of the processor, which other processes do not lengthen;
            # but threads wait for each other.
            wall = re.search("real_time|manual_time", run["run_name"])
            samples[name_of(run["run_name"])].append(
                run["real_time" if wall else "cpu_time"])
    return {n: statistics.median(s) for n, s in samples.items()}, context


# So often that the new text of the time in each second hardly counts.
MANY = 5000

TOOLS = {
    "instructions": (
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"],
        r"Collected : (\d+)"),
    "allocations": (
        ["valgrind", "--leak-check=no", "--undef-value-errors=no"],
        r"total heap usage: ([\d,]+) allocs"),
    "syscalls": (
        ["strace", "-f", "-c", "--summary-columns=calls,name"],
        r"(\d+) total"),
}


def count(measure, directory, name, iterations, within="bench::RunBody*"):
    """What one operation takes: the difference of two runs, so that nothing of
    the start is in it. Instructions are those of the functions `within`."""
    command, result = TOOLS[measure]
    if measure == "instructions":
        command = command + [f"--toggle-collect={within}"]
    program = pathlib.Path(directory, f"bench_{name.job.split('/')[0]}")

    def total(repeats):
        with tempfile.TemporaryDirectory() as own:
            done = subprocess.run(
                command + [str(program.resolve()), "--benchmark_format=csv",
                           f"--benchmark_filter=^{full(name)}/iterations:[0-9]+$"],
                cwd=own, text=True, capture_output=True, check=True,
                env=dict(os.environ, BENCH_ITERATIONS=str(repeats)))
        if full(name) not in done.stdout:
            raise SystemExit(f"there is no benchmark {full(name)}")
        return int(re.search(result, done.stderr)[1].replace(",", ""))

    warm = min(10, iterations)
    return round((total(warm + iterations) - total(warm)) / iterations, 1)


def instructions(directory, medians):
    """The instructions of each benchmark that runs on one thread and is over
    in a moment."""
    wanted = [n for n, ns in medians.items()
              if ns < 2e7 and not re.search(r"threads:|99\.9%", n.job)]

    def one(name):
        repeats = max(1, min(MANY, int(5e6 / medians[name])))
        return name, count("instructions", directory, name, repeats)

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return dict(pool.map(one, wanted))
