"""Charts by matplotlib, as SVG that takes its colours and its letters from the page."""
from __future__ import annotations

import html
import io
import re

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.axes import Axes  # noqa: E402
from matplotlib.figure import Figure  # noqa: E402

# Colours that stand for those of the page's style until the chart is written.
COLOURS = {"text": "#010203", "soft": "#010204", "rule": "#010205", "good": "#010206", "bad": "#010207",
           "one": "#010208", "two": "#010209", "even": "#01020a", "band": "#01020b"}
TEXT, SOFT, RULE, GOOD, BAD, ONE, TWO, EVEN, BAND = COLOURS.values()
WIDTH = 9.6  # inches of a chart as wide as the page

plt.rcParams.update({
    "svg.fonttype": "none", "svg.hashsalt": "vesk", "font.size": 10, "font.family": "sans-serif", "text.color": TEXT,
    "axes.edgecolor": SOFT, "axes.labelcolor": TEXT, "axes.titlecolor": TEXT, "xtick.color": SOFT, "ytick.color": SOFT,
    "axes.grid": True, "grid.color": RULE, "grid.linewidth": 0.8, "axes.axisbelow": True, "axes.spines.top": False,
    "axes.spines.right": False, "lines.linewidth": 1.6, "legend.frameon": False, "legend.fontsize": 9,
    "figure.constrained_layout.use": True, "text.parse_math": False, "savefig.transparent": True,
})
_written = 0  # charts so far: the names inside of each must differ


def chart(height: float, width: float = WIDTH, columns: int = 1) -> tuple[Figure, list[Axes]]:
    """An empty chart; sizes in inches."""
    drawing, axes = plt.subplots(1, columns, figsize=(width, height), squeeze=False)
    return drawing, list(axes[0])


def svg(drawing: Figure, alt: str) -> str:
    """The chart as an element of the page; closes it."""
    global _written
    _written += 1
    buffer = io.StringIO()
    drawing.savefig(buffer, format="svg", metadata={"Date": None, "Creator": None, "Format": None, "Type": None})
    plt.close(drawing)
    text = buffer.getvalue()
    text = re.sub(r"<metadata>.*?</metadata>|<!--.*?-->", "", text[text.index("<svg"):], flags=re.DOTALL)
    # Names that nothing refers to go; the others become the chart's own.
    wanted = set(re.findall(r'(?:url\(#|href="#)([^")]+)', text))
    text = re.sub(r' id="([^"]*)"', lambda m: f' id="c{_written}-{m[1]}"' if m[1] in wanted else "", text)
    text = re.sub(r'(url\(#|href="#)', rf"\g<1>c{_written}-", text).replace("xlink:href", "href")
    text = re.sub(r"font: ([0-9.]+px) [^;\"]*", r"font-size: \1", text)
    text = re.sub(r"<style.*?</style>", "", text, flags=re.DOTALL)
    for name, colour in COLOURS.items():
        text = text.replace(colour, f"var(--{name})")
    label = html.escape(alt)
    return re.sub(r"<svg [^>]*?(width=\"[^\"]*\").*?(viewBox=\"[^\"]*\")[^>]*>",
                  rf'<svg \1 \2 role="img" aria-label="{label}"><title>{label}</title>', text, count=1, flags=re.DOTALL)
