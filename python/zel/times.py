"""Dates and times of a scene."""

from __future__ import annotations

from datetime import date, datetime, timedelta, timezone
from typing import Any

import numpy as np
import numpy.typing as npt

_LONGEST_HOURS = 7 * 24.0
_MICROSECONDS_PER_HOUR = 3.6e9


def day_of(year: int, day_of_year: int) -> date | None:
    """The date of a day of the year, counted from 1; None where there is no such day.

    Examples
    --------
    >>> day_of(2024, 366), day_of(2023, 366)
    (datetime.date(2024, 12, 31), None)
    """
    if not 1 <= year <= 9999 or not 1 <= day_of_year <= 366:
        return None
    days = timedelta(days=day_of_year - 1)
    first = date(year, 1, 1)
    if first > date.max - days or (first + days).year != year:
        return None
    return first + days


def moments(
    day: date | None, hours: npt.NDArray[np.float64]
) -> npt.NDArray[np.datetime64]:
    """Times of hours of a day in UTC, to the microsecond; NaT where the hours are not set."""
    times: npt.NDArray[Any] = np.full(hours.shape, np.datetime64("NaT"), "datetime64[us]")
    if day is not None:
        known = (hours != 0) & (np.abs(hours) <= _LONGEST_HOURS)
        since = np.rint(hours[known] * _MICROSECONDS_PER_HOUR).astype("timedelta64[us]")
        times[known] = np.datetime64(day, "us") + since
    return times


def moment(day: date | None, hours: float) -> datetime | None:
    """The same for one time, in UTC.

    Examples
    --------
    >>> str(moment(date(2024, 6, 20), 11.5))
    '2024-06-20 11:30:00+00:00'
    """
    found = moments(day, np.array([hours]))[0].item()
    return None if found is None else found.replace(tzinfo=timezone.utc)
