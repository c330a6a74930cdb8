"""Quicklooks of scenes, and scenes in notebooks."""

from __future__ import annotations

import base64
import html
import struct
import zlib
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from .describe import facts_of

if TYPE_CHECKING:
    from .channel import Channel
    from .scene import Scene

_LARGEST = 320  # pixels of a side
_DARK, _BRIGHT = 2.0, 98.0  # percentiles that become black and white
_VISIBLE = (0.65, 0.56, 0.48)  # microns of red, green and blue
_NEAR = 0.05


def png(pixels: npt.NDArray[np.uint8]) -> bytes:
    """A picture of (lines, pixels, 3) as a PNG file.

    Examples
    --------
    >>> png(np.zeros((2, 3, 3), np.uint8))[:8]
    b'\\x89PNG\\r\\n\\x1a\\n'
    """
    lines, width, _ = pixels.shape
    rows = np.zeros((lines, 1 + 3 * width), np.uint8)  # each begins with its filter, none
    rows[:, 1:] = pixels.reshape(lines, -1)

    def chunk(kind: bytes, data: bytes) -> bytes:
        check = zlib.crc32(kind + data)
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", check)

    head = struct.pack(">2I5B", width, lines, 8, 2, 0, 0, 0)
    body = zlib.compress(rows.tobytes(), 6)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", body) + chunk(b"IEND", b"")


def _thinned(channel: Channel) -> npt.NDArray[Any]:
    step = max(1, -(-max(channel.shape) // _LARGEST))
    kept: Any = channel.raw if channel.classes else channel
    found: npt.NDArray[Any] = np.asarray(kept[::step, ::step])
    return found


def _limits(values: npt.NDArray[np.float64]) -> tuple[float, float]:
    if not values.size:
        return 0.0, 1.0
    return float(np.percentile(values, _DARK)), float(np.percentile(values, _BRIGHT))


def _grey(channel: Channel) -> npt.NDArray[np.uint8]:
    values = _thinned(channel).astype(np.float64)
    low, high = _limits(values[np.isfinite(values)])
    shades = np.clip((values - low) / max(high - low, float(np.finfo(np.float32).tiny)), 0, 1)
    found: npt.NDArray[np.uint8] = (np.nan_to_num(shades) * 255).astype(np.uint8)
    return found


def _coloured(channel: Channel) -> npt.NDArray[np.uint8]:
    assert channel.classes is not None
    numbers = _thinned(channel)
    known = (numbers >= 0) & (numbers < len(channel.classes))
    places = np.where(known, numbers, 0).astype(np.int64)
    found: npt.NDArray[np.uint8] = channel.classes.colours[places] * known[..., np.newaxis]
    return found


def _nearest(channels: list[Channel], wavelength: float) -> Channel | None:
    known = [c for c in channels if c.wavelength is not None]
    near = [c for c in known if abs((c.wavelength or 0) - wavelength) <= _NEAR]
    return min(near, key=lambda c: abs((c.wavelength or 0) - wavelength)) if near else None


def quicklook(scene: Scene) -> npt.NDArray[np.uint8] | None:
    """A small picture: of red, green and blue where the scene has them, else of a channel.

    Parameters
    ----------
    scene : Scene

    Returns
    -------
    numpy.ndarray or None
        uint8 of shape (lines, pixels, 3); None for a scene without pixels.
    """
    channels = [c for c in scene.channels if 0 not in c.shape]
    if not channels:
        return None
    plain = [c for c in channels if not c.classes]
    colours = [_nearest(plain, wavelength) for wavelength in _VISIBLE]
    found = [c for c in colours if c is not None]
    if len({id(c) for c in found}) == 3 and len({c.shape for c in found}) == 1:
        return np.stack([_grey(c) for c in found], axis=2)
    first = (plain or channels)[0]
    return _coloured(first) if first.classes else np.repeat(_grey(first)[..., np.newaxis], 3, 2)


def _rows(rows: list[tuple[str, ...]], cell: str) -> str:
    cells = ("".join(f"<{cell}>{html.escape(text)}</{cell}>" for text in row) for row in rows)
    return "".join(f"<tr>{row}</tr>" for row in cells)


def _channel_row(channel: Channel) -> tuple[str, ...]:
    limits = "" if channel.min is None else f"{channel.min:.6g} .. {channel.max:.6g}"
    wavelength = "" if channel.wavelength is None else f"{channel.wavelength:.4g}"
    names = "" if channel.classes is None else f"{len(channel.classes)} classes"
    return (
        f"#{channel.slot}", channel.label, f"{channel.shape[0]} x {channel.shape[1]}",
        channel.storage.name.lower(), limits, channel.unit.name.lower(), wavelength, names,
    )


def html_of(scene: Scene) -> str:
    """A scene for a notebook: its picture, its facts and its channels."""
    title = html.escape(scene.path.name)
    if scene.closed:
        return f"<p><b>{title}</b> (closed)</p>"
    try:
        picture = quicklook(scene)
    except ValueError:  # a file that is cut short meanwhile
        picture = None
    image = ""
    if picture is not None:
        data = base64.b64encode(png(picture)).decode()
        image = f'<img alt="quicklook" src="data:image/png;base64,{data}">'
    names = ("slot", "label", "size", "stored as", "range", "unit", "microns", "")
    return (
        f"<div><b>{title}</b><br>{image}<table>{_rows(list(facts_of(scene)), 'td')}</table>"
        f"<table>{_rows([names], 'th')}{_rows([_channel_row(c) for c in scene.channels], 'td')}"
        "</table></div>"
    )
