"""Scenes as xarray datasets: the engine ``zel`` of `xarray.open_dataset`."""

from .backend import ZelBackend

__all__ = ["ZelBackend"]
