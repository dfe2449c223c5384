"""The page: its style, and functions for headings, tables and figures. Text from files goes through `esc`."""
from __future__ import annotations

import html
import time
from collections.abc import Iterable, Sequence

from .board import PIECES
from .files import Sources

STYLE = """
:root { --page: #fbfbfa; --text: #23282d; --soft: #667078; --rule: #d9dcdd; --good: #2f7d5b; --bad: #b4472f;
  --one: #2d6a9f; --two: #c2792b; --even: #a9b0b5; --band: #2d6a9f; color-scheme: light dark; }
@media (prefers-color-scheme: dark) { :root { --page: #17191b; --text: #dfe3e6; --soft: #9aa4ab; --rule: #363c41;
  --good: #5cb58d; --bad: #e07a61; --one: #6aa9dd; --two: #e0a058; --even: #68727a; --band: #6aa9dd; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 2.5rem 1.5rem 4rem; max-width: 62rem; background: var(--page); color: var(--text);
  font: 15px/1.5 "Source Sans 3", "Segoe UI", "Helvetica Neue", "Liberation Sans", "DejaVu Sans", Arial, sans-serif; }
h1, h2, h3 { line-height: 1.25; font-weight: 600; }
h1 { margin: 0; font-size: 1.7rem; } h2 { margin: 2.4rem 0 .6rem; padding-top: 1rem; border-top: 2px solid var(--text);
  font-size: 1.35rem; } h3 { margin: 1.8rem 0 .5rem; font-size: 1.02rem; }
p { margin: .4rem 0 .8rem; max-width: 46rem; } .soft, figcaption { color: var(--soft); }
.line { max-width: none; overflow-x: auto; white-space: nowrap; }
code { font: .84em/1.4 "DejaVu Sans Mono", "Liberation Mono", monospace; }
table { border-collapse: collapse; margin: .4rem 0 1rem; font-variant-numeric: tabular-nums; }
th { font-weight: 600; color: var(--soft); }
th, td { padding: .22rem .9rem .22rem 0; text-align: right; border-bottom: 1px solid var(--rule); vertical-align: top; }
th:first-child, td:first-child { text-align: left; } tr:last-child td { border-bottom-color: var(--soft); }
.wide { overflow-x: auto; } figure { margin: .6rem 0 1.2rem; }
figure svg { max-width: 100%; height: auto; display: block; }
figcaption { font-size: .87rem; margin-top: .35rem; } svg text { font-family: inherit; }
.facts { display: flex; flex-wrap: wrap; gap: .5rem 2.2rem; margin: .8rem 0 1.2rem; }
.facts div { min-width: 7rem; } .facts b { display: block; font-size: 1.45rem; font-weight: 600; line-height: 1.3;
  font-variant-numeric: tabular-nums; } .facts span { color: var(--soft); font-size: .87rem; }
.columns { display: flex; flex-wrap: wrap; gap: 0 3rem; align-items: flex-start; }
.boards { display: grid; grid-template-columns: repeat(auto-fill, minmax(17rem, 1fr)); gap: 1rem 1.6rem; }
.boards.small { grid-template-columns: repeat(3, minmax(0, 17.5rem)); gap: .4rem 1.8rem; }
.pair { display: grid; grid-template-columns: 17rem minmax(0, 1fr); gap: 0 1.8rem; align-items: center; }
@media (max-width: 46rem) { .pair { grid-template-columns: 1fr; } }
"""


def esc(text: object) -> str:
    return html.escape(str(text))


def signed(value: float, digits: int = 1) -> str:
    """A number with its sign, with a real minus; infinity as a word."""
    if value in (float("inf"), float("-inf")):
        return "\u2212\u221e" if value < 0 else "+\u221e"
    return f"{round(value, digits) + 0.0:+.{digits}f}".replace("-", "\u2212")  # adding 0 makes -0 +0


def percent(part: float, whole: float) -> str:
    return f"{100 * part / whole:.1f} %" if whole else "\u2013"


def table(heads: Sequence[str], rows: Iterable[Sequence[object]]) -> str:
    """A table whose first column holds words and whose others hold figures."""
    head = "".join(f"<th scope=\"col\">{esc(h)}</th>" for h in heads)
    body = "".join("<tr>" + "".join(f"<td>{esc(cell)}</td>" for cell in row) + "</tr>\n" for row in rows)
    return f"<div class=\"wide\"><table><thead><tr>{head}</tr></thead>\n<tbody>{body}</tbody></table></div>\n"


def facts(items: Iterable[tuple[str, str]]) -> str:
    """Figures in large type, each with the words that explain it."""
    return ("<div class=\"facts\">" + "".join(f"<div><b>{esc(figure)}</b><span>{esc(words)}</span></div>"
                                              for figure, words in items) + "</div>\n")


def figure(picture: str, caption: str = "") -> str:
    """A picture with a line below; `caption` is HTML."""
    words = f"<figcaption>{caption}</figcaption>" if caption else ""
    return f"<figure>{picture}{words}</figure>\n"


def columns(*parts: str) -> str:
    """Tables side by side as far as the page is wide."""
    return f"<div class=\"columns\">{''.join(parts)}</div>\n"


def note(text: str) -> str:
    return f"<p class=\"soft\">{esc(text)}</p>\n"


def page(title: str, sections: Iterable[str], sources: Sources) -> str:
    """The whole file."""
    made = time.strftime("%Y-%m-%d %H:%M")
    rows = [(name, f"{size:,}", written) for name, size, written in sources.read]
    head = f"<h1>{esc(title)}</h1>\n<p class=\"soft\">Made {made} by tools/report.py from these files:</p>\n"
    return (f"<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            f"<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            f"<link rel=\"icon\" href=\"data:,\">\n<title>{esc(title)}</title>\n<style>{STYLE}</style>\n</head>\n"
            f"<body>\n{PIECES}\n<header>\n{head}{table(['file', 'bytes', 'written'], rows)}</header>\n<main>\n"
            + "".join(f"<section>\n{section}</section>\n" for section in sections) + "</main>\n</body>\n</html>\n")
