"""The checks of this folder, on samples that must pass and samples that must not."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).parent


class Checks(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.root = Path(self.scratch.name)
        for folder in ("low", "high"):
            (self.root / folder).mkdir()
        (self.root / "low" / "Low.cpp").write_text("#include <string>\n")
        (self.root / "low" / "Low.h").write_text("#pragma once\n")
        (self.root / "high" / "High.h").write_text("#pragma once\n")
        source = str(self.root / "low" / "Low.cpp")
        command = f"{os.environ.get('CXX', 'c++')} -I{self.root}/low -o low/CMakeFiles/Low.o -c {source}"
        entry = {"directory": str(self.root), "command": command, "file": source}
        (self.root / "commands.json").write_text(json.dumps([entry]))

    def include(self, header):
        script = [sys.executable, HERE / "layers.py", "cannot"]
        arguments = [self.root / "commands.json", "low", header]
        return subprocess.run([*script, *arguments], capture_output=True, text=True)

    def scan(self, text=None):
        if text is not None:
            (self.root / "low" / "Low.cpp").write_text(text)
        script = [sys.executable, HERE / "layers.py", "only", self.root / "low"]
        return subprocess.run(script, capture_output=True, text=True).returncode

    def test_a_header_out_of_reach_passes(self):
        self.assertEqual(self.include('"High.h"').returncode, 0)

    def test_a_header_within_reach_is_found(self):
        result = self.include('"Low.h"')
        self.assertEqual(result.returncode, 1)
        self.assertIn("can include", result.stderr)

    def test_a_header_that_is_broken_is_no_proof(self):
        (self.root / "low" / "Low.h").write_text("#error broken\n")
        self.assertIn("not for want of a header", self.include('"Low.h"').stderr)

    def test_standard_and_plain_includes_pass(self):
        includes = ("<string>", "<wctype.h>", '"Low.h"  // why')
        self.assertEqual(self.scan("".join(f"#include {each}\n" for each in includes)), 0)

    def test_every_other_include_is_found(self):
        for header in ("<QString>", "<libudev.h>", "<unistd.h>", "<dbus/dbus.h>",
                       "<systemd/sd-bus.h>", '"../high/High.h"', '"high/High.h"', "HEADER"):
            with self.subTest(header=header):
                self.assertEqual(self.scan(f"#include {header}\n"), 1)
        self.assertEqual(self.scan("# include  <QString>\n"), 1)
        self.assertEqual(self.scan("#if __has_include(<QString>)\n#endif\n"), 1)

    def test_a_folder_without_sources_is_found(self):
        (self.root / "low" / "Low.h").unlink()
        (self.root / "low" / "Low.cpp").unlink()
        self.assertEqual(self.scan(), 1)


if __name__ == "__main__":
    unittest.main()
