"""The colours of the fixed LUT for class maps."""

V = [127, 143, 159, 175, 191, 207, 223, 239]
NO = [0] * 8
FULL = [255] * 8
GROUPS = [(V, NO, NO), (NO, V, NO), (NO, NO, V), (V, V, NO), (V, NO, V), (NO, V, V), (V, V, V),
          ([255, 247, 239, 231, 223, 215, 207, 199],
           [255, 239, 223, 207, 191, 175, 159, 143], FULL),
          (FULL, [64, 80, 96, 112, 128, 144, 160, 176], [225, 209, 193, 177, 161, 145, 129, 113]),
          (FULL, [191, 175, 159, 143, 127, 111, 95, 79], [127, 111, 95, 79, 63, 47, 31, 15]),
          ([173] * 8, [84, 100, 116, 132, 148, 164, 180, 196], [32, 48, 64, 80, 96, 112, 128, 144]),
          ([64, 80, 96, 112, 128, 144, 160, 176], [168] * 8,
           [90, 106, 122, 138, 154, 170, 186, 202])]
COLORS = [rgb for group in GROUPS for rgb in zip(*group)]
CUBE = [(*rgb, b"LUT Entry %d" % n) for n, rgb in enumerate([(0, 0, 0)] + COLORS + COLORS)]
CUBE.append((0, 0, 0, b"None"))      # counted, never loaded
