"""Checks that docs/troubleshooting.md has every message that the library can write and no other,
that Doxygen builds the reference without a warning, that every link has a target, and that the
programs of docs/images.md tell a red image from a green one."""
import os
import pathlib
import re
import sys
import tempfile

from delivery import check, finish, given, models, run
from PIL import Image

# The text between quotes in a source file; characters and comments are passed over.
LITERAL = r'"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)+\'|//[^\n]*|/\*.*?\*/|#include[^\n]*'
# A sentence, or the name of a function of ONNX Runtime, which begins "X failed: ...".
MESSAGE = r"[^%:].* .*|Run|(?!OrtGetApiBase|CPUExecution)[A-Z][a-z]+[A-Z]\w+"
# A member of the metadata stands for the function that gets it.
MEMBER = r'\{"(\w+)", g_api->'
root = given.source


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
    check("messages that docs/troubleshooting.md lacks", set(), written - listed)
    check("messages that are only in docs/troubleshooting.md", set(), listed - written)


def check_reference():
    with tempfile.TemporaryDirectory() as folder:
        settings = (root / "docs/Doxyfile").read_text() + f"\nOUTPUT_DIRECTORY = {folder}\n"
        status, _, err = run(given.doxygen, "-", cwd=root, feed=settings)
    check("Doxygen's status and warnings", (0, ""), (status, err))


def headings(page):
    texts = re.findall(r"^#+ (.*)", page.read_text(), re.MULTILINE)
    return [re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-") for text in texts]


def check_links():
    missing = []
    for page in [*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("tests/*.md")]:
        for path, heading in re.findall(r"\]\((?!https?:)([^)#]*)#?([^)]*)", page.read_text()):
            target = page.parent / path if path else page
            if not target.exists() or heading and heading not in headings(target):
                missing.append(f"{page.name}: {path}#{heading}")
    check("links without a target", [], missing)


def check_image_programs():
    page = (root / "docs/images.md").read_text()
    environment = {**os.environ, "ONNXRUNTIME_VORNIC_LIBRARY": str(given.library)}
    environment["PYTHONPATH"] = f"{root}/modules/python"
    environment["NODE_PATH"] = f"{root}/.deps/node/node_modules"
    for language, *command in (("python", sys.executable, "-c"), ("js", "node", "-e")):
        program = re.search(f"```{language}\n(.*?)```", page, re.DOTALL)[1]
        for index, colour in enumerate(("red", "lime")):
            with tempfile.TemporaryDirectory() as folder:
                Image.new("RGB", (320, 200), colour).save(f"{folder}/photo.jpg")
                os.symlink(models / "image.onnx", f"{folder}/image.onnx")
                status, out, err = run(*command, program, cwd=folder, env=environment)
            what = f"the program of docs/images.md in {language}, on {colour}"
            check(what, (0, f"{index}\n", ".*"), (status, out, err))


for part in (check_messages, check_reference, check_links, check_image_programs):
    part()
finish()
