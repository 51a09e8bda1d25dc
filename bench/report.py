"""Makes the figures of docs/performance.md out of what the benchmarks printed:
report.py FOLDER DOCS"""
import pathlib
import sys

import plot

FOLDER, DOCS = map(pathlib.Path, sys.argv[1:])
BEGIN, END = "<!-- figures of scripts/bench -->\n", "<!-- end of the figures -->\n"
TARGETS = ("linux", "windows")
LEAST, ADDED = 1, 2  # of a road's figures


def lines(name):
    return (FOLDER / name).read_text().splitlines()


def roads(name):
    """{(row, road): (median, least, added)}, in ns; a busy machine adds least to the least."""
    table = {}
    for line in lines(name):
        row, road, *figures = line.split("\t")
        table[row, road] = tuple(map(float, figures))
    return table


def kernels(target):
    """{row: (ns, the C library's ns, MB/s)}"""
    table = {}
    for line in lines(f"{target}.kernels")[1:]:
        ours, library, _, rate, _ = line[34:].split()
        table[line[:34].strip()] = (float(ours), float(library), float(rate))
    return table


def table(heads, rows):
    yield "| " + " | ".join(heads) + " |"
    yield "|" + "---|" * len(heads)
    for row in rows:
        yield "| " + " | ".join(row) + " |"
    yield ""


def number(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def pair(values, unit=""):
    return " / ".join(number(value) + unit for value in values)


def times_twin(runs, row, road):
    return runs[row, "twin " + road][LEAST] / runs[row, road][LEAST]


def comparisons(runs, texts):
    def kernel(row):
        return [texts[t][row][1] / texts[t][row][0] for t in TARGETS]

    def ratio(row, road):
        return [times_twin(runs[t], row, road) for t in TARGETS]

    def added(road):
        return [runs[t]["2", road][ADDED] / 1000 for t in TARGETS]

    yield "read 9-digit numbers, against `strtod`", pair(kernel("read 9 digits, (-1, 1)"), "×")
    yield 'write float32, against `snprintf("%.9g")`', pair(kernel("write float32, (-1, 1)"), "×")
    yield 'write float64, against `snprintf("%.17g")`', pair(kernel("write float64, (-1, 1)"), "×")
    yield "write integers, against `snprintf`", pair(kernel("write int64, any length"), "×")
    yield "JSON run, 5,000 floats in and out, against the twin", pair(ratio("5000", "json"), "×")
    yield ("JSON run, 65,536 floats, result text full, against the twin",
           pair(ratio("65536", "json"), "×"))
    yield ("tensor run, output of 65,536 floats, against the twin",
           pair(ratio("65536", "tensor"), "×"))
    yield "tensor run fast, 2 floats, added to the direct call", pair(added("tensor fast")) + " µs"
    yield "JSON run, 2 floats, added", pair(added("json")) + " µs"
    yield "run with binding, 2 floats, added", pair(added("binding")) + " µs"


def all_roads(runs, node):
    names = ["direct", "direct, values kept", "direct with binding", "tensor fast", "tensor",
             "json", "binding", "twin tensor", "twin json"]
    titles = {"direct": "direct call", "direct, values kept": "direct call, input value kept",
              "direct with binding": "direct `RunWithBinding`", "tensor fast": "tensor run fast",
              "tensor": "tensor run", "json": "JSON run", "binding": "run with binding",
              "twin tensor": "twin of the tensor run", "twin json": "twin of the JSON run",
              "node": "onnxruntime-node", "node json": "onnxruntime-node, JSON text in and out"}
    for name in names:
        cells = [pair([runs[t][size, name][LEAST] / 1000 for t in TARGETS])
                 if (size, name) in runs["linux"] else "" for size in ("2", "5000", "65536")]
        yield (titles[name], *cells)
    for name in ("node", "node json"):
        yield (titles[name],
               *(number(node[size, name][LEAST] / 1000) + " /" for size in ("2", "5000", "65536")))


def sizes(tables):
    for row, road in tables["linux"]:
        if road != "json":
            continue
        kind, size, feed, text = row.split()
        costs = [[tables[t][row, name][LEAST] / 1000 for t in TARGETS] for name in ("direct", "json")]
        yield (f"{kind}: {int(size):,}", f"{int(feed):,}", f"{int(text):,}", *map(pair, costs))


def memory():
    library = dict(line.split("\t") for line in lines("memory.library"))
    direct = dict(line.split("\t") for line in lines("memory.direct"))
    moments = [("runtime loaded, nothing done", "start"), ("session for 2 floats", "sessions 2"),
               ("10 runs", "run 2"), ("session for 65,536 floats", "sessions 65536"),
               ("10 runs", "run 65536")]
    yield from table(("Peak resident memory, Linux, kB", "library", "direct calls"),
                     [(title, f"{int(library[key]):,}", f"{int(direct[key]):,}")
                      for title, key in moments])
    file = library["library's file"]
    yield f"Of the library's own file, {file} kB are resident after these runs."
    yield ""
    records = ("InferenceSession", "RunResult", "IoBinding", "FloatTensor", "InputTensor")
    yield from table(("Record", "bytes"), [(f"`{r}`", f"{int(library[r]):,}") for r in records])


def library_sizes():
    words = [line.rsplit(" ", 1) for line in lines("library_sizes")]
    yield from table(("Library, without debug information", "bytes", "of which number kernels"),
                     [(f"`{words[i][0].split('/')[1]}`", f"{int(words[i][1]):,}",
                       f"{int(words[i + 1][1]):,}") for i in (0, 2)])


def figures():
    runs = {t: roads(f"{t}.table") for t in TARGETS}
    texts = {t: kernels(t) for t in TARGETS}
    fresh = {t: roads(f"{t}.fresh") for t in TARGETS}
    sweep = {t: roads(f"{t}.sizes") for t in TARGETS}
    (DOCS / "performance.svg").write_text(plot.draw(sweep))
    load = lines("load")[0]
    yield f"Load of the machine when the run began: {load}. Cells read Linux / Windows under Wine."
    yield ""
    yield from table(("", "measured"), comparisons(runs, texts))
    rates = pair([texts[t]["read 9 digits, (-1, 1)"][2] for t in TARGETS])
    against = [(runs[t]["2", "binding"][LEAST] - runs[t]["2", "direct with binding"][LEAST]) / 1000
               for t in TARGETS]
    yield f"Feed text is read at {rates} MB/s. The run with a binding adds {pair(against)} µs to"
    yield "`RunWithBinding` alone."
    yield ""
    yield "Least times in µs:"
    yield ""
    yield from table(("Road", "2 floats", "5,000 floats", "65,536 floats"),
                     all_roads(runs, roads("node.table")))
    costs = [fresh[t]["65536", "json"][LEAST] / 1000 for t in TARGETS]
    ratios = [times_twin(fresh[t], "65536", "json") for t in TARGETS]
    yield f"On the heap of a new process the JSON run of 65,536 floats takes {pair(costs)} µs, the twin"
    yield f"{pair(ratios, '×')} as long."
    yield ""
    yield "![Cost of a run against its size](performance.svg)"
    yield ""
    yield from table(("Size", "feed, bytes", "result, bytes", "direct call, µs", "JSON run, µs"),
                     sizes(sweep))
    yield from memory()
    yield from library_sizes()


def main():
    text = "\n".join(figures()) + "\n"
    page = DOCS / "performance.md"
    before, rest = page.read_text().split(BEGIN)
    page.write_text(before + BEGIN + text + END + rest.split(END)[1])
    print(text)


main()
