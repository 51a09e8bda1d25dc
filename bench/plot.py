"""Plots as SVG, the same for the same figures."""
import io

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "vornic", "svg.fonttype": "none", "font.size": 9})
from matplotlib import pyplot

COLOURS = ("#0072b2", "#d55e00", "#777777")


def svg(figure):
    text = io.StringIO()
    figure.savefig(text, format="svg", metadata={"Date": None}, bbox_inches="tight")
    pyplot.close(figure)
    return "".join(line.rstrip() + "\n" for line in text.getvalue().splitlines())


def curves(panels):
    """Panels side by side: a title, whether both axes are logarithmic, and points (x, y) by name."""
    figure, all_axes = pyplot.subplots(1, len(panels), figsize=(9, 3), layout="constrained")
    for axes, (title, is_log, series) in zip(all_axes, panels):
        for (name, points), colour in zip(series.items(), COLOURS):
            axes.plot(*zip(*points), "o-", markersize=3, label=name, color=colour)
        if is_log:
            axes.loglog()
            axes.minorticks_off()
        else:
            axes.set_ylim(0)
        axes.set_title(title, fontsize=9)
        axes.grid(color="#dddddd")
    all_axes[0].legend(fontsize=8)
    return svg(figure)


def bars(rows, series, title):
    """Bars: rows of a name and a number for each of the series."""
    thick = 0.8 / len(series)
    figure, axes = pyplot.subplots(figsize=(6, 0.6 + 0.4 * len(rows)))
    for place, name in enumerate(series):
        at = [row + place * thick for row in range(len(rows))]
        drawn = axes.barh(
            at, [values[place] for _, values in rows], thick, label=name, color=COLOURS[place]
        )
        axes.bar_label(drawn, fmt="%.0f", padding=3)
    axes.set_yticks(
        [row + thick * (len(series) - 1) / 2 for row in range(len(rows))], [n for n, _ in rows]
    )
    axes.invert_yaxis()
    axes.set_title(title, fontsize=9)
    axes.legend()
    return svg(figure)
