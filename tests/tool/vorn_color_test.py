"""The colour cube, and what becomes of a raster's values as indices of a LUT."""
from harness import main
from colorcube import CUBE
from vorn_case import BLACK, ENTRY, HEIGHT, TEXT, Lut, LutTest
from vornfile import lut_channel, raster


class ColorCube(LutTest):
    def cubes(self, words, *keys, before=(), channels=1):
        planes = self.rasters(channels, 0.0)
        labels = [b"v"] if channels == 1 else [b"v channel %d" % (k + 1) for k in range(channels)]
        self.appends(words, [(lut_channel(label, b"Color Cube LUT", p), p)
                             for label, p in zip(labels, planes)],
                     list(before) + [Lut(k, b"Color Cube LUT", CUBE) for k in keys])

    def with_luts(self, *keys):
        self.scene.luts = [Lut(k, b"lut", [(1, 2, 3, b"x")]) for k in keys]
        self.put("a", self.scene)
        return self.scene.luts

    def test_its_194_entries(self):
        self.assertEqual((len(CUBE), CUBE[96], CUBE[97], CUBE[192], CUBE[193]), (
            194, (176, 168, 202, b"LUT Entry 96"), (127, 0, 0, b"LUT Entry 97"),
            (176, 168, 202, b"LUT Entry 192"), BLACK))
        self.cubes("-vorn v -vorn_lut_cc", 0)

    def test_the_key_follows_the_last_luts(self):
        self.cubes("-vorn v -vorn_lut_cc", 8, before=self.with_luts(3, 7))

    def test_keys_of_the_scene_stay(self):
        self.cubes("-vorn v -vorn_lut_cc", 3, before=self.with_luts(1, 2, 1, 2))

    def test_every_channel_has_a_copy(self):
        self.cubes("-vorn v -vorn_lut_cc", 5, 6, 7, before=self.with_luts(4), channels=3)

    def test_it_goes_before_a_definition_file_which_is_not_read(self):
        self.cubes("-vorn v -vorn_lut none -vorn_lut_cc", 0)

    def test_a_definition_file_that_is_not_read_may_be_the_output(self):
        self.put("out", b"old")
        self.cubes("-vorn v -vorn_lut out -vorn_lut_cc", 0)

    def test_a_key_in_use(self):
        self.with_luts(4, 3)
        self.refused("-vorn v -vorn_lut_cc", "Key value 4 already in use...\n"
                     "zel_combine: Error: no free key for the color cube\n")

    def test_a_key_beyond_all_keys(self):
        self.with_luts(32767)
        self.refused("-vorn v -vorn_lut_cc", "ZELAddLUT: invalid LUT key 32768\n"
                     "zel_combine: Error: no free key for the color cube\n")

    def test_the_flag_may_stand_before_the_raster(self):
        self.cubes("-vorn_lut_cc -vorn v", 0)


class Values(LutTest):
    """What becomes of a raster's values as LUT indices."""

    def stored(self, row, words="-vorn_lut_cc", luts=(Lut(0, b"Color Cube LUT", CUBE),)):
        rows = [list(row)] * HEIGHT
        self.put("v", raster([rows]))
        channel = lut_channel(b"v", luts[-1].label, rows)
        made = self.appends("-vorn v " + words, [(channel, rows)], list(luts))
        return made.channels[2].rows[0].tolist()

    def test_they_are_truncated(self):
        self.assertEqual(self.stored([0, 0.99, 1.5, 2.999, 3, 11.01, 192.5, 7]),
                         [0, 0, 1, 2, 3, 11, 192, 7])

    def test_they_wrap_at_16_bits(self):
        self.assertEqual(self.stored([65535, 65536, 65537.5, -1, -0.5, -65536, 131073, 0]),
                         [65535, 0, 1, 65535, 0, 0, 1, 0])

    def test_they_need_not_have_an_entry(self):
        self.put("l", TEXT)
        luts = [Lut(1, b"T", ENTRY)]
        self.assertEqual(self.stored([0, 1, 2, 3, 400, 5000, 6, 7], "-vorn_lut l", luts),
                         [0, 1, 2, 3, 400, 5000, 6, 7])


if __name__ == "__main__":
    main()
