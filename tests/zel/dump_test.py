#!/usr/bin/env python3
"""zel dump: the fields of a small scene with their places, hidden slots, damage, JSON."""
import json
import struct

from zel_case import ROOT, SCENES, ZelTest, follow, main, needs_scenes
from scene import small_scene

CHANNELS = 1221 + 2040 + 813 + 6 + 20008
RECORD = 284
LINES = CHANNELS + 6 * RECORD
LINE = 64


class Dump(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def fields(self, *words, name="a.zel"):
        status, out, err = self.run_zel("dump", name, "--json", *words)
        self.assertEqual((status, err), (0, ""))
        schema = json.loads((ROOT / "docs/zel/dump.schema.json").read_text())
        fields = [json.loads(line) for line in out.splitlines()]
        for field in fields:
            follow(field, schema)
        return fields

    def test_a_channel_record(self):
        at = CHANNELS + 2 * RECORD
        rows = [(0, 4, "int32", "ChannelPresentFlag", "1"), (4, 4, "float32", "MaxValue", "255"),
                (8, 4, "float32", "MinValue", "0"), (12, 4, "int32", "Type", "3"),
                (16, 4, "int32", "DataByteSize", "1"), (20, 4, "int32", "DataBitResolution", "8"),
                (24, 120, "text", "ChannelLabel", "CLS"), (144, 120, "text", "ChannelComment", "Cover"),
                (264, 4, "float32", "ChannelWaveLength", "0"), (268, 4, "int32", "Units", "5"),
                (272, 4, "int32", "BaseChannelFlag", "0")]
        out = self.run_zel("dump", "a.zel", "--record", "channel 2")[1].splitlines()
        self.assertEqual(out[0], "channel 2")
        self.assertEqual(out[1:12], [("%12d %7d  %-12s %-22s %s" % (at + o, size, kind, name, value))
                                     for o, size, kind, name, value in rows])

    def test_fields_follow_each_other_without_a_gap_to_the_end_of_the_file(self):
        fields = self.fields("--lines", "--all")
        at = 0
        for field in fields:
            self.assertEqual(field["offset"], at, field)
            at += field["size"]
        self.assertEqual(at, len(self.got("a.zel")))

    def test_pixels(self):
        fields = self.fields("--pixels", "--record", "line 1")
        self.assertEqual([(f["offset"], f["record"], f["type"], f["value"]) for f in fields
                          if f["name"] == "pixels"],
                         [(LINES + LINE + 48, "line 1 channel 0", "uint8[4]", "204 255 0 51"),
                          (LINES + LINE + 52, "line 1 channel 2", "uint8[4]", "2 2 1 0"),
                          (LINES + LINE + 56, "line 1 channel 5", "uint16[4]", "1000 2000 3000 4000")])

    def test_empty_slots_are_left_out_unless_all_is_asked_for(self):
        out = self.run_zel("dump", "a.zel")[1]
        self.assertTrue(out.endswith("\n3 empty channel slots are not shown; --all shows them\n"))
        self.assertNotIn("channel 1\n", out)
        self.assertIn("channel 2\n", out)
        whole = self.run_zel("dump", "a.zel", "--all")[1]
        self.assertIn("channel 1\n", whole)
        self.assertNotIn("not shown", whole)

    def test_one_record(self):
        self.put("a.zel", small_scene())
        out = self.run_zel("dump", "a.zel", "--record", "line 2")[1]
        # 8 bytes of time, 4 of altitude, 3 pixels and 2 nadir positions of 4, two points twice.
        self.assertEqual(out.splitlines()[0], "line 2")
        self.assertEqual([line.split()[3] for line in out.splitlines()[1:8]],
                         ["ScanTime", "ScanAltitude", "LeftPixel", "RightPixel", "NadirPixel", "NadirLat",
                          "NadirLon"])
        empty = self.run_zel("dump", "a.zel", "--record", "channel 1")[1].splitlines()
        self.assertEqual(empty[0], "channel 1")
        self.assertEqual(empty[1].split()[3:], ["ChannelPresentFlag", "0"])
        for name in ("line 3", "channel 6", "nothing"):
            self.fails(["dump", "a.zel", "--record", name], "zel dump: a.zel: has no record '%s'" % name)

    def test_long_values_are_cut_unless_all_is_asked_for(self):
        self.put("a.zel", small_scene(comment=b"x" * 500))
        self.assertIn(" " + "x" * 100 + " ...\n", self.run_zel("dump", "a.zel")[1])
        self.assertIn(" " + "x" * 500 + "\n", self.run_zel("dump", "a.zel", "--all")[1])

    def test_a_damaged_file_is_shown_up_to_the_damage(self):
        self.put("a.zel", small_scene().bytes()[:1240])
        status, out, err = self.run_zel("dump", "a.zel", "--record", "header")
        self.assertEqual((status, err), (1, "zel dump: a.zel: corrupt header: cut short in StartNavPoint at "
                                            "offset 1239\n"))
        self.assertTrue(out.endswith("        1235       4  int32        NumNavPoints           2\n"))

    def test_parts_of_a_container_are_named(self):
        from zelfile import container
        self.put("c.zel", container([(small_scene().bytes(), 30.0)] * 2))
        parts = {f["part"] for f in self.fields(name="c.zel")}
        self.assertEqual(parts, {0, 1})
        self.assertIn("part 1 header\n", self.run_zel("dump", "c.zel")[1])

    @needs_scenes
    def test_the_other_byte_order(self):
        name = SCENES / "goes16_maria_4km_v1.32_big_endian.zel"
        fields = {f["name"]: f for f in self.fields("--record", "header", name=name)}
        data = name.read_bytes()
        self.assertEqual(fields["julian"]["order"], "big")
        self.assertEqual(str(struct.unpack_from(">h", data, fields["julian"]["offset"])[0]),
                         fields["julian"]["value"])


if __name__ == "__main__":
    main()
