"""The list of mutants that are the same program, and why: tests/house/equivalent_mutants.txt."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Equivalent:
    file: str
    before: str
    after: str
    because: str


def read_equivalents(text):
    """The entries of the list: a line with the file, then indented before, after and because."""
    entries, fields = [], {}
    for number, line in enumerate(text.split("\n") + ["end"], 1):
        if not line.strip() or line.startswith("#"):
            continue
        if not line[0].isspace():
            if fields:
                entries.append(entry_of(fields, number))
            fields = {"file": line.strip()}
            continue
        name, colon, value = line.strip().partition(":")
        if name not in ("before", "after", "because") and "because" in fields:
            fields["because"] += " " + line.strip()
            continue
        if not colon or name not in ("before", "after", "because"):
            raise ValueError("line %d: before, after or because is expected" % number)
        fields[name] = value.strip()
    return entries


def entry_of(fields, number):
    absent = {"file", "before", "after", "because"} - {name for name in fields if fields[name]}
    if absent:
        raise ValueError("above line %d: %s is missing" % (number, ", ".join(sorted(absent))))
    return Equivalent(**fields)
