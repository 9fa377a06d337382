"""Every command of the documents is tested, in the place that commands.py names."""

import re
import unittest

import commands
from commands import HOW, InCI, InScenario, ROOT, Started


class Commands(unittest.TestCase):
    def test_every_command_of_the_documents_is_tested(self):
        self.assertEqual(commands.all_commands() - set(HOW), set())

    def test_every_tested_command_is_in_a_document(self):
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


if __name__ == "__main__":
    unittest.main()
