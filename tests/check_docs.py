"""Checks the docs: check_docs.py CHECKOUT DOXYGEN LIBRARY MODELS

Every message that the library can write is in docs/troubleshooting.md and no other, every function is
in the reference, which Doxygen builds without a warning, every link has a target, and the program of
docs/images.md recognizes a green image.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from PIL import Image

# The text between quotes in a source file; characters and comments are passed over.
LITERAL = r'"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)+\'|//[^\n]*|/\*.*?\*/|#include[^\n]*'
# A sentence, or the name of a function of ONNX Runtime, which begins "X failed: ...".
MESSAGE = r"[^%:].* .*|Run|(?!OrtGetApiBase|CPUExecution)[A-Z][a-z]+[A-Z]\w+"
# A member of the metadata stands for the function that gets it.
MEMBER = r'\{"(\w+)", g_api->'
root, doxygen, library, models = pathlib.Path(sys.argv[1]).resolve(), *sys.argv[2:]
failures = []


def check(what, wrong):
    failures.extend(f"FAILED: {what}: {item}" for item in sorted(wrong))


def messages():
    for source in map(pathlib.Path.read_text, (root / "src").glob("*/*.*")):
        yield from re.findall(MEMBER, source)
        for literal in re.findall(LITERAL, source, re.DOTALL):
            text = re.sub(r'\\"error\\":|\\"', "", literal)
            if re.fullmatch(MESSAGE, text):
                yield re.sub("%[sd]", "...", text)


def check_messages():
    page = (root / "docs/troubleshooting.md").read_text()
    cells = re.findall(r"^\| (`.*?) \|", page, re.MULTILINE)
    listed, written = set(re.findall("`(.*?)`", "".join(cells))), set(messages())
    check("not in docs/troubleshooting.md", written - listed)
    check("in docs/troubleshooting.md, but not in the sources", listed - written)
    return len(written)


def check_reference():
    with tempfile.TemporaryDirectory() as folder:
        settings = (root / "docs/Doxyfile").read_text() + f"\nOUTPUT_DIRECTORY = {folder}\n"
        command = dict(cwd=root, input=settings, text=True, capture_output=True)
        done = subprocess.run([doxygen, "-"], **command)
        reference = "".join(page.read_text() for page in pathlib.Path(folder).rglob("*_8h.html"))
    check("Doxygen", done.stderr.splitlines() or ["failed"] * (done.returncode != 0))
    header = (root / "include/onnxruntime_vornic.h").read_text()
    code = re.sub(r"/\*.*?\*/", "", header, flags=re.DOTALL)
    functions = set(re.findall(r"\bonnxruntime_vn_\w+(?=\()", code))
    missing = {name for name in functions if f"</span>{name}()</h2>" not in reference}
    check("not in the reference", missing)


def headings(page):
    texts = re.findall(r"^#+ (.*)", page.read_text(), re.MULTILINE)
    return [re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-") for text in texts]


def check_links():
    for page in [*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("tests/*.md")]:
        for path, heading in re.findall(r"\]\((?!https?:)([^)#]*)#?([^)]*)", page.read_text()):
            target = page.parent / path if path else page
            if not target.exists() or heading and heading not in headings(target):
                check(f"{page.name} has a link without a target", [f"{path}#{heading}"])


def check_image_program():
    environment = {"PYTHONPATH": f"{root}/modules/python", "ONNXRUNTIME_VORNIC_LIBRARY": library}
    program = re.search("```python\n(.*?)```", (root / "docs/images.md").read_text(), re.DOTALL)[1]
    with tempfile.TemporaryDirectory() as folder:
        Image.new("RGB", (320, 200), "lime").save(f"{folder}/photo.jpg")
        os.symlink(f"{models}/image.onnx", f"{folder}/image.onnx")
        settings = dict(cwd=folder, env={**os.environ, **environment}, text=True)
        done = subprocess.run([sys.executable, "-c", program], capture_output=True, **settings)
    check("docs/images.md", [done.stdout + done.stderr] * (done.stdout != "1\n"))


count = check_messages()
check_reference()
check_links()
check_image_program()
print(*failures, f"{count} messages, {len(failures)} failures", sep="\n")
sys.exit(len(failures) > 0)
