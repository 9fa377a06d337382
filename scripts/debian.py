"""Where the packages of a Debian release come from here: debian.py RELEASE FOLDER

Prints arguments of mmdebstrap, one a line: its options, and the files of apt's own configuration
that name the release, with their mirrors and keys. If none does, FOLDER gets those files for the
release that runs here, with the other name.
"""

import pathlib
import platform
import re
import subprocess
import sys


def _output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


def suites(release):
    return (release, f"{release}-updates", f"{release}-security")


def _files(release):
    """The files of apt's configuration with Debian's own sources for this release, each with the
    names that they give it."""
    form = "$(ORIGIN)|$(RELEASE)|$(CODENAME)|$(SOURCESENTRY)"
    answer = _output("apt-get", "indextargets", "--format", form, "Created-By: Packages")
    files = {}
    for line in answer.splitlines():
        origin, name, codename, entry = line.split("|")
        if origin == "Debian" and {name, codename} & set(suites(release)):
            path = pathlib.Path(entry.rpartition(":")[0])
            files.setdefault(path, set()).add(name.partition("-")[0])
    return files


def sources(release, folder):
    """Files with the sources of the release, for mmdebstrap and apt; new ones are in the folder."""
    found = list(_files(release))
    if found:
        return found
    for path, names in _files(platform.freedesktop_os_release().get("VERSION_CODENAME")).items():
        text = re.sub(rf"\b({'|'.join(names)})\b", release, path.read_text(encoding="utf-8"))
        found.append(folder / path.name)
        found[-1].write_text(text, encoding="utf-8")
    return found


def options(release):
    """What apt has been told here about reaching its mirror, as options of mmdebstrap."""
    wanted = ("Acquire::http", "Acquire::https", "Acquire::Check-")
    lines = (line.rstrip(";") for line in _output("apt-config", "dump").splitlines())
    told = [line for line in lines if line.startswith(wanted) and not line.endswith('""')]
    # A file of apt's configuration may name other suites too.
    told.append(f'APT::Default-Release "/^({"|".join(suites(release))})$/"')
    return [f"--aptopt={line}" for line in told]


def arguments(release, folder):
    """The options, and the files behind them; fails where apt has no source."""
    files = sources(release, folder)
    if not files:
        sys.exit(f"The packages of {release} are needed, and apt has no source for them here.\n"
                 f"Add one with the suite {release} to /etc/apt/sources.list.d, and run: "
                 "apt-get update")
    return options(release), [str(path) for path in files]


if __name__ == "__main__":
    told, paths = arguments(sys.argv[1], pathlib.Path(sys.argv[2]))
    print(*told, *paths, sep="\n")
