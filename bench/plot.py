"""Draws what a run costs against its size, as SVG."""
import math

COLOURS = {"json linux": "#0072b2", "json windows": "#d55e00", "twin json linux": "#7fb8d9",
           "twin json windows": "#eab08a", "direct linux": "#777777"}
LABELS = {"json linux": "JSON run, Linux", "json windows": "JSON run, Windows",
          "twin json linux": "twin, Linux", "twin json windows": "twin, Windows",
          "direct linux": "direct call, Linux"}
WIDTH, HEIGHT, LEFT, TOP = 250, 240, 60, 40
STYLE = "font-family:sans-serif;font-size:11px"


class Axis:
    """From numbers to pixels."""

    def __init__(self, least, greatest, first, last, is_log):
        self.convert = math.log10 if is_log else float
        self.low, self.high = self.convert(least), self.convert(greatest)
        self.first, self.last = first, last

    def __call__(self, value):
        part = (self.convert(value) - self.low) / (self.high - self.low)
        return round(self.first + part * (self.last - self.first), 1)


def label(value):
    if value >= 1000:
        return f"{value / 1000:g}k"
    return f"{value:g}"


def text(x, y, words, anchor="middle"):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}">{words}</text>'


def line(x1, y1, x2, y2, colour="#dddddd"):
    return f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="{colour}"/>'


def points_of(sweep, kind, road, target):
    return [(int(row.split()[1]), least / 1000) for (row, name), (_, least, _) in
            sweep[target].items() if row.split()[0] == kind and name == road]


def linear_ticks(greatest):
    step = 10 ** math.floor(math.log10(greatest))
    step = step if greatest / step > 4 else step / 2 if greatest / step > 2 else step / 4
    return [i * step for i in range(math.ceil(greatest / step) + 1)]


def panel(sweep, kind, title, left, series, is_log):
    curves = {s: points_of(sweep, kind, *s.rsplit(" ", 1)) for s in series}
    highest = max(y for points in curves.values() for _, y in points)
    if is_log:
        x_ticks, y_ticks = [1, 10, 100, 1000, 10000], [1, 10, 100, 1e3, 1e4, 1e5]
        y_ticks = [y for y in y_ticks if y <= highest]
    else:
        x_ticks, y_ticks = [1, 2, 4, 8, 16], linear_ticks(highest)
    widest = max(x for points in curves.values() for x, _ in points)
    x = Axis(1 if is_log else 0, widest, left, left + WIDTH, is_log)
    y = Axis(y_ticks[0], max(y_ticks[-1], highest), TOP + HEIGHT, TOP, is_log)
    yield text(left + WIDTH / 2, TOP - 14, title)
    for tick in x_ticks:
        yield line(x(tick), TOP, x(tick), TOP + HEIGHT)
        yield text(x(tick), TOP + HEIGHT + 16, label(tick))
    for tick in y_ticks:
        yield line(left, y(tick), left + WIDTH, y(tick))
        yield text(left - 6, y(tick) + 4, label(tick), "end")
    for name, points in curves.items():
        places = [f"{x(a)},{y(b)}" for a, b in points]
        yield (f'<polyline points="{" ".join(places)}" fill="none" stroke="{COLOURS[name]}" '
               'stroke-width="2"/>')
        yield from (f'<circle cx="{p.split(",")[0]}" cy="{p.split(",")[1]}" r="2.5" '
                    f'fill="{COLOURS[name]}"/>' for p in places)


def draw(sweep):
    step = WIDTH + LEFT + 10
    few = ["json linux", "json windows", "direct linux"]
    parts = [*panel(sweep, "numbers", "µs against numbers (logarithmic)", LEFT, list(COLOURS), True),
             *panel(sweep, "inputs", "µs against inputs of 4,096", LEFT + step, few, False),
             *panel(sweep, "outputs", "µs against outputs of 300", LEFT + 2 * step, few, False)]
    width, height = LEFT + 3 * step, TOP + HEIGHT + 60
    for i, name in enumerate(COLOURS):
        at = LEFT + i * 180
        parts.append(line(at, height - 16, at + 20, height - 16, COLOURS[name]))
        parts.append(text(at + 26, height - 12, LABELS[name], "start"))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'style="{STYLE}">\n<rect width="{width}" height="{height}" fill="white"/>\n'
            + "\n".join(parts) + "\n</svg>\n")


def bars(rows, series, title):
    """Bars: rows of a name and a number for each of the series, whose colours are as above."""
    colours, thick, width = ["#0072b2", "#d55e00"], 12, 420
    longest = max(value for _, values in rows for value in values)
    parts, y, left = [text(150, TOP - 14, title, "start")], TOP, 150
    for name, values in rows:
        parts.append(text(left - 6, y + thick + 4, name, "end"))
        for value, colour in zip(values, colours):
            length = round(width * value / longest, 1)
            parts.append(f'<rect x="{left}" y="{y}" width="{length}" height="{thick - 2}" fill="{colour}"/>')
            parts.append(text(left + length + 4, y + 9, f"{value:,.0f}", "start"))
            y += thick
        y += 10
    for i, name in enumerate(series):
        parts.append(f'<rect x="{left + 90 * i}" y="{y}" width="12" height="10" fill="{colours[i]}"/>')
        parts.append(text(left + 90 * i + 18, y + 9, name, "start"))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 60} {y + 24}" '
            f'style="{STYLE}">\n<rect width="100%" height="100%" fill="white"/>\n' + "\n".join(parts) + "\n</svg>\n")
