"""Builds and takes apart classifier masks byte by byte, from the tables of their format.

Shares nothing with the library. Texts are bytes without their terminator; None where an item of a
list is absent. Numbers are big-endian, whatever the file around the mask has.
"""
import struct
from dataclasses import dataclass, field

IDENTIFIER = b"ZEL_FEATURE_HEADER\0"
CLASSES = 1000


@dataclass
class Entry:
    label: bytes = None
    condition: bytes = None
    action: bytes = None


@dataclass
class FeatureHeader:
    version: bytes = b"1.2"
    date: bytes = b"12:34:56  Tuesday Jun 11 2024"
    output: bytes = b"out.feat"
    inputs: list = field(default_factory=list)
    counts: dict = field(default_factory=dict)     # by class; missing ones are 0
    classes: dict = field(default_factory=dict)    # by class: (name, r, g, b)
    conditions: list = field(default_factory=list)
    features: list = field(default_factory=lambda: [Entry(condition=b"Ch1")])
    maxima: list = field(default_factory=lambda: [0.0])
    minima: list = field(default_factory=lambda: [0.0])
    requirements: list = field(default_factory=list)
    filters: list = field(default_factory=list)
    comments: list = field(default_factory=list)
    title: list = field(default_factory=list)
    options: list = field(default_factory=list)    # None in versions up to 1.1
    numbers: tuple = (82497, 0, 0, 0)              # random seed, subsampling, class and data type


@dataclass
class Classifier:
    header: FeatureHeader = field(default_factory=FeatureHeader)
    type: int = 0
    level: int = 0                                 # None after headers of versions up to 1.1
    data: bytes = b""


@dataclass
class Mask:
    identifier: bytes = b"ZEL_MASK"
    channel: int = 0
    version: bytes = b"1.2"
    date: bytes = b"01:02:03  Monday Jan 01 2024"
    label: bytes = b""
    comment: bytes = b""
    conditions: list = field(default_factory=list)
    pre_filters: list = field(default_factory=list)
    post_filters: list = field(default_factory=list)
    pre_program: list = field(default_factory=list)    # None in versions up to 1.0
    post_program: list = field(default_factory=list)
    type: int = 0                                      # None in versions up to 1.1
    title: list = field(default_factory=list)
    comments: list = field(default_factory=list)
    classifiers: list = field(default_factory=list)


# ---- building ----

def number(value):
    return struct.pack(">i", value)


def string(value):
    return number(len(value) + 1) + value + b"\0"


def optional(value):
    return number(0) if value is None else number(1) + string(value)


def entries(items):
    return number(len(items)) + b"".join(
        optional(e.label) + optional(e.condition) + optional(e.action) for e in items)


def lines(items):
    return number(len(items)) + b"".join(string(line) for line in items)


def floats(values):
    return struct.pack(">%df" % len(values), *values)


def header_bytes(h):
    out = [IDENTIFIER, string(h.version), string(h.date), string(h.output), lines(h.inputs)]
    out += [number(h.counts.get(i, 0)) for i in range(CLASSES)]
    for i in range(CLASSES):
        name, *colour = h.classes.get(i, (b"", 0, 0, 0))
        out += [string(name), struct.pack(">3i", *colour)]
    out += [entries(h.conditions), entries(h.features), floats(h.maxima), floats(h.minima)]
    out += [entries(items) for items in (h.requirements, h.filters, h.comments, h.title)]
    if h.options is not None:
        out.append(entries(h.options))
    return b"".join(out) + struct.pack(">4i", *h.numbers)


def classifier_bytes(c):
    out = [header_bytes(c.header), number(len(c.data)), number(c.type)]
    if c.level is not None:
        out.append(number(c.level))
    return b"".join(out) + c.data


def mask_bytes(m):
    """The block of a mask; for None that of a channel without one."""
    if m is None:
        return number(0)
    out = [number(len(m.classifiers)), string(m.identifier), number(m.channel), string(m.version),
           string(m.date), string(m.label), string(m.comment)]
    out += [entries(items) for items in (m.conditions, m.pre_filters, m.post_filters)]
    if m.pre_program is not None:
        out += [lines(m.pre_program), lines(m.post_program)]
    if m.type is not None:
        out.append(number(m.type))
    out += [entries(m.title), entries(m.comments)]
    return b"".join(out + [classifier_bytes(c) for c in m.classifiers])


# ---- taking apart ----

