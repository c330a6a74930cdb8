"""The verbs that the command is made of, from its source."""
import re

from zel_case import ROOT

VERBS = re.findall(r"(\w+)Command\(\)[,}]", (ROOT / "src" / "zel" / "verbs" / "commands.cpp").read_text())
