#!/usr/bin/env python3
"""zel look: every colour of small pictures, legends, the terminal, and how an output comes about."""
import os
import pty
import resource
import signal
import stat
import subprocess
import time
import unittest

from zel_case import SCENES, TEST_DATA, ZEL, ZelTest, main, needs_scenes, read_png
from scene import small_scene
from zelfile import Channel, Histogram, Line, Lut, container

SEA, GRASS, FIRE, BLACK = (10, 20, 30), (0, 255, 0), (255, 0, 0), (0, 0, 0)


def grey(*levels):
    return [(v, v, v) for v in levels]


class Pictures(ZelTest):
    def picture(self, *words, scene=None):
        """The rows of the picture that look writes."""
        self.put("a.zel", scene or small_scene())
        self.assertEqual(self.run_zel("look", "a.zel", "-q", "--overwrite", "-o", "a.png", *words),
                         (0, "", ""))
        width, height, rows = read_png(self.got("a.png"))
        self.assertEqual((len(rows), len(rows[0])), (height, width))
        return rows

    def test_one_channel_from_the_least_to_the_greatest_value(self):
        # Fifths of the range, 51 grey levels apart, as the raw bytes are.
        rows = self.picture("-c", "B1", "--range", "0", "1")
        self.assertEqual(rows, [grey(0, 51, 102, 153), grey(204, 255, 0, 51), grey(102, 153, 204, 255)])

    def test_values_beyond_the_range_are_black_and_white(self):
        rows = self.picture("-c", "B1", "--range", "0.2", "0.8")
        self.assertEqual(rows[0], grey(0, 0, 85, 170))
        self.assertEqual(rows[1], grey(255, 255, 0, 0))

    def test_the_stretch_is_of_the_pixels_where_there_is_no_histogram(self):
        # 12 values 0 0 1 1 2 2 3 3 4 4 5 5 fifths; the 2nd and 98th percentile are element 0 and 10.
        self.assertEqual(self.picture("-c", "B1")[0], grey(0, 51, 102, 153))
        # Element 6 of 0 to 11 is 3 fifths.
        self.assertEqual(self.picture("-c", "B1", "--stretch", "0", "60")[0], grey(0, 85, 170, 255))

    def test_the_stretch_is_of_the_histogram_where_there_is_one(self):
        # Six bins of 0.2 from 0 on with two pixels each: half of 12 lies below 0.6.
        f = small_scene()
        f.channels[0].histogram = Histogram(max=1.0, min=0.0, counts=[2, 2, 2, 2, 2, 2])
        self.assertEqual(self.picture("-c", "B1", "--stretch", "0", "50", scene=f)[0],
                         grey(0, 85, 170, 255))

    def test_three_channels(self):
        f = small_scene()
        f.channels[1] = Channel(type=3, label=b"G", rows=[[0, 10, 20, 30]] * 3)
        rows = self.picture("--rgb", "B1,G,RAW", "--range", "0", "40", scene=f)
        # B1 is at most 1 of 40: 6 of 255; RAW is far above.
        self.assertEqual(rows[0], [(0, 0, 255), (1, 64, 255), (3, 128, 255), (4, 191, 255)])

    def test_natural_colours_are_the_default(self):
        f = small_scene()
        for slot, (label, microns) in {1: (b"blue", 0.48), 3: (b"green", 0.56), 4: (b"red", 0.655)}.items():
            f.channels[slot] = Channel(type=3, label=label, wavelength=microns,
                                       rows=[[0, slot, 2 * slot, 3 * slot]] * 3)
        self.put("a.zel", f)
        err = self.run_zel("look", "a.zel", "-o", "b.png")[2]
        self.assertEqual(err, "zel look: b.png: red 0 .. 12, green 0 .. 9, blue 0 .. 3\n")

    def coloured(self, *words, **microns):
        """What look shows of the small scene with channels of these wavelengths."""
        f = small_scene()
        f.channels[0].wavelength = 0.0
        for slot, (label, length) in zip((1, 3, 4), microns.items()):
            f.channels[slot] = Channel(type=3, label=label.encode(), wavelength=length, rows=[[0, 1, 2, 3]] * 3)
        self.put("a.zel", f)
        status, out, err = self.run_zel("look", "a.zel", "-o", "b.png", "--overwrite", *words)
        self.assertEqual((status, out), (0, ""))
        return err

    def test_natural_colours_need_channels_near_to_red_green_and_blue(self):
        first = "zel look: b.png: B1 0 .. 1\n"
        near = "zel look: b.png: red 0 .. 3, green 0 .. 3, blue 0 .. 3\n"
        self.assertEqual(self.coloured(red=0.7, green=0.53, blue=0.47), near)
        self.assertEqual(self.coloured(red=0.72, green=0.53, blue=0.47), first)
        self.assertEqual(self.coloured(red=0.66, green=0.56), first)
        self.assertEqual(self.coloured(red=0.66, green_and_blue=0.52), first)

    def test_a_colour_map_is_for_one_channel(self):
        self.assertEqual(self.coloured("--map", "heat", red=0.66, green=0.56, blue=0.48),
                         "zel look: b.png: B1 0 .. 1\n")

    def test_a_class_channel_has_the_colours_of_its_lut(self):
        rows = self.picture("-c", "CLS", "--legend", "no")
        self.assertEqual(rows, [[SEA, GRASS, FIRE, FIRE], [FIRE, FIRE, GRASS, SEA],
                                [GRASS, GRASS, GRASS, BLACK]])

    def test_the_legend_lists_the_classes_that_occur_the_most_frequent_first(self):
        # 5 grass, 4 fire, 2 sea, one without an entry.
        rows = self.picture("-c", "CLS")
        self.assertEqual(rows[0][:4], [SEA, GRASS, FIRE, FIRE])
        x = 4 + 10 + 6
        self.assertEqual([rows[10 + 16 * i + 6][x] for i in range(3)], [GRASS, FIRE, SEA])
        self.assertEqual(len(rows), 2 * 10 + 3 * 16)

    def test_the_legend_shows_small_shares_and_cuts_long_names(self):
        # One of 2400 pixels; a name of 40 letters, of which 30 are shown and two dots.
        f = small_scene(pixels=60, nav_interval=59)
        f.channels = {0: Channel(type=3, label=b"CLS", comment=b"Cover", rows=[[0] * 60 for _ in range(40)])}
        f.channels[0].rows[7][7] = 1
        f.luts = [Lut(4, b"Cover", [(10, 20, 30, b"s" * 40), (0, 255, 0, b"grass")])]
        f.lines = [Line(time=12.0, right=59, nadir=1, lat=[50.0, 50.0], lon=[10.0, 13.0]) for _ in range(40)]
        rows = self.picture(scene=f)
        # A margin of 10, a swatch of 12, 4, 7 + 1 + 32 characters of 6, a margin.
        self.assertEqual(len(rows[0]), 60 + 10 + 12 + 4 + 40 * 6 + 10)
        out = self.run_zel("look", "a.zel", "--color", "never")[1]
        self.assertIn("100.0 %  " + "s" * 40 + "\n", out)
        out = self.run_zel("look", "a.zel", "--color", "never", "--width", "60")[1]
        self.assertNotIn("grass", out)  # of two lines the upper one is shown
        out = self.run_zel("look", "a.zel", "--color", "always", "--width", "60")[1]
        self.assertIn("< 0.1 %  grass\n", out)

    def test_a_legend_when_asked_for(self):
        plain = self.picture("-c", "B1", "--range", "0", "1")
        rows = self.picture("-c", "B1", "--range", "0", "1", "--legend", "yes")
        self.assertEqual([row[:4] for row in rows[:3]], plain)
        self.assertEqual(rows[10 + 2 * 16][4 + 10], (255, 255, 255))
        self.assertEqual(rows[len(rows) - 10 - 16 - 1][4 + 10], (0, 0, 0))

    def test_a_colour_map_with_its_bar(self):
        rows = self.picture("-c", "B1", "--map", "blue-red", "--range", "0", "1")
        self.assertEqual(rows[0][0], (33, 102, 172))
        self.assertEqual(rows[1][1], (178, 24, 43))
        self.assertEqual(rows[10 + 2 * 16][4 + 10], (178, 24, 43))
        self.assertEqual(self.picture("-c", "B1", "--map", "blue-red", "--range", "0", "1", "--legend",
                                      "no")[0][0], (33, 102, 172))

    def test_a_class_channel_can_be_seen_in_grey(self):
        self.assertEqual(self.picture("-c", "CLS", "--map", "grey", "--range", "0", "2")[0],
                         grey(0, 128, 255, 255))

    def test_a_smaller_picture_shows_means(self):
        rows = self.picture("-c", "B1", "--range", "0", "2", "--width", "2")
        # Height 3 x 2 / 4 = 1.5, 2 rows: line 0, and lines 1 and 2. Half of the means of the raw bytes:
        # 25.5, 127.5; 178.5, 127.5.
        self.assertEqual(rows, [grey(13, 64), grey(89, 64)])

    def test_a_smaller_picture_of_classes_shows_classes(self):
        rows = self.picture("-c", "CLS", "--width", "2", "--legend", "no")
        self.assertEqual(rows, [[SEA, FIRE], [FIRE, GRASS]])

    def test_a_larger_picture_repeats_pixels(self):
        rows = self.picture("-c", "B1", "--range", "0", "1", "--width", "8")
        self.assertEqual(len(rows), 6)
        self.assertEqual(rows[0], grey(0, 0, 51, 51, 102, 102, 153, 153))
        self.assertEqual(rows[0], rows[1])

    def test_missing_values_are_black_and_count_for_nothing(self):
        f = small_scene()
        f.channels[1] = Channel(type=4, label=b"F", rows=[[float("nan"), 1.0, 3.4028234663852886e38, 3.0],
                                                          [1.0, 2.0, 3.0, 4.0], [5.0, 5.0, 5.0, 5.0]])
        rows = self.picture("-c", "F", "--stretch", "0", "100", scene=f)
        self.assertEqual(rows[0], grey(0, 0, 0, 128))
        self.assertEqual(self.picture("-c", "F", "--width", "2", "--range", "0", "4", scene=f)[0],
                         grey(64, 191))

    def test_channels_of_one_part_of_a_container_are_shown_on_its_own_grid(self):
        fine = small_scene(resolution=15.0)
        base = small_scene(pixels=2, resolution=30.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        both = container([(base.bytes(), 30.0), (fine.bytes(), 15.0)])
        rows = self.picture("-c", "CLS", "--legend", "no", scene=both)
        self.assertEqual(rows[0], [SEA, GRASS, FIRE, FIRE])
        self.assertEqual(self.picture("--part", "0", "--range", "0", "8", scene=both), [grey(223, 255)])
        self.assertEqual(self.picture("--part", "1", "-c", "RAW", "--range", "1000", "4000", scene=both)[2],
                         grey(0, 85, 170, 255))
        mixed = self.picture("--rgb", "T,B1,B1", "--range", "0", "1", scene=both)
        self.assertEqual((len(mixed), len(mixed[0])), (1, 2))

    def test_the_same_input_gives_the_same_bytes(self):
        self.picture("-c", "CLS")
        first = self.got("a.png")
        self.picture("-c", "CLS")
        self.assertEqual(self.got("a.png"), first)


class Terminal(ZelTest):
    def test_characters_from_dark_to_light(self):
        # 10 levels over 0 .. 255; every second of three lines: one row of means of all three lines.
        self.put("a.zel", small_scene())
        self.check("look a.zel -c B1 --range 0 1", ":===\nB1 0 .. 1\n".replace(":===", self.row()))

    @staticmethod
    def row():
        means = [(0 + 204 + 102) / 3, (51 + 255 + 153) / 3, (102 + 0 + 204) / 3, (153 + 51 + 255) / 3]
        return "".join(" .:-=+*#%@"[round(m) * 9 // 255] for m in means)

    def test_colours_when_asked_for(self):
        self.put("a.zel", small_scene())
        out = self.run_zel("look", "a.zel", "-c", "CLS", "--color", "always", "--legend", "no")[1]
        self.assertTrue(out.startswith("\x1b[38;2;10;20;30m\x1b[48;2;255;0;0m\u2580"))
        self.assertTrue(out.endswith("\x1b[0m\nCLS\n"))
        self.assertEqual(len(out.splitlines()), 3)

    def shown_on_a_terminal(self, **env):
        terminal, side = pty.openpty()
        subprocess.run([str(ZEL), "look", "a.zel", "-c", "B1"], cwd=self.dir, stdout=side, check=True, timeout=60,
                       env={**{k: v for k, v in self.env.items() if k not in ("TERM", "NO_COLOR")}, **env})
        os.close(side)
        seen = b""
        try:
            while data := os.read(terminal, 4096):
                seen += data
        except OSError:
            pass  # the other side is closed
        os.close(terminal)
        return seen

    def test_a_terminal_that_has_colours_gets_them(self):
        self.put("a.zel", small_scene())
        self.assertIn(b"\x1b[38;2;", self.shown_on_a_terminal(TERM="xterm", NO_COLOR=""))
        for env in ({"TERM": "xterm", "NO_COLOR": "1"}, {"TERM": "dumb"}, {}):
            self.assertNotIn(b"\x1b", self.shown_on_a_terminal(**env))

    def test_classes_have_a_legend(self):
        # The only row of 4 pixels shows the middle line: fire, fire, grass, sea. Of the levels 0 to 9 red,
        # a light of 76 of 255, is level 2 and green, 149, level 5. Equal shares are in the order of classes.
        self.put("a.zel", small_scene())
        self.check("look a.zel -c CLS --color never",
                   "::+ \nCLS\n  :  50.0 %  fire\n     25.0 %  sea\n  +  25.0 %  grass\n")
        out = self.run_zel("look", "a.zel", "-c", "CLS", "--color", "always")[1]
        self.assertIn("\n  \x1b[48;2;0;255;0m  \x1b[0m  41.7 %  grass\n", out)


class Wrong(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def test_wrong_usage(self):
        for words, message in (("--rgb B1,CLS", "--rgb takes three channels, as in B4,B3,B2"),
                               ("--rgb B1,CLS,RAW -c B1", "--rgb goes without --channel and --map"),
                               ("--range 1 1", "--range takes a smaller and a greater value"),
                               ("--stretch 98 2", "--stretch takes two percentages, 0 to 100, the "
                                "smaller first"),
                               ("--stretch 0 101", "--stretch takes two percentages, 0 to 100, the "
                                "smaller first"),
                               ("--stretch -1 50", "--stretch takes two percentages, 0 to 100, the "
                                "smaller first"),
                               ("--width -1", "--width takes a number of pixels")):
            self.fails("look a.zel " + words, "zel look: %s; see zel look --help" % message, 2)

    def test_too_large_a_picture(self):
        self.fails("look a.zel -o a.png --width 40000",
                   "zel look: a.zel: an image of width 40000 is too large")
        self.assertEqual(self.names(), ["a.zel"])

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "the sanitizer needs more memory than the limit")
    def test_a_picture_that_does_not_fit_into_memory(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (2 ** 28, 2 ** 28))
        status, out, err = self.run_zel("look", "a.zel", "-o", "a.png", "--width", "10000", preexec_fn=limit)
        self.assertEqual((status, out, err), (1, "", "zel look: a.zel: cannot allocate memory\n"))
        self.assertEqual(self.names(), ["a.zel"])

    def test_a_scene_without_lines_or_channels(self):
        f = small_scene()
        f.lines = []
        self.put("b.zel", f)
        self.fails("look b.zel", "zel look: b.zel: has no lines")
        f = small_scene()
        f.channels = {}
        self.put("b.zel", f)
        self.fails("look b.zel", "zel look: b.zel: has no channels")


class Output(ZelTest):
    """How a file comes about; the same for every verb that writes one."""

    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def test_an_existing_output_is_refused(self):
        self.put("b.png", b"mine")
        self.fails("look a.zel -o b.png", "zel look: a.zel: b.png exists; --overwrite replaces it")
        self.assertEqual(self.got("b.png"), b"mine")
        self.assertEqual(self.names(), ["a.zel", "b.png"])

    def test_overwrite_replaces_it_and_keeps_its_rights(self):
        self.put("b.png", b"mine")
        os.chmod(self.dir / "b.png", 0o640)
        self.assertEqual(self.run_zel("look", "a.zel", "-q", "--overwrite", "-o", "b.png"), (0, "", ""))
        self.assertEqual(self.got("b.png")[:4], b"\x89PNG")
        self.assertEqual(stat.S_IMODE((self.dir / "b.png").stat().st_mode), 0o640)
        self.assertEqual(self.names(), ["a.zel", "b.png"])

    def test_a_new_file_has_the_rights_of_the_mask(self):
        self.run_zel("look", "a.zel", "-o", "b.png", preexec_fn=lambda: os.umask(0o027))
        self.assertEqual(stat.S_IMODE((self.dir / "b.png").stat().st_mode), 0o640)

    def test_the_target_of_a_link_is_replaced(self):
        (self.dir / "folder").mkdir()
        self.put("folder/real.png", b"mine")
        (self.dir / "b.png").symlink_to("folder/real.png")
        self.run_zel("look", "a.zel", "--overwrite", "-o", "b.png")
        self.assertTrue((self.dir / "b.png").is_symlink())
        self.assertEqual(self.got("folder/real.png")[:4], b"\x89PNG")

    def test_the_input_is_not_replaced(self):
        (self.dir / "b.zel").symlink_to("a.zel")
        before = self.got("a.zel")
        for words in ("-o", "--report"):
            self.fails("look a.zel --overwrite %s b.zel" % words,
                       "zel look: a.zel: the output b.zel is the input")
        self.fails("channels a.zel --overwrite -o b.zel", "zel channels: a.zel: the output b.zel is the input")
        self.fails("channels a.zel --overwrite -o c --header b.zel",
                   "zel channels: a.zel: the output b.zel is the input")
        self.assertEqual(self.got("a.zel"), before)
        self.assertEqual(self.names(), ["a.zel", "b.zel"])

    def test_a_folder_that_is_not_there(self):
        self.fails("look a.zel -o none/b.png",
                   "zel look: a.zel: cannot create none/b.png: No such file or directory")

    def test_a_folder_as_output(self):
        (self.dir / "b.png").mkdir()
        self.fails("look a.zel -o b.png", "zel look: a.zel: cannot write b.png: Is a directory")

    def test_a_device_is_written_to_as_it_is(self):
        self.assertEqual(self.run_zel("look", "a.zel", "-q", "-o", "/dev/null")[0], 0)
        self.fails("look a.zel -o /dev/full",
                   "zel look: a.zel: cannot write /dev/full: No space left on device")

    def test_a_full_disk_leaves_the_old_file(self):
        self.put("b.png", b"mine")

        def quota():
            resource.setrlimit(resource.RLIMIT_FSIZE, (40, 40))
        status, out, err = self.run_zel("look", "a.zel", "--overwrite", "-o", "b.png", preexec_fn=quota)
        self.assertEqual((status, out, err), (1, "", "zel look: a.zel: cannot write b.png: File too large\n"))
        self.assertEqual(self.got("b.png"), b"mine")
        self.assertEqual(self.names(), ["a.zel", "b.png"])

    def test_a_failure_while_reading_leaves_nothing(self):
        self.fails("look a.zel -o b.png -c B9", "zel look: a.zel: no channel 'B9'; there are #0 B1, "
                   "#2 CLS, #5 RAW")
        self.assertEqual(self.names(), ["a.zel"])

    @needs_scenes
    def test_a_signal_at_any_time_leaves_the_old_file_or_the_whole_new_one(self):
        scene = str(SCENES / "landsat8_gulf_15m.zel")
        words = [str(ZEL), "look", scene, "-q", "--overwrite", "--width", "3000", "-o", "b.png"]
        subprocess.run(words, cwd=self.dir, env=self.env, check=True, timeout=120)
        whole = self.got("b.png")
        ended = 0
        for i, number in enumerate((signal.SIGTERM, signal.SIGINT, signal.SIGHUP) * 4):
            self.put("b.png", b"mine")
            run = subprocess.Popen(words, cwd=self.dir, env=self.env)
            time.sleep(0.02 + 0.05 * i)
            run.send_signal(number)
            ended += run.wait(60) == -number
            self.assertIn(self.got("b.png"), (b"mine", whole))
            self.assertEqual(self.names(), ["a.zel", "b.png"])
        self.assertGreater(ended, 0)

    @needs_scenes
    def test_a_kill_leaves_the_old_file(self):
        self.put("b.png", b"mine")
        run = subprocess.Popen([str(ZEL), "look", str(SCENES / "landsat8_gulf_15m.zel"), "-q",
                                "--overwrite", "--width", "8000", "-o", "b.png"], cwd=self.dir, env=self.env)
        while len(self.names()) < 3 and run.poll() is None:
            time.sleep(0.01)
        run.kill()
        self.assertEqual(run.wait(60), -signal.SIGKILL)
        self.assertEqual(self.got("b.png"), b"mine")


@needs_scenes
class RealScenes(ZelTest):
    def test_the_class_map_is_that_of_the_data(self):
        raw = (TEST_DATA / "data" / "sentinel2_ireland" / "SCL_60m.bin").read_bytes()
        self.run_zel("look", SCENES / "sentinel2_ireland_60m.zel", "-c", "SCL", "--legend", "no",
                     "-o", "scl.png")
        width, height, rows = read_png(self.got("scl.png"))
        self.assertEqual((width, height), (440, 440))
        colors = {0: (0, 0, 0), 3: (100, 50, 0), 4: (0, 160, 0), 5: (255, 230, 90), 6: (0, 0, 255),
                  7: (128, 128, 128), 8: (192, 192, 192), 9: (255, 255, 255), 10: (100, 200, 255)}
        self.assertEqual(set(raw), set(colors))
        for y, row in enumerate(rows):
            self.assertEqual(row, [colors[c] for c in raw[440 * y:440 * (y + 1)]])


if __name__ == "__main__":
    main()
