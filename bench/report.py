"""Makes the figures of docs/performance.md: report.py FOLDER [COMMIT]

FOLDER holds the output of the benchmarks. The page gets a selection of the texts, bench/results.md
all of them. With COMMIT the costs of that commit relative to today's are printed.
"""
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot
from page import ROOT, number, replace, table

FOLDER = pathlib.Path(sys.argv[1])
TARGETS = ("linux", "windows")
MACHINES = {"read": (*TARGETS, "linux-arm64"), "write": TARGETS}
LIBRARIES = {
    "read": ("library", "fast_float", "simdjson", "RapidJSON", "charconv", "strtod"),
    "write": ("library", "{fmt}", "charconv", "printf"),
}
# The texts on the page.
SHOWN = {
    "read": "gaussian, Python; gaussian float64, Python; image over 255; softmax; features; "
    "token ids; pixels",
    "write": "gaussian, Python; token ids",
}
DRAWN = "JSON run, Windows; JSON run, Linux; fast tensor run, Linux; direct call, Linux"


def costs(name, keys):
    """The lines of a file: keys, a column and a cost each. {keys: {column: cost}}"""
    result = {}
    for line in (FOLDER / name).read_text().splitlines():
        *key, column, cost = line.split("\t")
        result.setdefault(tuple(key[i] for i in keys), {})[column] = float(cost)
    return result


def joined(values, unit=""):
    return "/".join(number(value) + unit for value in values)


def lead(texts, key):
    """By machine, the cost of the fastest other library except the C library, over this one's."""
    for machine in MACHINES[key[0]]:
        of = texts[machine][key]
        yield min(of[name] for name in LIBRARIES[key[0]][1:-1] if name in of) / of["library"]


def text_table(texts, way, shown=None):
    rows = []
    for key, of in texts["linux"].items():
        if key[0] == way and (shown is None or key[1] in shown):
            leads = list(lead(texts, key))[: None if shown is None else 1]
            figures = [number(of[name]) for name in LIBRARIES[way]]
            rows.append([key[1], *figures, joined(leads, "×")])
    return table(["text", *LIBRARIES[way], "lead"], rows)


def range_of_leads(texts):
    leads = zip(*(lead(texts, key) for key in texts["linux"] if key[0] == "read"))
    linux, windows, arm64 = (f"{min(of):.2f} to {max(of):.2f}" for of in leads)
    others = f"Windows under Wine: {windows}; arm64, instructions: {arm64}"
    return f"Leads over all texts: {linux}; {others}."


def host_table(hosts):
    heads = ["host", "feed made by", "5,000 floats", "65,536 floats", "65,536 token ids"]
    cases = ("5000 float32", "65536 float32", "65536 int64")
    rows, before = [], None
    for (host, way), of in hosts.items():
        cells = [number(of[case]) if case in of else "" for case in cases]
        rows.append(["" if host == before else host, way, *cells])
        before = host
    return table(heads, rows, names=2)


def call_table(runs):
    rows = []
    for call in runs["linux"]["2",]:
        costs = ([runs[t][n,][call] / 1000 for t in TARGETS] for n in ("2", "5000", "65536"))
        rows.append([call, *map(joined, costs)])
    return table(["Linux/Windows", "2 floats", "5,000 floats", "65,536 floats"], rows)


def draw(runs):
    """Cost against size; the same figures give the same bytes."""
    matplotlib.rcParams.update({"svg.hashsalt": "vornic", "svg.fonttype": "none", "font.size": 9})
    figure, axes = pyplot.subplots(figsize=(5, 3), layout="constrained")
    for name in DRAWN.split("; "):
        call, target = name.split(", ")
        points = [(int(n), of[call] / 1000) for (n,), of in runs[target.lower()].items()]
        axes.loglog(*zip(*points), "o-", markersize=3, label=name)
    axes.minorticks_off()
    axes.set(xlabel="floats", ylabel="µs")
    axes.grid(color="#dddddd")
    axes.legend(fontsize=8)
    figure.savefig(ROOT / "docs/performance.svg", metadata={"Date": None})


def compare(commit, texts, runs):
    rows = []
    for way, title in texts["linux"]:
        both = [texts[machine][way, title] for machine in MACHINES["read"]]
        rows.append([title, way, joined([of["against"] / of["library"] for of in both], "×")])
    old = {target: costs(f"{target}-old.runs", [0]) for target in TARGETS}
    for size, of in runs["linux"].items():
        for call in of:
            ratios = (old[target][size][call] / runs[target][size][call] for target in TARGETS)
            rows.append([f"{size[0]} floats", call, joined(ratios, "×")])
    print(f"Costs of {commit} relative to today's: Linux/Windows/arm64 (in instructions)\n")
    print(table(["", "", "ratio"], rows))


def main():
    texts = {machine: costs(f"{machine}.texts", [2, 0]) for machine in MACHINES["read"]}
    runs = {target: costs(f"{target}.runs", [0]) for target in TARGETS}
    hosts = costs("hosts", [0, 1])
    measured = (FOLDER / "measured").read_text().strip()
    reading, writing = (text_table(texts, way, SHOWN[way].split("; ")) for way in LIBRARIES)
    page = "performance.md"
    replace(page, "hosts", f"{measured}\n\n{host_table(hosts)}")
    replace(page, "reading", f"{reading}\n\n{range_of_leads(texts)}")
    replace(page, "writing", writing)
    replace(page, "runs", call_table(runs))
    draw(runs)
    parts = [
        "<!-- Written by scripts/bench. docs/performance.md explains the columns. -->",
        measured,
        "Leads: Linux / Windows under Wine / arm64 (in instructions).",
        *(f"To {way} a number, ns:\n\n{text_table(texts, way)}" for way in LIBRARIES),
    ]
    (ROOT / "bench/results.md").write_text("\n\n".join(parts) + "\n")
    if len(sys.argv) > 2:
        compare(sys.argv[2], texts, runs)


main()
