"""Files other than scenes that are not regular files: one without an end is an error within a moment, one
that cannot seek is not opened where seeking is needed, and a pipe with a writer is read like a file."""
import os
import subprocess
import threading

from harness import TOOL, main
from vorn_case import ENTRY, NO_RASTER, TEXT, Lut, LutTest
from vornfile import labels_file, lut_channel

TOO_LONG = "error parsing LUT file line %d\n"
EMPTY_LINES = 1000000


class WithoutAnEnd(LutTest):
    def test_zeros_for_a_definition_file(self):
        self.refused("-vorn v -vorn_lut /dev/zero", TOO_LONG % EMPTY_LINES)

    def test_zeros_for_a_definition_file_that_begins_well(self):
        """The title, the scale and the count are three lines, the entry a fourth."""
        for text, lines in ((TEXT, 4), (TEXT[:TEXT.index(b"1 1 1")], 3)):
            with open(self.dir / "l", "wb") as stream:
                stream.write(text)
                stream.truncate(240 * (EMPTY_LINES + 10))
            self.refused("-vorn v -vorn_lut l", TOO_LONG % (lines + EMPTY_LINES))

    def test_a_pipe_of_comments_for_a_definition_file(self):
        none = str(self.dir / "no_data")
        env = dict(os.environ, ZEL_DATA_DIR=none, EPA_DATA_DIR=none, CC_DATA_DIR=none)
        with subprocess.Popen(["yes", "# comment"], stdout=subprocess.PIPE) as endless:
            done = subprocess.run([TOOL] + "-i a -o out -vorn v -vorn_lut /dev/stdin".split(),
                                  cwd=self.dir, env=env, stdin=endless.stdout, timeout=60,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            endless.kill()
        self.assertEqual((done.returncode, done.stderr), (255, b""))
        self.assertTrue(done.stdout.decode().endswith(TOO_LONG % EMPTY_LINES))
        self.absent("out")

    def test_zeros_for_a_text_header(self):
        self.refused("-vorn v -vorn_hdr /dev/zero", "error reading header file\n")

    def test_zeros_for_a_feature_header(self):
        status, _, err = self.run_both("-i a -o out -vorn v -vorn_lut_cc -feat_hdr /dev/zero".split())
        self.assertEqual(status, 255)
        self.assertIn("cannot read zel_feature header file /dev/zero\n", err)
        self.absent("out")

    def test_zeros_for_a_raster(self):
        self.refused("-vorn /dev/zero", NO_RASTER % "/dev/zero")


class Pipes(LutTest):
    def feed(self, name, data):
        """A pipe of that name with a thread that writes the data once."""
        path = self.dir / name
        os.mkfifo(path)
        writer = threading.Thread(target=lambda: path.write_bytes(data), daemon=True)
        writer.start()
        self.addCleanup(writer.join, 10)

    def test_a_raster_that_is_a_pipe_is_not_opened(self):
        os.mkfifo(self.dir / "p")
        self.refused("-vorn p", NO_RASTER % "p")

    def test_a_definition_file_that_is_a_pipe(self):
        self.feed("p", TEXT)
        self.appends("-vorn v -vorn_lut p", [(lut_channel(b"v", b"T", self.rows), self.rows)],
                     [Lut(1, b"T", ENTRY)])

    def test_a_text_header_that_is_a_pipe(self):
        self.feed("p", labels_file(["from a pipe"]))
        self.feed("q", TEXT)
        self.appends("-vorn v -vorn_hdr p -vorn_lut q",
                     [(lut_channel(b"from a pipe", b"T", self.rows), self.rows)],
                     [Lut(1, b"T", ENTRY)])


if __name__ == "__main__":
    main()
