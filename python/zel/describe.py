"""A scene in words."""

from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from .scene import Scene


def _time(scene: Scene) -> str:
    if scene.start is None or scene.end is None:
        return str(scene.date or "unknown")
    start, end = (moment.strftime("%Y-%m-%dT%H:%M:%S.%fZ") for moment in (scene.start, scene.end))
    return start if start == end else f"{start} to {end}"


def facts_of(scene: Scene) -> list[tuple[str, str]]:
    """What a person wants to know first."""
    lines, pixels = scene.shape
    rows = [
        ("Scene", scene.comment.strip()),
        ("Time", _time(scene)),
        ("Sensor", f"{scene.sensor.name}, satellite {scene.satellite}"),
        ("Grid", f"{lines} lines x {pixels} pixels of {scene.resolution:g} m"),
        ("Format", f"version {scene.version:.2f}"),
    ]
    if scene.is_container:
        rows[-1] = ("Format", f"container of {len(scene.components)} files")
    return [row for row in rows if row[1]]


def text_of(scene: Scene) -> str:
    """The `repr` of a scene."""
    part = "" if scene.part is None else f", component {scene.part}"
    text = [f"<zel.Scene {scene.path.name}{part}>"]
    if scene.closed:
        return text[0][:-1] + ", closed>"
    text += [f"  {name:<8} {value}" for name, value in facts_of(scene)]
    text.append("  Channels")
    text += [f"    {repr(channel)[len('<Channel '):-1]}" for channel in scene.channels]
    return "\n".join(text)
