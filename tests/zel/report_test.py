#!/usr/bin/env python3
"""zel look --report: what the page says, that it is whole and needs nothing else, and that a browser opens it."""
import base64
import html.parser
import os
import re
import shutil
import subprocess
import tempfile
import unittest

from zel_case import SCENES, ZelTest, main, make_container, needs_scenes, read_png
from scene import rich_scene, small_scene
from zelfile import Channel, container

SEA, GRASS, FIRE = (10, 20, 30), (0, 255, 0), (255, 0, 0)
VOID = {"meta", "img"}
BROWSER = shutil.which("chromium") or shutil.which("chromium-browser")


class Node:
    def __init__(self, name, attributes, parent):
        self.name, self.attributes, self.parent = name, dict(attributes), parent
        self.children, self.words = [], []

    def all(self, name, style=None):
        for child in self.children:
            if child.name == name and (style is None or style in child.attributes.get("class", "").split()):
                yield child
            yield from child.all(name, style)

    def first(self, name, style=None):
        return next(self.all(name, style))

    def text(self):
        return " ".join(" ".join(w if isinstance(w, str) else w.text() for w in self.words).split())


class Page(html.parser.HTMLParser):
    """The page as a tree. An element that is not closed where it should be is an error."""

    def __init__(self, text):
        super().__init__()
        self.root = self.open = Node("", [], None)
        self.feed(text)
        self.close()
        assert self.open is self.root, "not closed: " + self.open.name

    def handle_starttag(self, tag, attrs):
        node = Node(tag, attrs, self.open)
        self.open.children.append(node)
        self.open.words.append(node)
        if tag not in VOID:
            self.open = node

    def handle_startendtag(self, tag, attrs):
        node = Node(tag, attrs, self.open)
        self.open.children.append(node)
        self.open.words.append(node)

    def handle_endtag(self, tag):
        assert tag == self.open.name, "%s closed in %s" % (tag, self.open.name)
        self.open = self.open.parent

    def handle_data(self, data):
        self.open.words.append(data)


class Report(ZelTest):
    def page(self, scene, *words):
        self.put("a.zel", scene)
        self.assertEqual(self.run_zel("look", "a.zel", "-q", "--overwrite", "--report", "a.html", *words),
                         (0, "", ""))
        return Page(self.got("a.html").decode()).root

    def section(self, page, title):
        return next(s for s in page.all("section") if any(h.text() == title for h in s.all("h2")))

    def table(self, page, title):
        return [[cell.text() for cell in row.children] for row in self.section(page, title).all("tr")]

    @staticmethod
    def image(node):
        kind, _, data = node.first("img").attributes["src"].partition(",")
        assert kind == "data:image/png;base64"
        return read_png(base64.b64decode(data, validate=True))[2]

    @staticmethod
    def facts(node):
        names = [d.text() for d in node.first("dl").all("dt")]
        return dict(zip(names, [d.text() for d in node.first("dl").all("dd")]))

    def cards(self, page, title="Pictures and histograms"):
        return {card.first("b").text(): card for card in self.section(page, title).all("figure")}


