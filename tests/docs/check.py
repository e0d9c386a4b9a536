#!/usr/bin/env python3
"""check.py code <compiler> <build directory>: the documents' code compiles,
their programs print what the next block says, commands exist."""
import os, pathlib, re, subprocess, sys, tempfile

compiler, build = sys.argv[2:]
root = pathlib.Path(__file__).parents[2]
os.environ.update(LD_LIBRARY_PATH=build, PYTHONPATH=f"{root}/share/vellix")
known = "".join(pathlib.Path(root, file).read_text() for file in
                ("run", "CMakePresets.json", f"{build}/build.ninja"))
KINDS = {"c": "-xc -std=c99 -pedantic", "cpp": "-xc++ -std=c++17"}
LIBRARIES = f"-L{build} -lvellix_toolkit -lvellix -pthread -ldl".split()
DEFINITION = r"(//.*\n)*(class|struct|void|bool|u?int\w*) [^;]*\{"
fragments = {"c": "", "cpp": "using namespace QuorlBased;\n"}


def compile(kind, code, *options):
    subprocess.run([compiler, "-Wall", "-Wextra", "-Wno-unused", "-Werror",
                    f"-I{root}", *KINDS[kind].split(), "-", *options],
                   input=code, text=True, check=True)


def masked(text):
    return re.sub(r"TM=[^]]*|TH=\d+|Line: \d+|[ \r]+$", "", text, flags=re.M)


def run(kind, code, expected):
    with tempfile.TemporaryDirectory() as work:
        command = [sys.executable, "-B", "-"]
        if kind != "python":
            command = [f"{work}/program"]
            compile(kind, code, "-o", *command, *LIBRARIES)
        seen = subprocess.check_output(command, input=code, cwd=work, text=True)
        for log in pathlib.Path(work).glob("*.log"):
            seen += log.read_text()
    assert not expected or masked(seen) == masked(expected), seen


def check(place, kind, code, expected):
    if kind == "python" or kind in KINDS and re.search("^#include", code, re.M):
        run(kind, code, expected)
    elif kind in KINDS:
        if not re.match(DEFINITION, code):
            code = f"static void F{len(fragments[kind])}(void) {{\n{code}}}\n"
        fragments[kind] += f'#line 1 "{place}"\n{code}'
    elif kind == "sh":
        for name in re.findall(r"(?:\./run|--preset|--target|-L) (\w+)", code):
            assert re.search(rf"\b{name}\b", known), name


for page in [*root.glob("*.md"), *root.glob("docs/*.md")]:
    # Text, the kind of a block, its code, text, ...
    parts = re.split(r"(?ms)^```(\w*)\n(.*?)^```", page.read_text()) + ["", ""]
    for i in range(1, len(parts) - 2, 3):
        kind, code, _, next_kind, expected = parts[i:i + 5]
        place = f"{page.name}, block {i // 3 + 1}"
        print(place, flush=True)  # the last one is that of a fault
        check(place, kind, code, expected if next_kind == "text" else "")
for kind, names in ("c", "c"), ("cpp", "crash loader log_fmt sysutils targets"):
    includes = "".join(f'#include "vellix/{h}.h"\n' for h in names.split())
    compile(kind, includes + fragments[kind], "-fsyntax-only")
