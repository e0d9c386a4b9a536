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
known = "\n".join(p.read_text() for p in (
    root / "run", root / "CMakePresets.json", pathlib.Path(build) / "build.ninja",
    root / "tests/CMakeLists.txt", root / "examples/CMakeLists.txt"))
failed = []


def compile(source, *options):
    return subprocess.run(
        [compiler, "-std=c++17", "-Wall", "-Wextra", "-Wno-unused", "-Werror",
         f"-I{root}", "-x", "c++", "-", *options], input=source, text=True).returncode


def masked(text):
    text = re.sub(r"TM=[^]]*|TH=\d+|Line: \d+", "", text.replace("\r", ""))
    return [line.rstrip() for line in text.split("\n")]


def run(code, expected):
    with tempfile.TemporaryDirectory() as work:
        program = work + "/program"
        if compile(code, "-o", program, f"-L{build}", "-lvellix_toolkit", "-lvellix",
                   f"-Wl,-rpath,{build}", "-pthread", "-ldl"):
            return False
        os.symlink(f"{build}/libvellix.so.1", work + "/libvellix.so.1")
        done = subprocess.run(program, cwd=work, capture_output=True, text=True)
        logs = "".join(p.read_text() for p in pathlib.Path(work).glob("*.log"))
        seen = masked(done.stdout + logs)
        return done.returncode == 0 and (not expected or seen == masked(expected))


for document in documents:
    text = document.read_text()
    blocks = [(m[1], m[2]) for m in re.finditer(r"^```(\w*)\n(.*?)^```", text, re.M | re.S)]
    for number, (kind, code) in enumerate(blocks):
        place = f"{document.name}, block {number + 1}"
        following = blocks[number + 1] if number + 1 < len(blocks) else ("", "")
        if kind == "cpp" and re.search(r"^#include", code, re.M):
            if not run(code, following[1] if following[0] == "text" else ""):
                failed.append(place)
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
if compile(fragments, "-fsyntax-only"):
    failed.append("fragments")
sys.exit("\n".join(failed) or None)
