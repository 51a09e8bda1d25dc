"""Checks the docs: check_docs.py CHECKOUT DOXYGEN. Every text that the library can write is in
docs/troubleshooting.md and no other, every function is in the reference, which Doxygen builds without
a warning, and every link leads somewhere."""
import pathlib
import re
import subprocess
import sys
import tempfile

# What a source file holds between quotes; characters and comments are passed over.
LITERAL = r'"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)+\'|//[^\n]*|/\*.*?\*/|#include[^\n]*'
# A sentence, or the name of a function of ONNX Runtime, which begins "X failed: ...".
MESSAGE = r"[^%:].* .*|Run|(?!OrtGetApiBase|CPUExecution)[A-Z][a-z]+[A-Z]\w+"
# A member of the metadata, which stands for the function that gets it.
MEMBER = r'\{"(\w+)", g_api->'
root, doxygen = pathlib.Path(sys.argv[1]), sys.argv[2]
failures = []


def check(what, wrong):
    failures.extend(f"{what}: {item}" for item in sorted(wrong))


def read(path):
    return path.read_text(encoding="utf-8")


def messages():
    for path in (root / "src").glob("*/*.*"):
        yield from re.findall(MEMBER, read(path))
        for literal in re.findall(LITERAL, read(path), re.DOTALL):
            text = re.sub(r'\\"error\\":|\\"', "", literal)
            if re.fullmatch(MESSAGE, text):
                yield re.sub("%[sd]", "...", text)


def leads_somewhere(path, heading):
    if not heading or not path.exists():
        return path.exists()
    headings = re.findall(r"^#+ (.*)", read(path), re.MULTILINE)
    return heading in (re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-") for text in headings)


cells = re.findall(r"^\| (`.*?) \|", read(root / "docs/troubleshooting.md"), re.MULTILINE)
listed, written = set(re.findall("`(.*?)`", "".join(cells))), set(messages())
check("not in docs/troubleshooting.md", written - listed)
check("in docs/troubleshooting.md, but not in the sources", listed - written)

with tempfile.TemporaryDirectory() as folder:
    settings = read(root / "docs/Doxyfile") + f"\nOUTPUT_DIRECTORY = {folder}\n"
    done = subprocess.run([doxygen, "-"], cwd=root, input=settings, text=True, capture_output=True)
    reference = "".join(read(page) for page in pathlib.Path(folder).rglob("*_8h.html"))
check("Doxygen", done.stderr.splitlines() or ["failed"] * (done.returncode != 0))
code = re.sub(r"/\*.*?\*/", "", read(root / "include/onnxruntime_vornic.h"), flags=re.DOTALL)
functions = set(re.findall(r"\bonnxruntime_vn_\w+(?=\()", code))
check("not in the reference", {name for name in functions if f"</span>{name}()</h2>" not in reference})

for page in [*root.glob("*.md"), *root.glob("docs/*.md")]:
    for path, heading in re.findall(r"\]\((?!https?:)([^)#]*)#?([^)]*)", read(page)):
        if not leads_somewhere(page.parent / path if path else page, heading):
            check(f"{page.name} links to nothing", [f"{path}#{heading}"])
print(*failures, f"{len(written)} messages, {len(functions)} functions, {len(failures)} failures", sep="\n")
sys.exit(1 if failures else 0)
