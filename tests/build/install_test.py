"""What is installed, and that the program finds its agent there: install_test.py BUILD"""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

EXPECTED = {
    "bin/fillstation",
    "bin/fillstation-check",
    "lib/udev/rules.d/60-fillstation.rules",
    "libexec/fillstation/fillstation-agent",
    "share/applications/fillstation.desktop",
    "share/icons/hicolor/scalable/apps/fillstation.svg",
    "share/icons/hicolor/symbolic/apps/fillstation-symbolic.svg",
    "share/man/man1/fillstation-check.1",
    "share/man/man1/fillstation.1",
    "share/metainfo/example.fillstation.fillstation.metainfo.xml",
}

with tempfile.TemporaryDirectory() as scratch:
    prefix = Path(scratch) / "prefix"
    subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL)
    files = {str(file.relative_to(prefix)) for file in prefix.rglob("*") if file.is_file()}
    assert files == EXPECTED, files
    environment = {**os.environ, "HOME": scratch, "QT_QPA_PLATFORM": "offscreen",
                   "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={scratch}/none"}
    program = subprocess.Popen([prefix / "bin/fillstation"], env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    while "end event" not in program.stdout.readline():
        pass
    program.terminate()
    _, log = program.communicate()
    assert program.returncode == 0, program.returncode
    assert "fillstation-agent is missing" not in log, log
