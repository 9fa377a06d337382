"""A scratch copy of the tree with a build of its own, in which mutations are built and tested."""

import json
import os
import re
import select
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass, field
from pathlib import Path

NOT_COPIED = {".git", "build", "demo-out"}  # of the root
CONFIGURE = ["cmake", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O0 -w",
             "-DFILLSTATION_WERROR=OFF"]
NO_CACHE = {"CCACHE_DISABLE": "1"}  # no mutant is compiled twice
WHOLE = ["--gtest_fail_fast", "--gtest_brief=1"]
SLOWEST = 5  # times the time of a program without a mutation, and some seconds more
BUILD_SECONDS = 600  # a linker may hang
MARK = "FILLSTATION_MUTANT"
LIMITS = ["prlimit", f"--as={16 << 30}", f"--fsize={16 << 30}", "--core=0"]
KEPT_OUTPUT = 1 << 24  # more than the list of all tests takes


def run(command, folder, environment=None, mark="", seconds=None):
    """(exit status or None after the time-out, the beginning of the output). No process of the
    command is left behind: its group ends, and every process that carries the mark."""
    environment = {**os.environ, **(environment or {}), MARK: mark}
    process = subprocess.Popen(
        [*LIMITS, *command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output = _read(process, None if seconds is None else time.monotonic() + seconds)
        return process.poll(), output.decode(errors="replace")
    finally:
        _end(process, mark)


def _read(process, deadline):
    """The output of the process until it ends or the deadline passes."""
    output = b""
    pipe = process.stdout.fileno()
    while True:
        ended = process.poll() is not None
        is_late = deadline is not None and time.monotonic() > deadline
        if select.select([pipe], [], [], 0 if ended else 0.05)[0]:
            chunk = os.read(pipe, 1 << 16)
            output += chunk[: KEPT_OUTPUT - len(output)] if len(output) < KEPT_OUTPUT else b""
            if not chunk and not ended:
                time.sleep(0.05)  # it has closed its output, but is still running
        else:
            chunk = b""
        if is_late or (ended and not chunk):
            return output


def _end(process, mark):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
    process.stdout.close()
    if mark:
        end_marked(mark)


def end_marked(mark):
    """Ends every process with the mark, also those that have left their group."""
    while found := list(marked(mark)):
        for process in found:
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass


def marked(mark):
    wanted = f"{MARK}={mark}".encode()
    for folder in Path("/proc").iterdir():
        if folder.name.isdigit() and int(folder.name) != os.getpid():
            try:
                if wanted in (folder / "environ").read_bytes().split(b"\0"):
                    yield int(folder.name)
            except OSError:
                continue


@dataclass
class Program:
    """A test program as ctest knows it, with all the calls of it."""

    path: str  # relative to the build folder, which is its name for ninja
    environment: dict
    folder: str  # relative to the build folder
    calls: list  # lists of arguments
    executables: list = field(default_factory=list)  # itself and programs that it may start, like path


@dataclass
class Result:
    point: object
    outcome: str  # killed, hung, survived or unbuildable
    by: str = ""
    seconds: float = 0

    def describe(self):
        by = f" by {self.by}" if self.by else ""
        return f"{self.outcome}{by} ({self.seconds:.1f} s): {self.point.describe()}"


class Workshop:
    """One worker's tree and build. One thread at a time. Shared with the others: how many seconds a
    program takes, by its path, and how often it caught a mutation, by that and the source file."""

    def __init__(self, folder, seconds, kills):
        self.seconds, self.kills = seconds, kills
        self.tree = folder / "tree"
        self.build = self.tree / "build"  # in which the compiler cache knows the other trees' objects
        self.pristine = folder / "pristine"
        self.temporary = folder / "tmp"
        self.mark = str(folder)
        self.programs = []

    # --- preparation

    def prepare(self, root):
        """Copies the tree and builds everything, with the compiler cache."""
        shutil.copytree(root, self.tree, symlinks=True, ignore=lambda folder, names:
                        NOT_COPIED if Path(folder) == root else ())
        self.temporary.mkdir()
        linker = next((name for name in ("mold", "lld") if shutil.which(f"ld.{name}")), "")
        command = [*CONFIGURE, "-S", str(self.tree), "-B", str(self.build)]
        if linker:
            # mold 1.10 lays out programs now and then whose relocations can't be protected.
            command.append(f"-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld={linker} -Wl,-z,norelro")
        for step in (command, ["ninja", "-C", str(self.build)]):
            status, output = run(step, self.tree, mark=self.mark)
            if status != 0:
                raise SystemExit(f"The tree doesn't build without a mutation:\n{output[-5000:]}")
        self.programs = self._programs()
        for program in self.programs:
            program.executables = self._executables(program.path)

    def keep(self):
        """Everything that a mutation changes in the build is brought back from this copy."""
        shutil.copytree(self.build, self.pristine, symlinks=True)

    def end_processes(self):
        end_marked(self.mark)

    def _programs(self):
        status, output = run(["ctest", "--show-only=json-v1"], self.build,
                             {"QT_QPA_PLATFORM": "offscreen"}, self.mark)
        if status != 0:
            raise SystemExit(f"ctest can't list the tests:\n{output[-5000:]}")
        programs = {}
        for test in json.loads(output[output.index("{"):])["tests"]:
            self._add(programs, test)
        return list(programs.values())

    def _add(self, programs, test):
        command = test.get("command", [])
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        if not command or not command[0].startswith(f"{self.build}/"):
            return  # reads the sources or the build, and runs no code of the tree
        if properties.get("DISABLED"):
            return
        path = os.path.relpath(command[0], self.build)
        environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
        folder = properties.get("WORKING_DIRECTORY", str(self.build))
        # Without the variables that split a GoogleTest program into several calls and keep its results.
        plain = {key: text for key, text in environment.items() if not key.startswith("GTEST_")}
        program = programs.setdefault(
            path, Program(path, plain, os.path.relpath(folder, self.build), []))
        call = WHOLE if plain != environment else command[1:]
        if call not in program.calls:
            program.calls.append(call)

    def _executables(self, path):
        """Adds the programs that a program starts to its dependencies."""
        status, output = run(["ninja", "-t", "inputs", path], self.build, NO_CACHE, self.mark)
        if status != 0:
            raise SystemExit(f"ninja can't list what {path} needs:\n{output[-5000:]}")
        inputs = [self.build / line for line in output.splitlines()]
        return [path, *(os.path.relpath(each, self.build) for each in inputs
                        if each.is_relative_to(self.build) and each.is_file()
                        and os.access(each, os.X_OK))]

    def measure(self, program):
        """Runs the program without a mutation."""
        started = time.monotonic()
        failed = self._test(program, 600)
        if failed:
            raise SystemExit(f"Fails without a mutation: {program.path} {failed[1]}")
        self.seconds[program.path] = time.monotonic() - started

    # --- one mutation

    def judge(self, point):
        """Builds and tests one mutation, and leaves tree and build as they were."""
        started = time.monotonic()
        source = self.tree / point.path
        times = source.stat()
        text = source.read_bytes()
        try:
            source.write_text(mutated(text.decode(), point))
            outcome, by = self._judge(point)
        finally:
            source.write_bytes(text)
            os.utime(source, ns=(times.st_atime_ns, times.st_mtime_ns))
            self._restore()
        return Result(point, outcome, by, time.monotonic() - started)

    def _judge(self, point):
        """The order of the programs: first those that caught a mutation of this file before, then quick ones."""
        for program in sorted(self.programs, key=lambda each: (
                -self.kills[each.path, point.path], self.seconds[each.path])):
            status, _ = run(["ninja", "-j2", program.path], self.build, NO_CACHE, self.mark,
                            BUILD_SECONDS)
            if status != 0:
                return "unbuildable", ""
            if not self._is_changed(program):
                continue
            failed = self._test(program, self.seconds[program.path] * SLOWEST + 10)
            if failed:
                self.kills[program.path, point.path] += 1
                return failed[0], f"{Path(program.path).name} {failed[1]}".strip()
        return "survived", ""

    def _is_changed(self, program):
        """A program that another one has had built already is changed, too."""
        return any((self.build / path).stat().st_mtime_ns
                   != (self.pristine / path).stat().st_mtime_ns for path in program.executables)

    def _test(self, program, seconds):
        """("killed" or "hung", by which case), or nothing when every call passes."""
        environment = {**program.environment, "TMPDIR": str(self.temporary)}
        deadline = time.monotonic() + seconds
        for call in program.calls:
            status, output = run(
                [str(self.build / program.path), *call], self.build / program.folder, environment,
                self.mark, deadline - time.monotonic())
            if status is None:
                return "hung", ""
            if status != 0:
                case = re.search(r"\[  FAILED  \] ([^\s,]+)", output)
                return "killed", case.group(1) if case else f"exit status {status}"
        return None

    def _restore(self):
        for folder, _, names in os.walk(self.build):
            kept = self.pristine / os.path.relpath(folder, self.build)
            for name in names:
                _bring_back(Path(folder) / name, kept / name)
        for folder, _, names in os.walk(self.pristine):
            used = self.build / os.path.relpath(folder, self.pristine)
            for name in names:
                if not os.path.lexists(used / name):
                    shutil.copy2(Path(folder) / name, used / name, follow_symlinks=False)
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()


def _bring_back(used, kept):
    if not os.path.lexists(kept):
        used.unlink()
    elif used.lstat().st_mtime_ns != kept.lstat().st_mtime_ns:
        used.unlink()
        shutil.copy2(kept, used, follow_symlinks=False)


def mutated(text, point):
    assert text[point.start : point.end] == point.before, point
    return text[: point.start] + point.after + text[point.end :]
