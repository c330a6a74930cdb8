"""Runs of the one-grid path over several components, beside what they must give."""
from harness import ToolTest, all_tables_trace, grids_missing, progress, report
from model import as_read, one_grid
from zelfile import container


EARLY = r"file %s \(resolution %g\) ended early: %d lines are missing$"     # warned of after the run


class ViewTest(ToolTest):
    def check_view(self, inputs, base_file=0, warns=(), **model):
        """inputs: files, or (files, stored base index) for a composite. Returns the file expected."""
        parts, base, words = [], None, ["-same_res", "-overwrite", "-o", "out"]
        for i, item in enumerate(inputs):
            files, stored = item if isinstance(item, tuple) else ([item], 0)
            if i == base_file:
                base = len(parts) + stored
            parts += files
            self.put("in%d" % i, files[0] if len(files) == 1 else container(
                [(f.bytes(), f.resolution) for f in files], stored))
            words += ["-ib" if i == base_file else "-i", "in%d" % i]
        reference = base if len(inputs) == 1 else base_file
        expected = one_grid(parts, base, reference, **model)
        opened = [all_tables_trace(as_read(f), "Read") for f in parts]
        self.check(words, opened[0] + grids_missing() + "".join(opened[1:])
                   + all_tables_trace(expected, "Write")
                   + report(expected, len(parts[reference].lines)) + progress(len(expected.lines)),
                   warns=warns)
        self.check_made("out", expected)
        return expected
