"""Makes the figures of docs/performance.md out of what the benchmarks printed: report.py FOLDER DOCS [COMMIT]

Prints them, and more: reading as another type, and what the code of an older commit costs.
"""
import pathlib
import sys

import plot

FOLDER, DOCS = map(pathlib.Path, sys.argv[1:3])
COMMIT = sys.argv[3] if len(sys.argv) > 3 else None
BEGIN, END = "<!-- figures of scripts/bench -->\n", "<!-- end of the figures -->\n"
TARGETS = ("linux", "windows")
MACHINES = (*TARGETS, "linux-arm64")
LEAST, ADDED = 0, 1  # of a road's figures
ROADS = {
    "direct": "direct call",
    "direct, values kept": "direct call, input value kept",
    "direct with binding": "direct `RunWithBinding`",
    "tensor fast": "fast tensor run",
    "tensor": "tensor run",
    "json": "JSON run",
    "binding": "run with binding",
}
READERS = ("library", "fast_float", "simdjson", "RapidJSON", "charconv", "strtod, printf")
WRITERS = ("library", "{fmt}", "charconv", "strtod, printf")
WRITTEN = ("gaussian, Python", "gaussian float64, Python", "relu", "softmax", "4 decimals")
WRITTEN += ("9 digits, any exponent", "token ids", "16-bit audio", "mask of 0 and 1")


def lines(name):
    return [line.split("\t") for line in (FOLDER / name).read_text().splitlines()]


def table(heads, rows):
    yield "| " + " | ".join(heads) + " |"
    yield "|" + "---|" * len(heads)
    yield from ("| " + " | ".join(row) + " |" for row in rows)
    yield ""


def number(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def cells(values, unit=""):
    return " / ".join(number(value) + unit for value in values)


def texts(machine):
    """{(text, type, read or write): {whose: ns or instructions a number}}"""
    result = {}
    for title, kind, way, whose, cost in lines(f"{machine}.texts"):
        result.setdefault((title, kind, way), {})[whose] = float(cost)
    return result


def times_library(costs, whose):
    return min(costs[w] for w in whose if w in costs) / costs["library"]


def text_table(all_texts, way, is_own):
    """Reading or writing, of the texts' own element types or of the others that were measured."""
    whose = READERS if way == "read" else WRITERS
    machines = MACHINES if way == "read" and is_own else TARGETS
    own = {title: kind for _, kind, title in lines("texts/index")}
    rows = []
    for key, costs in all_texts["linux"].items():
        title, kind, key_way = key
        if (
            key_way == way
            and (own[title] == kind) == is_own
            and (way == "read" or title in WRITTEN)
        ):
            ratios = cells([times_library(all_texts[m][key], whose[1:-1]) for m in machines], "×")
            rows.append((title, kind, *(number(costs[w]) for w in whose), ratios))
    c_library = "strtod" if way == "read" else "printf"
    heads = ("text", "type", *whose[:-1], c_library, "best of the others / library")
    yield from table(heads, rows)


def old_table(all_texts, runs):
    yield f"Costs of {COMMIT}'s code in those of this: Linux / Windows / arm64, there in instructions."
    yield ""
    rows = []
    for key in all_texts["linux"]:
        costs = [all_texts[machine][key] for machine in MACHINES if key in all_texts[machine]]
        rows.append((*key, cells([times_library(cost, ["against"]) for cost in costs], "×")))
    old_runs = {t: roads(f"{t}-old.table") for t in TARGETS}
    for size, road in runs["linux"]:
        ratios = [old_runs[t][size, road][LEAST] / runs[t][size, road][LEAST] for t in TARGETS]
        rows.append((f"{size} floats", road, "run", cells(ratios, "×")))
    yield from table(("", "", "", "ratio"), rows)


def roads(name):
    """{(row, road): (least, added)}, in ns; a busy machine adds least to the least."""
    return {(row, road): (float(least), float(added)) for row, road, _, least, added in lines(name)}


def host_table():
    cases = ("5000 float32", "65536 float32", "65536 int64")
    times = {}
    for case, host, way, least in lines("hosts"):
        if case in cases and "JSON text to" not in way:
            times.setdefault((host, way), {})[case] = number(float(least))
    rows = [(*key, *(row.get(case, "") for case in cases)) for key, row in times.items()]
    heads = ("host", "feed by", "5,000 floats", "65,536 floats", "65,536 token ids")
    yield from table(heads, rows)


def call_table(runs):
    sizes = ("2", "5000", "65536")

    def pair(size, road, figure):
        known = (size, road) in runs["linux"]
        return cells([runs[t][size, road][figure] / 1000 for t in TARGETS]) if known else ""

    rows = []
    for road, title in ROADS.items():
        rows.append((title, *(pair(size, road, LEAST) for size in sizes), pair("2", road, ADDED)))
    node = {}
    for case, host, way, least in lines("hosts"):
        if host.startswith("onnxruntime") and case.endswith("float32"):
            node.setdefault(f"{host}, {way}", {})[case.split()[0]] = number(float(least)) + " /"
    rows += [(way, *(times[size] for size in sizes), "") for way, times in node.items()]
    yield from table(("", "2 floats", "5,000 floats", "65,536 floats", "2 floats, added"), rows)


def draw_sizes(sweep):
    def curve(target, road, kind):
        rows = [
            (*row.split(), least)
            for (row, name), (least, _) in sweep[target].items()
            if name == road
        ]
        return [(int(size), least / 1000) for row_kind, size, least in rows if row_kind == kind]

    def panel(title, kind):
        series = {
            "JSON run, Linux": curve("linux", "json", kind),
            "JSON run, Windows": curve("windows", "json", kind),
            "direct call, Linux": curve("linux", "direct", kind),
        }
        return f"µs against {title}", kind == "numbers", series

    kinds = {"numbers": "numbers", "inputs of 4,096": "inputs", "outputs of 300": "outputs"}
    return plot.curves([panel(*kind) for kind in kinds.items()])


def main():
    all_texts = {machine: texts(machine) for machine in MACHINES}
    runs = {t: roads(f"{t}.table") for t in TARGETS}
    figures = [f"Load of the machine when the run began: {lines('load')[0][0]}.", ""]
    figures += ["### From a host's numbers to its numbers, µs a call", "", *host_table()]
    figures += ["### Reading, ns a number", "", *text_table(all_texts, "read", True)]
    figures += ["### Writing, ns a number", "", *text_table(all_texts, "write", True)]
    figures += ["### One run from C++, µs, Linux / Windows", "", *call_table(runs)]
    figures += ["![Cost of a run against its size](performance.svg)", ""]
    page = DOCS / "performance.md"
    before, rest = page.read_text().split(BEGIN)
    page.write_text(before + BEGIN + "\n".join(figures) + END + rest.split(END)[1])
    (DOCS / "performance.svg").write_text(draw_sizes({t: roads(f"{t}.sizes") for t in TARGETS}))
    figures += ["### Reading as another type", "", *text_table(all_texts, "read", False)]
    if COMMIT is not None:
        figures += old_table(all_texts, runs)
    print("\n".join(figures))


main()
