#!/usr/bin/env python3
"""Both forms of SHA-256, the portable one and that by the processor, against Python's."""
import hashlib
import random
import subprocess
import unittest

from zel_case import BIN, ZelTest, main

FORMS = BIN / "sha256_forms"


@unittest.skipUnless(FORMS.exists(), "no sha256_forms")
class Sha256(ZelTest):
    def check_forms(self, data, part):
        done = subprocess.run([str(FORMS), str(part)], input=data, stdout=subprocess.PIPE, check=True,
                              timeout=60)
        portable, fast = done.stdout.decode().split()
        expected = hashlib.sha256(data).hexdigest()
        self.assertEqual(portable, expected, "portable, %d bytes by %d" % (len(data), part))
        if fast != "none":
            self.assertEqual(fast, expected, "processor, %d bytes by %d" % (len(data), part))

    def test_lengths_around_block_boundaries(self):
        chance = random.Random(1)
        for size in [*range(0, 4), *range(53, 68), *range(117, 131), 191, 192, 193, 100_000]:
            self.check_forms(chance.randbytes(size), max(1, size))

    def test_bytes_that_come_in_parts(self):
        chance = random.Random(2)
        data = chance.randbytes(1000)
        for part in [1, 3, 31, 63, 64, 65, 127, 128, 129, 200]:
            self.check_forms(data, part)

    def test_random_lengths_and_parts(self):
        chance = random.Random(3)
        for _ in range(60):
            data = chance.randbytes(chance.randrange(2000))
            self.check_forms(data, chance.randrange(1, 300))

    def check_two(self, data, first, part):
        done = subprocess.run([str(FORMS), str(part), str(first)], input=data, stdout=subprocess.PIPE,
                              check=True, timeout=60)
        expected = [hashlib.sha256(data[:first]).hexdigest(), hashlib.sha256(data).hexdigest()]
        got = done.stdout.decode().split()
        how = "%d and %d bytes by %d" % (first, len(data), part)
        self.assertEqual(got[:2], expected, "portable, " + how)
        if got[2:] != ["none"]:
            self.assertEqual(got[2:], expected, "processor, " + how)

    def test_two_sums_at_once(self):
        chance = random.Random(4)
        data = chance.randbytes(1000)
        for first in (0, 1, 63, 64, 65, 500, 999, 1000):
            for part in (1, 63, 64, 65, 127, 128, 300, 1000):
                self.check_two(data, first, part)

    def test_two_sums_of_random_lengths(self):
        chance = random.Random(5)
        for _ in range(60):
            data = chance.randbytes(chance.randrange(3000))
            self.check_two(data, chance.randrange(len(data) + 1), chance.randrange(1, 700))


if __name__ == "__main__":
    main()
