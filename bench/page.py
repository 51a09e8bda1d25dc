"""Formats tables of figures in Markdown and inserts them into the pages of docs/."""
import pathlib

ROOT = pathlib.Path(__file__).resolve().parents[1]


def number(value):
    """Three digits, more for integers."""
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def table(heads, rows, names=1):
    """The first columns are names; figures are aligned to the right."""
    rules = [["---:", "---"][i < names] for i in range(len(heads))]
    lines = [heads, rules, *rows]
    return "\n".join(f"| {' | '.join(line)} |" for line in lines)


def replace(page, marker, text):
    """Puts text between the lines <!-- marker --> and <!-- end --> of a page."""
    path = ROOT / "docs" / page
    before, begin, rest = path.read_text().partition(f"<!-- {marker} -->\n")
    if not begin or "<!-- end -->" not in rest:
        raise SystemExit(f"{path} has no section {marker}")
    after = rest[rest.index("<!-- end -->") :]
    path.write_text(f"{before}{begin}\n{text}\n\n{after}")
