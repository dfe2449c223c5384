"""Chess boards as SVG, White at the bottom. Squares and pieces are defined once for the page and used by each board."""
from __future__ import annotations

import html
from collections.abc import Iterable

from .engine import Squares

SIDE = 45  # of a square, in units of the drawing
MARGIN = 16  # left and below, for the names of files and ranks
LIGHT, DARK, MARKED = "#eef1f2", "#a9bac5", "#e8c95a"
ARROWS = {"expected": ("#1f7a4d", ""), "avoid": ("#8a4fa3", "3 5"), "played": ("#c1432a", "11 6")}

# Outlines in a square of 45 by 45.
SHAPES = {
    "p": '<path d="M22.5 9a5.6 5.6 0 0 1 3.3 10.1c3.4 1.6 4.2 8.6 7.2 13.4H12c3-4.8 3.8-11.8 7.2-13.4A5.6 5.6 0 0 1 '
         '22.5 9z"/><rect x="10" y="33.5" width="25" height="5" rx="1.5"/>',
    "n": '<path d="M14 32.5c0-8.5 8-9.5 8.5-15-3 2.5-5.5 5-9 6-2.5.7-4.5-1.3-3.5-3.5l4.5-8.5c.7-1.5 1.5-2.5 '
         '3-3.5l.5-3.5 3.5 2.8c8 .7 13 8.2 12.5 25.2z"/><circle class="i" cx="18" cy="13.3" r="1.3"/>'
         '<rect x="10" y="33.5" width="25" height="5" rx="1.5"/>',
    "b": '<circle cx="22.5" cy="7" r="2.6"/><path d="M22.5 9.5c7 5 8.5 10.5 5.5 15.5l-2 2.5 3 5h-13l3-5-2-2.5c-3'
         '-5-1.5-10.5 5.5-15.5z"/><path class="l" d="M22.5 14.5v8M18.8 18.2h7.4"/><rect x="10" y="33.5" width="25" '
         'height="5" rx="1.5"/>',
    "r": '<path d="M11.5 8.5h5.5v3.5h3v-3.5h5v3.5h3v-3.5h5.5v8l-3.5 3v10l3 3h-19l3-3v-10l-3.5-3z"/>'
         '<path class="l" d="M15.5 19.5h14M15.5 29.5h14"/><rect x="10" y="33.5" width="25" height="5" rx="1.5"/>',
    "q": '<path d="M8.5 14l6 18.5h16l6-18.5-8 9.5-.7-13-5.3 12-5.3-12-.7 13z"/><circle cx="8.5" cy="12.3" r="2.3"/>'
         '<circle cx="17.2" cy="8.7" r="2.3"/><circle cx="27.8" cy="8.7" r="2.3"/><circle cx="36.5" cy="12.3" r="2.3"/>'
         '<rect x="10" y="33.5" width="25" height="5" rx="1.5"/>',
    "k": '<path d="M22.5 4.5v8M18.7 7.5h7.6" class="c"/><path d="M13.5 32.5l-2.8-9.5c-1-6 6.5-9.5 11.8-4 5.3-5.5 '
         '12.8-2 11.8 4l-2.8 9.5z"/><path d="M22.5 11.8c2.8 2.5 2.8 5.2 0 8.7-2.8-3.5-2.8-6.2 0-8.7z"/>'
         '<rect x="10" y="33.5" width="25" height="5" rx="1.5"/>',
}


def _definitions() -> str:
    squares = "".join(f'<rect x="{SIDE * f}" y="{SIDE * r}" width="{SIDE}" height="{SIDE}" '
                      f'fill="{DARK if (f + r) % 2 else LIGHT}"/>' for f in range(8) for r in range(8))
    names = "".join(f'<text x="{SIDE * f + SIDE / 2}" y="{8 * SIDE + 13}" text-anchor="middle">{"abcdefgh"[f]}</text>'
                    f'<text x="-6" y="{SIDE * f + SIDE / 2 + 4}" text-anchor="end">{8 - f}</text>' for f in range(8))
    pieces = ""
    for letter, shape in SHAPES.items():
        for code, fill, line in ((letter.upper(), "#fff", "#23282d"), (letter, "#2b3136", "#15181a")):
            inner = "#23282d" if fill == "#fff" else "#dfe3e6"
            drawn = shape.replace('class="i"', f'fill="{inner}" stroke="none"').replace(
                'class="l"', f'fill="none" stroke="{inner}"').replace('class="c"', 'fill="none" stroke-width="2.6"')
            pieces += f'<g id="p{code}" fill="{fill}" stroke="{line}">{drawn}</g>'
    return (f'<g id="squares">{squares}<g fill="var(--soft)" font-size="11">{names}</g></g>'
            f'<g stroke-width="1.4" stroke-linejoin="round" stroke-linecap="round">{pieces}</g>')


