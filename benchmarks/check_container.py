"""Whether a container holds its files: all their bytes one after the other, but for the directory
in the first of them."""
import os
import struct

BEGIN, END = 13, 1221  # of the directory
PIECE = 1 << 22


def same_bytes(container, at, path, skip):
    with open(path, "rb") as file:
        file.seek(skip)
        container.seek(at + skip)
        while True:
            piece = file.read(PIECE)
            if not piece:
                return True
            if container.read(len(piece)) != piece:
                return False


def faults(output, inputs):
    """What is wrong, a line for each; nothing when all is right."""
    found, at = [], 0
    with open(output, "rb") as container:
        head = container.read(END)
        if struct.unpack_from("<ii", head, BEGIN) != (0, len(inputs)):
            found.append("the directory does not name %d components" % len(inputs))
        offsets = struct.unpack_from("<100i", head, 21)
        sizes = struct.unpack_from("<100i", head, 821)
        for number, path in enumerate(inputs):
            size = os.path.getsize(path)
            if (offsets[number], sizes[number]) != (at, size):
                found.append("the directory is wrong for component %d" % number)
            with open(path, "rb") as file:
                if number == 0 and file.read(BEGIN) != head[:BEGIN]:
                    found.append("the first bytes are not those of the first file")
            if not same_bytes(container, at, path, END if number == 0 else 0):
                found.append("component %d has other bytes than its file" % number)
            at += size
        if os.path.getsize(output) != at:
            found.append("the length is not that of the files")
    return found