class Content(Report):
    def test_title_and_facts(self):
        page = self.page(small_scene())
        self.assertEqual(page.first("title").text(), "a.zel")
        self.assertEqual(page.first("h1").text(), "test scene")
        facts = self.facts(page.first("section", "intro"))
        self.assertEqual(facts["Time"], "2020-02-29T12:00:00.000Z to 2020-02-29T12:00:02.000Z, day 60")
        self.assertEqual(facts["Sensor"], "LANDSAT TM, satellite 9, altitude 700 km")
        self.assertEqual(facts["Grid"], "4 x 3 pixels of 30 m")
        self.assertEqual(facts["Navigation"], "2 points a line, from pixel 0, every 3")
        self.assertIn("48.0000 N to 50.0000 N, 10.0000 E to 13.0000 E", facts["Place"])

    def test_the_page_refers_to_nothing_outside(self):
        page = self.page(rich_scene())
        for node in page.all("img"):
            self.assertTrue(node.attributes["src"].startswith("data:image/png;base64,"))
        text = self.got("a.html").decode()
        for word in ("http:", "https:", "//", "<script", "<link", "@import", "href", "srcset"):
            self.assertNotIn(word, re.sub(r"base64,[A-Za-z0-9+/=]*", "", text))
        self.assertEqual(set(re.findall(r"url\(([^)]*)\)", text)), {"#arrow", "#frame"})

    def test_the_table_of_channels(self):
        # B1: the values 0, 0.2, .. 1 twice each; squares of the differences from 0.5 sum up to 1.4, and
        # the root of 1.4 / 11 is 0.35675. RAW: 1000 .. 4000 three times; 3 x 5000000 / 11, 1167.7.
        self.assertEqual(self.table(self.page(small_scene()), "Channels"), [
            ["slot", "label", "\u00b5m", "units", "stored as", "range", "min", "max", "mean", "\u03c3", "notes"],
            ["#0", "B1", "0.5", "Reflectance", "scaled byte", "0 .. 1", "0", "1", "0.5", "0.35675", "first"],
            ["#2", "CLS", "", "None (Look up Table)", "byte", "", "0", "9", "", "", "LUT Cover"],
            ["#5", "RAW", "", "None", "16-bit", "", "1000", "4000", "2500", "1167.7", ""]])

    def test_every_channel_has_its_picture(self):
        cards = self.cards(self.page(small_scene()))
        self.assertEqual(list(cards), ["B1", "CLS", "RAW"])
        self.assertEqual(cards["B1"].first("figcaption").text(), "B1 0.5 \u00b5m")
        # Stretched from 0 to 1: the raw bytes.
        self.assertEqual([[p[0] for p in row] for row in self.image(cards["B1"])],
                         [[0, 51, 102, 153], [204, 255, 0, 51], [102, 153, 204, 255]])
        self.assertEqual(self.image(cards["CLS"])[0], [SEA, GRASS, FIRE, FIRE])

    def bins(self, card):
        """[(left edge, height)] of the area of a histogram."""
        path = card.first("path", "area").attributes["d"]
        start, *steps, end = re.findall(r"[MVHZ][^MVHZ]*", path)
        self.assertEqual((start, steps[-1], end), ("M0 66.0", "V66.0", "Z"))
        edges, found = 0.0, []
        for vertical, horizontal in zip(steps[:-1:2], steps[1::2]):
            found.append((edges, 66.0 - float(vertical[1:])))
            edges = float(horizontal[1:])
        self.assertEqual(edges, 280.0)
        return found

    def test_histogram_of_a_channel(self):
        # 255 steps in at most 80 bins: 4 steps a bin, 64 bins. The raw values 0, 51, .. 255 are in the
        # bins 0, 12, 25, 38, 51, 63, two pixels each.
        bins = self.bins(self.cards(self.page(small_scene()))["B1"])
        self.assertEqual(len(bins), 64)
        self.assertEqual([i for i, (_, height) in enumerate(bins) if height == 62.0],
                         [0, 12, 25, 38, 51, 63])
        self.assertEqual(sum(height > 0.0 for _, height in bins), 6)

    def test_heights_are_counts(self):
        f = small_scene()
        f.channels = {0: Channel(type=3, label=b"N", rows=[[1, 1, 1, 1], [1, 2, 2, 2], [2, 4, 4, 4]])}
        # One value a bin, 1 to 4: 5, 4, 0 and 3 of at most 5.
        bins = self.bins(self.cards(self.page(f))["N"])
        self.assertEqual([height for _, height in bins], [62.0, 49.6, 0.0, 37.2])
        self.assertEqual([edge for edge, _ in bins], [0.0, 70.0, 140.0, 210.0])

    def test_values_far_from_the_mean_are_counted_beside_the_histogram(self):
        f = small_scene(pixels=400, nav_interval=3)
        f.channels = {0: Channel(type=5, bits=16, label=b"N", rows=[[100, 101] * 200] * 2 +
                                 [[100, 101] * 199 + [100, 60000]])}
        card = self.cards(self.page(f))["N"]
        self.assertIn("0.1 % not shown", card.first("p").text())
        texts = [t.text() for t in card.all("text")]
        # Mean 150.4, standard deviation 1729.2: the histogram ends four of them above the mean.
        self.assertEqual(texts[0], "100")
        self.assertAlmostEqual(float(texts[1]), 150.4 + 4 * 1729.2, delta=1.0)

    def test_missing_values_are_counted(self):
        f = small_scene()
        f.channels = {0: Channel(type=4, label=b"F", rows=[[float("nan"), 1.0, 3.4028234663852886e38, 3.0],
                                                           [1.0, 2.0, 3.0, 4.0], [5.0] * 4])}
        self.assertIn("16.7 % missing", self.cards(self.page(f))["F"].first("p").text())

    def test_a_channel_without_values(self):
        f = small_scene()
        f.channels = {0: Channel(type=4, label=b"F", rows=[[float("nan")] * 4] * 3)}
        card = self.cards(self.page(f))["F"]
        self.assertEqual(card.first("p").text(), "no values")
        self.assertEqual(list(card.all("svg")), [])

    def test_classes_with_their_shares(self):
        # Of 12 pixels 5 grass, 4 fire, 2 sea, one without an entry.
        card = self.cards(self.page(small_scene()))["CLS"]
        self.assertEqual([item.text() for item in card.all("li")],
                         ["41.7 % grass 1", "33.3 % fire 2", "16.7 % sea 0"])
        self.assertEqual([i.attributes["style"] for i in card.all("i")],
                         ["background:#00ff00", "background:#ff0000", "background:#0a141e"])

    def test_tables_metadata_and_luts(self):
        page = self.page(rich_scene())
        self.assertEqual(self.table(page, "Tables"), [["key", "label", "values"], ["1", "curve", "3"]])
        self.assertEqual(self.section(page, "Metadata").text(), "Metadata line one line two")
        self.assertEqual([i.text() for i in self.section(page, "LUTs").all("li")],
                         ["0 sea", "1 grass", "2 fire"])

    def test_texts_of_a_file_stay_texts(self):
        f = small_scene(comment=b"<b>bold</b> & \"quoted\" 'name' \x01")
        f.channels[0].label = b"<script>alert(1)</script>"
        page = self.page(f)
        self.assertEqual(page.first("h1").text(), "<b>bold</b> & \"quoted\" 'name' \\x01")
        self.assertEqual(list(page.all("script")), [])
        self.assertIn("<script>alert(1)</script>", self.cards(page))

    def test_the_main_picture_is_the_one_that_is_asked_for(self):
        main_picture = self.page(small_scene(), "-c", "CLS").first("figure")
        self.assertEqual(self.image(main_picture)[2][0], GRASS)
        self.assertEqual(main_picture.first("figcaption").text(), "CLS")
        wide = self.page(small_scene(), "-c", "B1", "--range", "0", "2", "--width", "8").first("figure")
        self.assertEqual(self.image(wide)[0][2], (26, 26, 26))

    def test_more_channels_than_are_read_at_once(self):
        f = small_scene(slots=70)
        f.channels = {i: Channel(type=3, label=b"N%d" % i, rows=[[i, 0, 0, 0]] * 3) for i in range(70)}
        page = self.page(f)
        self.assertEqual([row[5] for row in self.table(page, "Channels")[1:]],
                         [str(i) for i in range(70)])
        self.assertEqual(list(self.cards(page)), ["N%d" % i for i in range(70)])

    def test_the_same_input_gives_the_same_bytes(self):
        self.page(rich_scene())
        first = self.got("a.html")
        self.page(rich_scene())
        self.assertEqual(self.got("a.html"), first)