# Stands in the page before the first board.
PIECES = f'<svg width="0" height="0" style="position:absolute" aria-hidden="true"><defs>{_definitions()}</defs></svg>'


def _centre(square: str) -> tuple[float, float]:
    return SIDE * ("abcdefgh".index(square[0]) + 0.5), SIDE * (8 - int(square[1]) + 0.5)


def _arrow(begin: str, end: str, kind: str) -> str:
    """A line with a head; those of different kinds differ in dashes too."""
    colour, dashes = ARROWS[kind]
    (x0, y0), (x1, y1) = _centre(begin), _centre(end)
    length = ((x1 - x0) ** 2 + (y1 - y0) ** 2) ** 0.5 or 1.0
    dx, dy = (x1 - x0) / length, (y1 - y0) / length
    bx, by, tx, ty = x1 - 17 * dx, y1 - 17 * dy, x1 - 3 * dx, y1 - 3 * dy
    head = f"{tx:.1f},{ty:.1f} {bx - 9 * dy:.1f},{by + 9 * dx:.1f} {bx + 9 * dy:.1f},{by - 9 * dx:.1f}"
    return (f'<g stroke="{colour}" fill="{colour}" opacity=".85"><line x1="{x0 + 8 * dx:.1f}" y1="{y0 + 8 * dy:.1f}" '
            f'x2="{bx:.1f}" y2="{by:.1f}" stroke-width="6" stroke-dasharray="{dashes}"/>'
            f'<polygon points="{head}" stroke="none"/></g>')


def _frame(inner: str, alt: str) -> str:
    return (f'<svg viewBox="{-MARGIN - 2} -2 {8 * SIDE + MARGIN + 4} {8 * SIDE + MARGIN + 4}" width="290" role="img" '
            f'aria-label="{html.escape(alt)}"><title>{html.escape(alt)}</title>{inner}</svg>')


def board(pieces: Squares, alt: str, marked: Iterable[str] = (), arrows: Iterable[tuple[str, str, str]] = ()) -> str:
    """A position; `marked` are squares, `arrows` (from, to, kind of ARROWS)."""
    marks = "".join(f'<rect x="{_centre(s)[0] - SIDE / 2:g}" y="{_centre(s)[1] - SIDE / 2:g}" width="{SIDE}" '
                    f'height="{SIDE}" fill="{MARKED}" opacity=".75"/>' for s in marked)
    men = "".join(f'<use href="#p{piece}" x="{_centre(s)[0] - SIDE / 2:g}" y="{_centre(s)[1] - SIDE / 2:g}"/>'
                  for s, piece in pieces.items())
    return _frame('<use href="#squares"/>' + marks + men + "".join(_arrow(*a) for a in arrows), alt)


def coloured_board(values: dict[str, int], largest: float, alt: str, with_sign: bool = False) -> str:
    """Numbers on squares, from orange (-largest) over white to blue (+largest)."""
    cells = ""
    for file in "abcdefgh":
        for rank in "12345678":
            x, y = _centre(file + rank)
            value = values.get(file + rank)
            cells += (f'<rect x="{x - SIDE / 2:g}" y="{y - SIDE / 2:g}" width="{SIDE}" height="{SIDE}" '
                      f'fill="{_shade(value, largest)}" stroke="#dfe3e5" stroke-width=".8"/>')
            if value is not None:
                text = f"{value:+d}" if with_sign and value else str(value)
                cells += f'<text x="{x:g}" y="{y + 5:g}">{text.replace("-", chr(0x2212))}</text>'
    return _frame(f'<use href="#squares"/><g fill="#23282d" font-size="15" text-anchor="middle">{cells}</g>', alt)


def _shade(value: int | None, largest: float) -> str:
    if value is None:
        return "#d4d8da"
    share = min(abs(value) / largest, 1.0) if largest else 0.0
    goal = (74, 140, 190) if value > 0 else (222, 134, 60)
    return "#" + "".join(f"{round(255 - share * (255 - c)):02x}" for c in goal)
