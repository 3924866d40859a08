"""How runs look in a notebook."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING

import numpy as np

from ._core import RecordingError

if TYPE_CHECKING:
    from ._reading import Run
    from ._signal import Signal

WIDTH = 160
HEIGHT = 30
GREATEST_ROW_COUNT = 50


def picture_of(signal: Signal) -> str:
    """The range of the first element of a signal over time, as an SVG image; empty without one."""
    try:
        low, high = (part.reshape(WIDTH, -1)[:, 0] for part in signal.overview(WIDTH))
    except (ValueError, RecordingError):  # times that are not finite, a closed or damaged run
        return ""
    columns = np.flatnonzero(np.isfinite(low) & np.isfinite(high))
    if not columns.size:
        return ""
    # Halves, because the range of the values may be greater than every number.
    halves = np.stack([low[columns], high[columns]]) / 2
    span = halves.max() - halves.min()
    scale = HEIGHT - 2 if span > 0 else 0
    bottom, top = HEIGHT - 1 - (halves - halves.min()) / (span or 1.0) * scale
    # Each column of the picture is one line from the least to the greatest value.
    points = " ".join(
        f"{x},{y:.1f} {x},{z:.1f}" for x, y, z in zip(columns.tolist(), bottom, top)
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
