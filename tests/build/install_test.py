"""The right files are installed, the links of their pages work, and the program finds its agent:
install_test.py BUILD"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

EXPECTED = {
    "bin/fillstation",
    "bin/fillstation-check",
    "bin/fillstation-report",
    "bin/fillstation-slots",
    "lib/udev/rules.d/60-fillstation.rules",
    "libexec/fillstation/fillstation-agent",
    "share/applications/fillstation.desktop",
    "share/doc/fillstation/SECURITY.html",
    "share/doc/fillstation/handbook.css",
    "share/doc/fillstation/handbook.html",
    "share/doc/fillstation/images/window-failed.png",
    "share/doc/fillstation/images/window-panel.png",
    "share/doc/fillstation/images/window-running.png",
    "share/doc/fillstation/images/window.png",
    "share/doc/fillstation/reliability.html",
    "share/doc/fillstation/troubleshooting.html",
    "share/icons/hicolor/scalable/apps/fillstation.svg",
    "share/icons/hicolor/symbolic/apps/fillstation-symbolic.svg",
    "share/man/man1/fillstation-check.1",
    "share/man/man1/fillstation-report.1",
    "share/man/man1/fillstation-slots.1",
    "share/man/man1/fillstation.1",
    "share/metainfo/example.fillstation.fillstation.metainfo.xml",
}

with tempfile.TemporaryDirectory() as scratch:
    prefix = Path(scratch) / "prefix"
    subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL)
    files = {str(file.relative_to(prefix)) for file in prefix.rglob("*") if file.is_file()}
    assert files == EXPECTED, files
    version = re.search(r"CMAKE_PROJECT_VERSION:STATIC=(.+)", Path(sys.argv[1], "CMakeCache.txt").read_text())
    for page in (prefix / "share/man/man1").iterdir():
        assert f'"Fillstation {version[1]}"' in page.read_text(), page
    for page in (prefix / "share/doc/fillstation").glob("*.html"):
        for path, anchor in re.findall(r'(?:href|src)="([^"#]*)#?([^"]*)"', page.read_text()):
            linked = page.parent / path if path else page
            assert linked.is_file(), f"{page.name} links to {path}"
            assert not anchor or f'id="{anchor}"' in linked.read_text(), f"{page.name}: {anchor}"
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