class Reader:
    def __init__(self, data, at):
        self.data, self.at = data, at

    def raw(self, size):
        if size < 0 or self.at + size > len(self.data):
            raise ValueError("a mask that is cut short")
        self.at += size
        return bytes(self.data[self.at - size:self.at])

    def numbers(self, count):
        return struct.unpack(">%di" % count, self.raw(4 * count))

    def number(self):
        return self.numbers(1)[0]

    def floats(self, count):
        return list(struct.unpack(">%df" % count, self.raw(4 * count)))

    def string(self):
        text = self.raw(self.number())
        if text[-1:] != b"\0" or b"\0" in text[:-1]:
            raise ValueError("a text without its terminator: %r" % text[:80])
        return text[:-1]

    def optional(self):
        flag = self.number()
        if flag not in (0, 1):
            raise ValueError("a flag of %d" % flag)
        return self.string() if flag else None

    def entries(self):
        return [Entry(self.optional(), self.optional(), self.optional())
                for _ in range(self.number())]

    def lines(self):
        return [self.string() for _ in range(self.number())]


def above(version, limit):
    return int(float(version) * 100) > limit


def read_header(r):
    if r.raw(len(IDENTIFIER)) != IDENTIFIER:
        raise ValueError("no feature header")
    h = FeatureHeader(r.string(), r.string(), r.string(), r.lines())
    h.counts = {i: n for i, n in enumerate(r.numbers(CLASSES)) if n}
    for i in range(CLASSES):
        entry = (r.string(),) + r.numbers(3)
        if entry != (b"", 0, 0, 0):
            h.classes[i] = entry
    h.conditions, h.features = r.entries(), r.entries()
    h.maxima, h.minima = r.floats(len(h.features)), r.floats(len(h.features))
    h.requirements, h.filters, h.comments, h.title = (r.entries() for _ in range(4))
    h.options = r.entries() if above(h.version, 110) else None
    h.numbers = r.numbers(4)
    return h


def read_classifier(r):
    c = Classifier(header=read_header(r))
    size, c.type = r.numbers(2)
    c.level = r.number() if above(c.header.version, 110) else None
    c.data = r.raw(size)
    return c


def parse_mask(data, at=0):
    """(mask or None, the place after it)."""
    r = Reader(data, at)
    classifiers = r.number()
    if classifiers == 0:
        return None, r.at
    m = Mask(r.string(), r.number(), r.string(), r.string(), r.string(), r.string())
    m.conditions, m.pre_filters, m.post_filters = (r.entries() for _ in range(3))
    m.pre_program = r.lines() if above(m.version, 100) else None
    m.post_program = r.lines() if above(m.version, 100) else None
    m.type = r.number() if above(m.version, 110) else None
    m.title, m.comments = r.entries(), r.entries()
    m.classifiers = [read_classifier(r) for _ in range(classifiers)]
    return m, r.at


# ---- examples ----

def full_mask(seed=0):
    """A distinct value in every item: two classifiers, filters, both programs."""
    first = FeatureHeader(
        output=b"first.feat", inputs=[b"a.zel", b"b.zel"],
        counts={0: 5, 3: 258 + seed, 999: 1},
        classes={0: (b"none", 1, 2, 3), 3: (b"water", 0, 10, 255), 999: (b"last", 7, 8, 9)},
        conditions=[Entry(b"bright", b"Ch1 > 50"), Entry(b"both", b"bright && Ch2")],
        features=[Entry(b"sum", b"Ch1+Ch2"), Entry(None, b"Ch3"), Entry(b"", b"both")],
        maxima=[1.5, 3.0, 1.0], minima=[-2.0, 0.25, 0.0],
        requirements=[Entry(None, b"bright")],
        filters=[Entry(b"mark", b"both", b"class=3"), Entry(None, b"Ch1", b"skip_pixel")],
        comments=[Entry(b"a comment"), Entry(b"another")], title=[Entry(b"the title")],
        options=[Entry(b"may", b"Ch2 < 9")], numbers=(7 + seed, -4, 2, 5))
    second = FeatureHeader(output=b"second.feat", features=[Entry(b"only", b"Ch2")],
                           maxima=[9.25], minima=[-9.25])
    return Mask(
        channel=2 + seed, label=b"cloud mask", comment=b"of two classifiers",
        conditions=[Entry(b"bright", b"Ch1 > 100"), Entry(b"cold", b"bright && Ch2 < 250")],
        pre_filters=[Entry(None, b"bright", b"3,4"), Entry(b"night", b"sz > 90", b"7")],
        post_filters=[Entry(None, b"cold", b"class=5"), Entry(None, b"Ch3==0", b"skip_pixel")],
        pre_program=[b"if (bright) then", b"  weightclasses 8,9:0.5", b"endif", b"register1=Ch2"],
        post_program=[b"if (class==5) class=6", b"register2=1"],
        type=1, title=[Entry(b"the title")], comments=[Entry(b"a comment"), Entry(b"")],
        classifiers=[Classifier(first, 3, 0, bytes(i * 7 % 256 for i in range(700 + seed))),
                     Classifier(second, 1, 42, b"\0\xffZEL\0")])
