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


# Who does a job only where the processor has the instructions.
PATHS = ("avx2", "ssse3", "neon")

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


def program_of(directory, name):
    return str(pathlib.Path(directory, f"bench_{name.job.split('/')[0]}").resolve())


def count(measure, directory, name, iterations, within="bench::RunBody*"):
    """What one operation takes: the difference of two runs, so that nothing of
    the start is in it. Instructions are those of the functions `within`."""
    command, result = TOOLS[measure]
    if measure == "instructions":
        command = command + [f"--toggle-collect={within}"]
    def total(repeats):
        with tempfile.TemporaryDirectory() as own:
            done = subprocess.run(
                command + [program_of(directory, name), "--benchmark_format=csv",
                           f"--benchmark_filter=^{full(name)}/iterations:[0-9]+$"],
                cwd=own, text=True, capture_output=True, check=True,
                env=dict(os.environ, BENCH_ITERATIONS=str(repeats)))
        if full(name) not in done.stdout:
            raise SystemExit(f"there is no benchmark {full(name)}")
        return int(re.search(result, done.stderr)[1].replace(",", ""))

    warm = min(10, iterations)
    return round((total(warm + iterations) - total(warm)) / iterations, 1)


def totals(program, names, iterations):
    """The instructions of each of these benchmarks of a program, its start and
    its preparation among them."""
    # Two patterns for one function: callgrind forgets one of two options that
    # have the same.
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=out",
               "--dump-after=bench::RunBody*", "--zero-before=bench::RunBody(*"]
    jobs = "|".join(full(n) for n in names)
    with tempfile.TemporaryDirectory() as own:
        done = subprocess.run(
            command + [program, "--benchmark_format=csv",
                       f"--benchmark_filter=^({jobs})/iterations:[0-9]+$"],
            cwd=own, text=True, capture_output=True, check=True,
            env=dict(os.environ, BENCH_ITERATIONS=str(iterations)))
        ran = [name_of(n) for n in re.findall(r'^"([^"]+)"', done.stdout, re.M)]
        return {name: int(re.search(r"^totals: (\d+)",
                                    pathlib.Path(own, f"out.{i}").read_text(),
                                    re.M)[1])
                for i, name in enumerate(ran, 1)}


def quick_instructions(directory, wanted):
    """The instructions of benchmarks that take less than 100 us, by a few runs
    of each program."""
    def rounds(program, names):
        once, first = (totals(program, names, n) for n in (1, 11))
        found = {}
        for repeats, least, most in ((MANY, 0, 5e3), (200, 5e3, 1e5),
                                     (10, 1e5, 1e9)):
            group = [n for n in first
                     if least <= (first[n] - once[n]) / 10 < most]
            last = totals(program, group, repeats + 11) if group else {}
            found.update((n, round((last[n] - first[n]) / repeats, 1))
                         for n in last)
        return found

    programs_of = collections.defaultdict(list)
    for name in wanted:
        programs_of[program_of(directory, name)].append(name)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        parts = pool.map(lambda item: rounds(*item), programs_of.items())
        return {n: value for part in parts for n, value in part.items()}


def instructions(directory, medians):
    """The instructions of each benchmark that runs on one thread and is over
    in a moment."""
    wanted = {n for n, ns in medians.items()
              if ns < 2e7 and not re.search(r"threads:|99\.9%", n.job)}
    slow = {n for n in wanted if medians[n] > 1e5}

    def one(name):
        repeats = max(1, int(5e6 / medians[name]))
        return name, count("instructions", directory, name, repeats)

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return dict(pool.map(one, slow)) | quick_instructions(directory, wanted - slow)
