"""How runs look in a notebook."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING

import numpy as np

if TYPE_CHECKING:
    from ._reading import Run, Signal

WIDTH = 160
HEIGHT = 30
GREATEST_ROW_COUNT = 50


def picture_of(signal: Signal) -> str:
    """The range of the first element of a signal over time, as an SVG image."""
    low, high = (part.reshape(WIDTH, -1)[:, 0] for part in signal.overview(WIDTH))
    columns = np.flatnonzero(np.isfinite(low) & np.isfinite(high))
    if not columns.size:
        return ""
    least, greatest = low[columns].min(), high[columns].max()
    scale = (HEIGHT - 2) / (greatest - least) if greatest > least else 0.0
    top = HEIGHT - 1 - (high - least) * scale
    bottom = HEIGHT - 1 - (low - least) * scale
    # Each column of the picture is one line from the least to the greatest value.
    points = " ".join(
        f"{x},{bottom[x]:.1f} {x},{top[x]:.1f}" for x in columns.tolist()
    )
    return (
        f'<svg width="{WIDTH}" height="{HEIGHT}"><polyline fill="none" stroke="#1f77b4" '
        f'points="{points}"/></svg>'
    )


def table_of(run: Run) -> str:
    """The run's properties and a small picture of every signal."""
    title = (
        f"<b>{escape(run.name or 'run')}</b> {run.state}, started {run.start:%Y-%m-%d %H:%M:%S} UTC"
    )
    properties = ", ".join(f"{escape(k)} = {escape(v)}" for k, v in run.properties.items())
    rows = []
    for path in list(run)[:GREATEST_ROW_COUNT]:
        signal = run[path]
        picture = picture_of(signal) if signal.width and len(signal) else ""
        rows.append(
            f"<tr><td>{escape(path)}</td><td>{signal.group}</td><td>{signal.width}</td>"
            f"<td>{len(signal)}</td><td>{picture}</td></tr>"
        )
    if len(run) > GREATEST_ROW_COUNT:
        rows.append(f"<tr><td>and {len(run) - GREATEST_ROW_COUNT} more</td></tr>")
    head = "<tr><th>signal</th><th>group</th><th>width</th><th>steps</th><th></th></tr>"
    return f"<div>{title}<br>{properties}<table>{head}{''.join(rows)}</table></div>"
