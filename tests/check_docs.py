"""Checks the docs: check_docs.py CHECKOUT DOXYGEN LIBRARY MODELS. Every text that the library can write is in
docs/troubleshooting.md and no other, every function is in the reference, which Doxygen builds without a warning, every link
leads somewhere, and the programs of docs/images.md know a green image from others."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from PIL import Image

# What a source file holds between quotes; characters and comments are passed over.
LITERAL = r'"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)+\'|//[^\n]*|/\*.*?\*/|#include[^\n]*'
# A sentence, or the name of a function of ONNX Runtime, which begins "X failed: ...".
MESSAGE = r"[^%:].* .*|Run|(?!OrtGetApiBase|CPUExecution)[A-Z][a-z]+[A-Z]\w+"
# A member of the metadata, which stands for the function that gets it.
MEMBER = r'\{"(\w+)", g_api->'
root, doxygen, library, models, failures = pathlib.Path(sys.argv[1]), *sys.argv[2:], []


def check(what, wrong):
    failures.extend(f"{what}: {item}" for item in sorted(wrong))


def messages():
    for source in map(pathlib.Path.read_text, (root / "src").glob("*/*.*")):
        yield from re.findall(MEMBER, source)
        texts = (
            re.sub(r'\\"error\\":|\\"', "", literal)
            for literal in re.findall(LITERAL, source, re.DOTALL)
        )
        yield from (re.sub("%[sd]", "...", text) for text in texts if re.fullmatch(MESSAGE, text))


def headings(page):
    return [
        re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-")
        for text in re.findall(r"^#+ (.*)", page.read_text(), re.MULTILINE)
    ]


cells = re.findall(r"^\| (`.*?) \|", (root / "docs/troubleshooting.md").read_text(), re.MULTILINE)
listed, written = set(re.findall("`(.*?)`", "".join(cells))), set(messages())
check("not in docs/troubleshooting.md", written - listed)
check("in docs/troubleshooting.md, but not in the sources", listed - written)

with tempfile.TemporaryDirectory() as folder:
    settings = (root / "docs/Doxyfile").read_text() + f"\nOUTPUT_DIRECTORY = {folder}\n"
    done = subprocess.run([doxygen, "-"], cwd=root, input=settings, text=True, capture_output=True)
    reference = "".join(page.read_text() for page in pathlib.Path(folder).rglob("*_8h.html"))
check("Doxygen", done.stderr.splitlines() or ["failed"] * (done.returncode != 0))
code = re.sub(
    r"/\*.*?\*/", "", (root / "include/onnxruntime_vornic.h").read_text(), flags=re.DOTALL
)
functions = set(re.findall(r"\bonnxruntime_vn_\w+(?=\()", code))
check(
    "not in the reference", {name for name in functions if f"</span>{name}()</h2>" not in reference}
)

for page in [*root.glob("*.md"), *root.glob("docs/*.md")]:
    for path, heading in re.findall(r"\]\((?!https?:)([^)#]*)#?([^)]*)", page.read_text()):
        target = page.parent / path if path else page
        if not target.exists() or heading and heading not in headings(target):
            check(f"{page.name} links to nothing", [f"{path}#{heading}"])
with tempfile.TemporaryDirectory() as folder:
    Image.new("RGB", (320, 200), "lime").save(f"{folder}/photo.jpg")
    os.symlink(f"{models}/image.onnx", f"{folder}/image.onnx")
    environment = {
        **os.environ,
        "PYTHONPATH": f"{root}/modules/python",
        "ONNXRUNTIME_VORNIC_LIBRARY": library,
    }
    program = re.search("```python\n(.*?)```", (root / "docs/images.md").read_text(), re.DOTALL)[1]
    done = subprocess.run(
        [sys.executable, "-c", program], cwd=folder, env=environment, text=True, capture_output=True
    )
    check("docs/images.md", [done.stdout + done.stderr] * (done.stdout != "1\n"))
print(
    *failures,
    f"{len(written)} messages, {len(functions)} functions, {len(failures)} failures",
    sep="\n",
)
sys.exit(len(failures) > 0)
