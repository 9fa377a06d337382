"""Every command of the documents is one that is tried, where commands.py says so."""

import re
import unittest

import commands
from commands import HOW, InCI, InScenario, ROOT, Started


class Commands(unittest.TestCase):
    def test_every_command_of_the_documents_is_tried(self):
        self.assertEqual(commands.all_commands() - set(HOW), set())

    def test_every_command_that_is_tried_is_in_a_document(self):
        self.assertEqual(set(HOW) - commands.all_commands(), set())

    def test_ci_has_the_steps(self):
        steps = re.findall(r'^step "[^"]+" (.+)$', (ROOT / ".ci/run").read_text(), re.MULTILINE)
        for command, how in HOW.items():
            if isinstance(how, InCI):
                self.assertIn(how.step, steps, command)
        if any(isinstance(how, Started) for how in HOW.values()):
            self.assertIn("tests/docs/start_commands", steps)
        self.assertIn("tests/vm/run --short", steps)

    def test_the_scenario_holds_its_commands(self):
        scenario = (ROOT / "tests/vm/scenarios_package.py").read_text()
        self.assertIn("@short_scenario\ndef the_package(box):", scenario)
        self.assertIn("commands_for_the_box()", scenario)
        for command, how in HOW.items():
            if isinstance(how, InScenario):
                self.assertIn(f'"{command}"', scenario)
        self.assertIn("import scenarios_package", (ROOT / "tests/vm/main.py").read_text())


class Reader(unittest.TestCase):
    def test_indented_lines_are_commands_without_their_remarks(self):
        text = "Do this:\n\n    ./one --two   # why\n    three\n\nand so on\n"
        self.assertEqual(commands.commands_in("a.md", text), ["./one --two", "three"])

    def test_a_command_in_a_sentence_is_found(self):
        text = "Look (`journalctl -b`), or `./run`; `flush` and `dd operation failed.` are none.\n"
        self.assertEqual(commands.commands_in("a.md", text), ["journalctl -b", "./run"])

    def test_examples_of_a_manual_page_are_commands(self):
        text = ".in +4n\n.EX\njournalctl \\-t fillstation\n.EE\n.PP\ntext\n"
        self.assertEqual(commands.commands_in("a.1", text), ["journalctl -t fillstation"])


if __name__ == "__main__":
    unittest.main()
