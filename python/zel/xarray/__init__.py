"""Scenes as xarray datasets: the engine ``zel`` of `xarray.open_dataset`."""

from .accessor import ZelAccessor
from .backend import ZelBackend

__all__ = ["ZelAccessor", "ZelBackend"]
