#!/usr/bin/env python3
"""What holds for every verb: help, usage errors, messages, standard streams, completion, manual pages."""
import json
import os
import pty
import re
import shutil
import signal
import subprocess
import time
import unittest

from zel_case import ZEL, ZelTest, main
from command_verbs import VERBS
from scene import small_scene


class Command(ZelTest):
    def test_version(self):
        self.check("--version", "zel 2.3\n")

    def test_help_lists_every_verb(self):
        for words in ("--help", "help", "-h"):
            status, out, err = self.run_zel(words)
            self.assertEqual((status, err), (0, ""))
            listed = re.search(r"Verbs:\n((?:  .*\n)*)", out).group(1)
            self.assertEqual([line.split()[0] for line in listed.splitlines()], VERBS)

    def test_help_of_a_verb_has_usage_options_example_and_exit_status(self):
        for verb in VERBS:
            status, out, err = self.run_zel(verb, "--help")
            self.assertEqual((status, err), (0, ""))
            self.assertEqual(self.run_zel("help", verb), (0, out, ""))
            self.assertTrue(out.startswith("zel %s - " % verb))
            for part in ("\nUsage: zel %s [options] " % verb, "\nOptions:\n", "  -h, --help ",
                         "\nExamples:\n  zel %s " % verb, "\nExit status: 0 done; 1 "):
                self.assertIn(part, out)
            self.assertLessEqual(max(map(len, out.splitlines())), 79)

    def test_help_of_help_and_of_completion(self):
        main_help = self.run_zel("--help")[1]
        for words in ("help help", "help --help", "help -h"):
            self.check(words, main_help)
        status, out, err = self.run_zel("completion", "--help")
        self.assertEqual((status, err), (0, ""))
        self.assertIn("\nUsage: zel completion bash|zsh|fish\n", out)
        self.check("help completion", out)

    def test_no_verb_prints_the_help_on_standard_error(self):
        status, out, err = self.run_zel()
        self.assertEqual((status, out), (2, ""))
        self.assertIn("Usage: zel VERB", err)

    def test_an_unknown_verb_is_wrong_usage(self):
        self.fails("inspect x", "zel: unknown verb 'inspect'; see zel --help", 2)
        self.fails("help inspect", "zel: unknown verb 'inspect'; see zel --help", 2)

    def test_an_unknown_option_is_wrong_usage(self):
        for verb in VERBS:
            status, out, err = self.run_zel(verb, "--frobnicate", "x", "1", "2")
            self.assertEqual((status, out), (2, ""), verb)
            self.assertIn("zel %s: " % verb, err)
            self.assertIn("--frobnicate", err)

    def test_a_missing_operand_is_wrong_usage(self):
        self.fails("info", "zel info: FILE is required; see zel info --help", 2)

    def test_an_unknown_choice_is_wrong_usage(self):
        self.assertEqual(self.run_zel("info", "--progress", "loud", "x")[0], 2)

    def test_what_is_no_scene(self):
        self.put("text", b"hello, this is no scene at all")
        (self.dir / "folder").mkdir()
        os.mkfifo(self.dir / "pipe")
        self.fails("info none", "zel info: none: No such file or directory")
        self.fails("info folder", "zel info: folder: is a directory")
        self.fails("info pipe", "zel info: pipe: is not a regular file")
        self.fails("info text", "zel info: text: not a ZEL file, or of an unsupported version")

    def test_a_damaged_header_is_reported_with_its_place(self):
        data = bytearray(small_scene().bytes())
        data[1225:1227] = (4711).to_bytes(2, "little")
        self.put("gulf.zel", bytes(data))
        self.fails("info gulf.zel", "zel info: gulf.zel: corrupt header: MaxNumChan 4711 at offset 1225")

    def test_a_file_of_a_newer_version(self):
        data = bytearray(small_scene().bytes())
        data[3:6] = b"2.9"
        self.put("new.zel", bytes(data))
        self.fails("info new.zel", "zel info: new.zel: ZEL Library version 2.9 or higher needed "
                   "to open file")

    def test_one_bad_file_does_not_stop_the_others(self):
        self.put("a", small_scene())
        status, out, err = self.run_zel("info", "none", "a", "none2", "--get", "scene.date")
        self.assertEqual((status, out), (1, "2020-02-29\n"))
        self.assertEqual(err, "zel info: none: No such file or directory\n"
                              "zel info: none2: No such file or directory\n")

    def test_one_bad_file_does_not_stop_the_others_of_any_verb(self):
        f = small_scene()
        f.channels[2].rows[2][3] = 2
        self.put("a", f)
        for verb, result in (("check", "a: ok, 3 lines, 3 channels\n"), ("dump", None)):
            status, out, err = self.run_zel(verb, "none", "a")
            self.assertEqual((status, err), (1, "zel %s: none: No such file or directory\n" % verb))
            self.assertEqual(out, result or "a\n" + self.run_zel("dump", "a")[1])

    def test_the_chatter_of_the_library_appears_only_with_v(self):
        self.put("a", small_scene())
        status, out, err = self.run_zel("info", "-v", "a", "--get", "scene.date")
        self.assertEqual((status, out), (0, "2020-02-29\n"))
        self.assertIn("zel info: make sure environment variable ZEL_DATA_DIR is set properly\n", err)
        self.check("info a --get scene.date", "2020-02-29\n")

    def test_results_that_cannot_be_written_are_an_error(self):
        self.put("a", small_scene())
        with open("/dev/full", "w") as full:
            done = subprocess.run([str(ZEL), "info", "a"], cwd=self.dir, stdout=full, env=self.env,
                                  stderr=subprocess.PIPE, timeout=60)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (1, "zel info: cannot write to standard output: No space left on device\n"))

    def test_a_reader_that_goes_away_is_no_complaint(self):
        self.put("a", small_scene())
        read, write = os.pipe()
        os.close(read)
        done = subprocess.run([str(ZEL), "info", "a"], cwd=self.dir, stdout=write, env=self.env,
                              stderr=subprocess.PIPE, timeout=60)
        os.close(write)
        self.assertEqual((done.returncode, done.stderr), (1, b""))

    def test_closed_standard_streams_do_no_harm(self):
        self.put("a", small_scene())
        done = subprocess.run(["sh", "-c", 'exec "$0" info a --get scene.date <&- 2>&-', str(ZEL)],
                              cwd=self.dir, stdout=subprocess.PIPE, env=self.env, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (0, b"2020-02-29\n"))

    def test_progress_as_json(self):
        self.put("a", small_scene())
        status, out, err = self.run_zel("info", "--stats", "--progress=json", "--get", "lines", "a")
        self.assertEqual((status, out), (0, "3\n"))
        lines = err.splitlines()
        self.assertRegex(lines[0], r'^\{"progress":\{"task":"a","done":0,"total":3,"seconds":[0-9.]+\}\}$')
        self.assertRegex(lines[-1], r'"done":3,"total":3,')

    def test_progress_is_json_whatever_the_name_of_the_file(self):
        self.put('a "quoted"\\', small_scene())
        err = self.run_zel("info", "--stats", "--progress=json", 'a "quoted"\\', "--get", "lines")[2]
        for line in err.splitlines():
            self.assertEqual(json.loads(line)["progress"]["task"], 'a "quoted"\\')

    def progress_on_a_terminal(self, *words):
        """What a run that is stopped again and again, for seconds in all, writes to a terminal."""
        lines = 400000
        f = small_scene()
        line = f.bytes()[-64:]  # 8 + 4 + 3 x 4 + 2 x 4 + 2 x 2 x 4 + 4 x (1 + 1 + 2)
        self.put("a", f.bytes() + line * lines)
        terminal, side = pty.openpty()
        run = subprocess.Popen([str(ZEL), "info", "--stats", "a", "--get", "lines", *words], cwd=self.dir,
                               env=self.env, stdout=subprocess.PIPE, stderr=side)
        os.close(side)
        stops = 0
        while run.poll() is None:
            run.send_signal(signal.SIGSTOP)
            time.sleep(0.5 if stops < 8 else 0.02)
            stops += 1
            run.send_signal(signal.SIGCONT)
            time.sleep(0.004)
        seen = b""
        try:
            while data := os.read(terminal, 4096):
                seen += data
        except OSError:
            pass  # the other side is closed
        os.close(terminal)
        self.assertEqual((run.communicate()[0], run.returncode), (b"%d\n" % (lines + 3), 0))
        return seen.decode()

    def test_a_bar_on_a_terminal_after_a_second(self):
        seen = self.progress_on_a_terminal()
        self.assertRegex(seen, r"a \[=* *\] +\d+ %, \d+ s left")
        self.assertTrue(seen.endswith("\r\x1b[K"), seen)  # and nothing is left of it
        self.assertEqual(self.progress_on_a_terminal("-q"), "")

    def test_no_bar_in_a_pipe(self):
        self.put("a", small_scene())
        self.check("info --stats a --get lines", "3\n")


