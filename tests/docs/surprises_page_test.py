"""The page of surprises: its commands say what it shows, and what it says of results is so."""
from array import array

from page_commands import Command, PageTest, commands
from harness import ROOT, main
from sample import sample
from vornfile import plane, raster
from zelfile import container, parse

PAGE = (ROOT / "docs" / "surprises.md").read_text()


class Commands(PageTest):
    FILES = {
        "a.zel": lambda: sample().bytes(),
        "b.zel": lambda: sample(500.0).bytes(),
        "two.zel": lambda: sample(codes=(3, 5)).bytes(),
        "two_components.zel": lambda: container(
            [(sample().bytes(), 1000.0), (sample(250.0).bytes(), 250.0)]),
        "good.vorn": lambda: raster([plane(8, 6, 0, 0.0)]),
    }
    NOT_THERE = {"out.zel"}

    def test_every_command_says_what_the_page_says(self):
        self.assertGreater(len(commands(PAGE)), 5)
        self.check_page(PAGE)

    def test_every_file_is_used(self):
        used = {name for command in commands(PAGE) for name in command.names()}
        self.assertEqual(set(self.FILES) - used, set())


class Results(PageTest):
    def one_grid(self, coarse, fine):
        self.put("a.zel", coarse)
        self.put("b.zel", fine)
        status, _, _ = self.run_command(Command("zel_combine -same_res -ib a.zel -i b.zel -o out.zel"))
        self.assertEqual(status, 0)
        return parse(self.got("out.zel"))

    def test_between_class_4_and_class_8_lies_class_6(self):
        fine = sample(500.0, 16, 12)
        fine.channels[0].rows = [array("B", [4, 8] * 8) for _ in range(12)]
        self.assertEqual([set(row) for row in self.one_grid(sample(), fine).channels[1].rows], [{6}] * 6)

    def test_the_output_ends_with_the_first_input_that_runs_out_of_lines(self):
        self.assertEqual(len(self.one_grid(sample(), sample(500.0, 16, 9)).lines), 4)


if __name__ == "__main__":
    main()
