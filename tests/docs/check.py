#!/usr/bin/env python3
"""check.py code <compiler> <build directory>: the documents' code compiles, their
programs print what the next block says, their links and commands exist."""
import os, pathlib, re, subprocess, sys, tempfile

_, _, compiler, build = sys.argv
root = pathlib.Path(__file__).parents[2]
documents = [*root.glob("*.md"), *root.glob("docs/*.md")]
headers = re.findall(r"^    (\w+\.h)", (root / "CMakeLists.txt").read_text(), re.M)
fragments = "".join(f'#include "vellix/{h}"\n' for h in headers)
fragments += "using namespace QuorlBased;\n"
c_fragments = '#include "vellix/c.h"\n'
known = "\n".join(p.read_text() for p in (
    root / "run", root / "CMakePresets.json", pathlib.Path(build) / "build.ninja",
    root / "tests/CMakeLists.txt", root / "examples/CMakeLists.txt"))
failed = []


def compile(kind, source, *options):
    language = ["-x", "c++", "-std=c++17"]
    if kind == "c":
        language = ["-x", "c", "-std=c99", "-pedantic"]
    return subprocess.run(
        [compiler, "-Wall", "-Wextra", "-Wno-unused", "-Werror", f"-I{root}",
         *language, "-", *options], input=source, text=True).returncode


def masked(text):
    text = re.sub(r"TM=[^]]*|TH=\d+|Line: \d+", "", text.replace("\r", ""))
    return [line.rstrip() for line in text.split("\n")]


def run(kind, code, expected):
    with tempfile.TemporaryDirectory() as work:
        program = work + "/program"
        if kind == "python":
            pathlib.Path(program).write_text(f"#!{sys.executable} -B\n{code}")
            os.chmod(program, 0o700)
        elif compile(kind, code, "-o", program, f"-L{build}", "-lvellix_toolkit", "-lvellix",
                   f"-Wl,-rpath,{build}", "-pthread", "-ldl"):
            return False
        os.symlink(f"{build}/libvellix.so.1", work + "/libvellix.so.1")
        done = subprocess.run(
            program, cwd=work, capture_output=True, text=True,
            env={**os.environ, "PYTHONPATH": f"{root}/share/vellix",
                 "LD_LIBRARY_PATH": build})
        logs = "".join(p.read_text() for p in pathlib.Path(work).glob("*.log"))
        seen = masked(done.stdout + logs)
        return done.returncode == 0 and (not expected or seen == masked(expected))


for document in documents:
    text = document.read_text()
    blocks = [(m[1], m[2]) for m in re.finditer(r"^```(\w*)\n(.*?)^```", text, re.M | re.S)]
    for number, (kind, code) in enumerate(blocks):
        place = f"{document.name}, block {number + 1}"
        following = blocks[number + 1] if number + 1 < len(blocks) else ("", "")
        if kind == "python" or kind in ("c", "cpp") and re.search(r"^#include", code, re.M):
            if not run(kind, code, following[1] if following[0] == "text" else ""):
                failed.append(place)
        elif kind == "c":
            name = f"{document.stem}{number}".replace("-", "_")
            c_fragments += f'#line 1 "{place}"\nvoid {name}(void);\nvoid {name}(void) {{\n{code}}}\n'
        elif kind == "cpp":
            scope = re.match(r"(//.*\n)*(class|struct|void|bool|u?int\d+_t) [^;]*\{", code)
            body = code if scope else f"static void Run() {{\n{code}}}\n"
            fragments += f'namespace {document.stem.replace("-", "_")}{number} {{\n#line 1 "{place}"\n{body}}}\n'
        for word, name in re.findall(r"(\./run|--preset|--target|-L) (\w+)", code):
            if kind == "sh" and not re.search(rf"\b{name}\b", known):
                failed.append(f"{place}: {word} {name}")
    for link in re.findall(r"\]\((?!https?:)([^)#]+)", re.sub(r"```.*?```", "", text, flags=re.S)):
        if not (document.parent / link).exists():
            failed.append(f"{document.name}: {link}")
for kind, code in (("cpp", fragments), ("c", c_fragments)):
    if compile(kind, code, "-fsyntax-only"):
        failed.append(f"fragments of {kind}")
sys.exit("\n".join(failed) or None)