class Manual(ZelTest):
    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_the_pages_are_well_formed(self):
        for words in [[]] + [[verb] for verb in VERBS]:
            page = self.run_zel("--man", *words)[1]
            done = subprocess.run(["mandoc", "-Tlint", "-W", "warning"], input=page.encode(),
                                  stdout=subprocess.PIPE, timeout=60)
            self.assertEqual(done.stdout.decode(), "", words)

    def test_a_page_holds_every_option(self):
        for verb in VERBS:
            page = self.run_zel("--man", verb)[1].replace("\\-", "-")
            help_text = self.run_zel("help", verb)[1]
            options = re.findall(r"^ +(?:-\w, )?(--[\w-]+)", help_text, re.MULTILINE)
            self.assertGreater(len(options), 3)
            for option in options:
                self.assertIn("\\fB%s\\fR" % option, page, verb)


class Completion(ZelTest):
    def test_an_unknown_shell(self):
        self.fails("completion tcsh", "zel: completion takes one of bash, zsh, fish; see zel --help", 2)
        self.fails("completion", "zel: completion takes one of bash, zsh, fish; see zel --help", 2)

    def bash(self, *words):
        """What bash offers after these words, the last one unfinished."""
        script = self.run_zel("completion", "bash")[1]
        line = "COMP_WORDS=(%s); COMP_CWORD=%d; _zel; printf '%%s\\n' \"${COMPREPLY[@]}\"" % (
            " ".join("'%s'" % w for w in words), len(words) - 1)
        done = subprocess.run(["bash", "--norc", "-c", script + line], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(done.stderr, b"")
        return done.stdout.decode().split()

    @unittest.skipUnless(shutil.which("bash"), "no bash")
    def test_bash(self):
        self.assertEqual(self.bash("zel", "inf"), ["info"])
        self.assertEqual(set(self.bash("zel", "")) - set(VERBS),
                         {"help", "completion", "--help", "--version"})
        self.assertEqual(self.bash("zel", "info", "--st"), ["--stats"])
        self.assertEqual(self.bash("zel", "info", "--progress", ""), ["auto", "json", "none"])
        self.assertEqual(self.bash("zel", "look", "--map", "v"), ["viridis"])
        self.assertEqual(self.bash("zel", "help", "pix"), ["pixel"])

    @unittest.skipUnless(shutil.which("zsh"), "no zsh")
    def test_zsh_loads_the_script(self):
        (self.dir / "_zel").write_text(self.run_zel("completion", "zsh")[1])
        done = subprocess.run(["zsh", "-fc", "autoload -U compinit; compinit -D -u; source ./_zel; "
                               "whence -w _zel; print $_comps[zel]"], cwd=self.dir,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        self.assertEqual(done.stdout.decode(), "_zel: function\n_zel\n")

    @unittest.skipUnless(shutil.which("zsh"), "no zsh")
    def test_zsh_completes_an_option_when_tab_is_pressed(self):
        (self.dir / "_zel").write_text(self.run_zel("completion", "zsh")[1])
        (self.dir / "press.zsh").write_text(
            "zmodload zsh/zpty\nzpty shell zsh -f -i\n"
            "zpty -w shell 'autoload -U compinit; compinit -D -u; source ./_zel; print rea''dy'\n"
            "zpty -r shell out '*ready*'\nzpty -n -w shell $'zel look --repo\\t'\n"
            "zpty -r shell out '*--report*'\nprint completed\n")
        done = subprocess.run(["zsh", "-f", "press.zsh"], cwd=self.dir, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=60)
        self.assertIn("completed", done.stdout.decode())

    @unittest.skipUnless(shutil.which("fish"), "no fish")
    def test_fish(self):
        (self.dir / "zel.fish").write_text(self.run_zel("completion", "fish")[1])
        done = subprocess.run(["fish", "--no-config", "-c",
                               "source zel.fish; complete -C 'zel info --sta'"],
                              cwd=self.dir, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        self.assertIn("--stats\t", done.stdout.decode())


if __name__ == "__main__":
    main()
