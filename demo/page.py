"""A report as one HTML file that needs no network: figures that can be zoomed, and tables."""

from collections.abc import Iterable, Sequence
from html import escape
from pathlib import Path

import plotly.graph_objects as go
from plotly.io import to_html
from plotly.offline import get_plotlyjs

STYLE = """
body { margin: 0 auto; max-width: 70rem; padding: 1rem; color: #222; font: 1rem/1.5 system-ui, sans-serif }
h1 { font-size: 1.6rem; line-height: 1.2 }
h2 { margin: 2.2rem 0 0.4rem; font-size: 1.2rem }
p { margin: 0.3rem 0 }
.wide { overflow-x: auto }
table { border-collapse: collapse }
th, td { padding: 0.2rem 0.9rem 0.2rem 0; border-bottom: 1px solid #ddd; text-align: left; vertical-align: top }
td.number { text-align: right; font-variant-numeric: tabular-nums }
@media (max-width: 40rem) { th, td { padding-right: 0.5rem; font-size: 0.8rem } }
code { overflow-wrap: anywhere }
"""
CONFIGURATION = {"displayModeBar": False, "responsive": True}
SCROLLING = """
if (matchMedia("(pointer: coarse)").matches)
  for (const plot of document.querySelectorAll(".plotly-graph-div")) Plotly.relayout(plot, { dragmode: false });
"""
"""On a touch screen a finger moves the page, also where there is a figure."""


class Page:
    """A page with a title, to which sections are added."""

    def __init__(self, title: str) -> None:
        self._title = title
        self._sections = [f"<h1>{escape(title)}</h1>"]

    def add_text(self, text: str) -> None:
        self._sections.append(f"<p>{escape(text)}</p>")

    def add_figure(self, heading: str, figure: go.Figure, height: str) -> None:
        """A figure as wide as the page; the height is one of CSS."""
        self._add_heading(heading)
        options = {"include_plotlyjs": False, "full_html": False, "default_height": height, "auto_play": False}
        self._sections.append(to_html(figure, CONFIGURATION, **options))

    def add_table(self, heading: str, columns: Sequence[str], rows: Iterable[Sequence[str | float]]) -> None:
        """Numbers are set to the right."""
        self._add_heading(heading)
        head = "".join(f"<th>{escape(column)}</th>" for column in columns)
        lines = "\n".join(f"<tr>{''.join(_cell(value) for value in row)}</tr>" for row in rows)
        self._sections.append(f'<div class="wide"><table><tr>{head}</tr>\n{lines}</table></div>')

    def add_code(self, heading: str, code: str) -> None:
        self._add_heading(heading)
        self._sections.append(f"<p><code>{escape(code)}</code></p>")

    def write(self, file: Path) -> None:
        body = "\n".join(self._sections)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(
            f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<link rel="icon" href="data:,">
<title>{escape(self._title)}</title>
<style>{STYLE}</style>
<script>{get_plotlyjs()}</script>
</head>
<body>
{body}
<script>{SCROLLING}</script>
</body>
</html>
""",
            encoding="utf-8",
        )

    def _add_heading(self, heading: str) -> None:
        self._sections.append(f"<h2>{escape(heading)}</h2>")


def _cell(value: str | float) -> str:
    return f"<td>{escape(value)}</td>" if isinstance(value, str) else f'<td class="number">{value:g}</td>'