class Map(Report):
    @staticmethod
    def points(path):
        return [tuple(map(float, p.split())) for p in re.findall(r"[ML]([^MLZ]*)", path.attributes["d"])]

    def map_of(self, scene):
        return self.page(scene).first("svg", "map")

    def test_north_is_up_and_west_is_left(self):
        shown = self.map_of(small_scene())
        outline = self.points(shown.first("path", "outline"))
        start = shown.first("circle").attributes
        self.assertEqual((float(start["cx"]), float(start["cy"])), outline[0])
        xs, ys = [x for x, _ in outline], [y for _, y in outline]
        self.assertLess(outline[0][0], (min(xs) + max(xs)) / 2)
        self.assertLess(outline[0][1], (min(ys) + max(ys)) / 2)
        self.assertEqual(outline[0], outline[-1])

    def test_distances_are_true(self):
        # 2 degrees of latitude are as long as the scale says: 111.195 km each.
        shown = self.map_of(small_scene())
        bar = shown.first("path", "scale").attributes["d"]
        pixels = float(re.search(r"h([\d.]+)", bar).group(1))
        kilometres = float(next(t for t in shown.all("text") if "km" in t.text()).text().split()[0])
        track = self.points(shown.first("path", "track"))
        length = abs(track[-1][1] - track[0][1]) / pixels * kilometres
        self.assertAlmostEqual(length, 2 * 111.195, delta=2.0)

    def test_labels_of_the_grid(self):
        texts = [t.text() for t in self.map_of(small_scene()).all("text")]
        for label in ("48\u00b0 N", "50\u00b0 N", "10\u00b0 E", "12\u00b0 E"):
            self.assertIn(label, texts)

    def test_a_scene_across_the_date_line_is_one_piece(self):
        f = small_scene()
        for line in f.lines:
            line.lat, line.lon = [0.0 - line.lat[0] / 10] * 2, [179.0, -178.0]
        f.channels = {0: f.channels[0]}
        shown = self.map_of(f)
        xs = [x for x, _ in self.points(shown.first("path", "outline"))]
        # 3 degrees wide, 0.2 high, on a map of 1.36 times its size: 3 / 1.36 / 3 of the frame's 554.
        self.assertAlmostEqual(max(xs) - min(xs), 554 / 1.36, delta=2.0)
        texts = [t.text() for t in shown.all("text")]
        for label in ("179\u00b0 E", "180\u00b0", "179\u00b0 W"):
            self.assertIn(label, texts)

    def test_a_scene_at_the_pole(self):
        f = small_scene()
        for line, lon in zip(f.lines, (0.0, 90.0, 180.0)):
            line.lat, line.lon = [89.0, 89.5], [lon, lon]
        self.assertEqual(len(list(self.map_of(f).all("path", "outline"))), 1)

    def test_a_scene_of_one_point(self):
        f = small_scene(pixels=1, nav_points=1)
        f.channels = {0: Channel(type=3, label=b"N", rows=[[1]])}
        f.lines = f.lines[:1]
        f.lines[0].lat, f.lines[0].lon, f.lines[0].right = [50.0], [10.0], 0
        self.assertIn("50.0000\u00b0 N", [t.text() for t in self.map_of(f).all("text")])

    def test_no_map_without_positions(self):
        f = small_scene()
        for line in f.lines:
            line.lat, line.lon = [-999.0, -999.0], [-999.0, -999.0]
        self.assertEqual(list(self.page(f).all("svg", "map")), [])

    def test_no_track_where_the_nadir_is_outside(self):
        f = small_scene()
        for line in f.lines:
            line.nadir = -1
        page = self.page(f)
        self.assertEqual(list(page.all("path", "track")), [])
        self.assertIn("The nadir is not in the scene.", page.first("section", "intro").text())


