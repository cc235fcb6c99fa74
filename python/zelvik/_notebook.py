# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""How worlds and recordings show themselves in a notebook."""

from __future__ import annotations

import base64
import html
import tempfile
from pathlib import Path

from ._core import Recorder, World


def world_html(world: World) -> str:
    """A picture of the present moment, and what `repr` says, as HTML."""
    recorder = Recorder(world)
    recorder.capture()
    with tempfile.TemporaryDirectory() as folder:
        picture = Path(folder) / "world.png"
        recorder.write_png(picture, width=640, height=380, contacts=True)
        data = base64.b64encode(picture.read_bytes()).decode()
    return f'<img src="data:image/png;base64,{data}"/><br/><code>{html.escape(repr(world))}</code>'


def recorder_html(recorder: Recorder) -> str:
    """The replay as a frame that needs no network; what `repr` says where there is none."""
    text = f"<code>{html.escape(repr(recorder))}</code>"
    if len(recorder) == 0 or not Recorder.has_html_viewer():
        return text
    with tempfile.TemporaryDirectory() as folder:
        page = Path(folder) / "replay.html"
        recorder.write_html(page)
        source = html.escape(page.read_text(encoding="utf-8"))
    style = "width: 100%; height: 520px; border: 0"
    return f'<iframe srcdoc="{source}" style="{style}" sandbox="allow-scripts"></iframe>'