class Parts(Report):
    def both(self):
        fine = small_scene(resolution=15.0)
        base = small_scene(pixels=2, resolution=30.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        return container([(base.bytes(), 30.0), (fine.bytes(), 15.0)])

    def test_parts_stand_side_by_side(self):
        page = self.page(self.both())
        parts = self.cards(page, "Parts")
        self.assertEqual(list(parts), ["Part 0", "Part 1"])
        self.assertEqual(self.facts(parts["Part 0"]),
                         {"Grid": "2 \u00d7 1 pixels of 30 m", "Sampling": "base", "Channels": "T",
                          "First line": "2020-02-29T12:00:00.000Z"})
        self.assertEqual(self.facts(parts["Part 1"])["Sampling"], "average 2")
        self.assertEqual(self.facts(parts["Part 1"])["Channels"], "B1 CLS RAW")
        self.assertEqual(len(self.image(parts["Part 1"])), 3)

    def test_channels_name_their_part(self):
        rows = self.table(self.page(self.both()), "Channels")
        self.assertEqual([row[:3] for row in rows],
                         [["slot", "part", "label"], ["#0", "0", "T"], ["#1", "1", "B1"],
                          ["#2", "1", "CLS"], ["#3", "1", "RAW"]])

    def test_each_footprint_is_drawn(self):
        shown = self.page(self.both()).first("svg", "map")
        self.assertEqual(len(list(shown.all("path", "outline"))), 2)


class Output(Report):
    def test_wrong_usage(self):
        self.put("a.zel", small_scene())
        self.fails("look a.zel -o a.png --report a.html",
                   "zel look: give -o or --report, not both; see zel look --help", 2)

    def test_an_existing_page_is_refused(self):
        self.put("a.zel", small_scene())
        self.put("a.html", b"mine")
        self.fails("look a.zel --report a.html", "zel look: a.zel: a.html exists; --overwrite replaces it")
        self.assertEqual(self.got("a.html"), b"mine")

    def test_a_scene_without_lines_or_channels_leaves_nothing(self):
        for words, change in (("has no lines", {"lines": []}), ("has no channels", {"channels": {}})):
            f = small_scene()
            for name, value in change.items():
                setattr(f, name, value)
            self.put("a.zel", f)
            self.fails("look a.zel --report a.html", "zel look: a.zel: " + words)
        self.assertEqual(self.names(), ["a.zel"])

    def test_the_page_is_announced(self):
        self.put("a.zel", small_scene())
        self.check("look a.zel --report a.html", "", "zel look: a.html: open it in a browser\n")


@unittest.skipUnless(BROWSER, "chromium is not installed")
class Browser(Report):
    """Chromium without a window. What goes wrong in a page it says on standard error."""

    def browse(self, name, *words):
        with tempfile.TemporaryDirectory(dir=self.dir) as profile:
            done = subprocess.run(
                [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--hide-scrollbars", "--user-data-dir=" + profile, "--enable-logging=stderr", *words,
                 "file://%s" % (self.dir / name)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.PIPE, cwd=self.dir, timeout=120,
                env=dict(os.environ, HOME=str(self.dir)))
        self.assertEqual(done.returncode, 0, done.stderr.decode("utf-8", "replace")[-2000:])
        said = done.stderr.decode("utf-8", "replace")
        return done.stdout.decode("utf-8", "replace"), [s for s in said.splitlines() if "CONSOLE" in s]

    def test_what_goes_wrong_is_noticed(self):
        self.put("bad.html", b"<!DOCTYPE html><meta http-equiv='Content-Security-Policy' "
                 b"content=\"img-src data:\"><img src='other.png'>")
        self.assertNotEqual(self.browse("bad.html", "--dump-dom")[1], [])

    def test_a_page_opens_without_an_error_and_shows_its_picture(self):
        self.page(rich_scene(), "-c", "CLS", "--width", "200")
        document, errors = self.browse("a.html", "--dump-dom")
        self.assertEqual(errors, [])
        self.assertIn("</footer>", document)
        self.browse("a.html", "--window-size=600,400", "--screenshot=" + str(self.dir / "a.png"))
        width, height, rows = read_png(self.got("a.png"))
        self.assertEqual((width, height), (600, 400))
        self.assertEqual(rows[0][0], (0xfa, 0xfa, 0xf8))
        seen = {color for row in rows for color in row}
        self.assertLessEqual({SEA, GRASS, FIRE}, seen)

    @needs_scenes
    def test_the_page_of_a_container_of_real_scenes(self):
        make_container(self.dir, [SCENES / "landsat8_gulf_30m.zel", SCENES / "landsat8_gulf_90m.zel",
                                  SCENES / "landsat8_gulf_15m.zel"], "a.zel")
        page = self.page((self.dir / "a.zel").read_bytes())
        self.assertEqual(list(self.cards(page, "Parts")), ["Part 0", "Part 1", "Part 2"])
        document, errors = self.browse("a.html", "--dump-dom")
        self.assertEqual(errors, [])
        self.assertEqual(document.count("<img "), 1 + 3 + 16)


if __name__ == "__main__":
    main()
