"""The emulated machine itself: QEMU, its disks, its shares and the line to the helper inside."""

import functools
import json
import os
import pathlib
import random
import shlex
import shutil
import socket
import subprocess
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
QEMU = "qemu-system-x86_64"
# Emulated code is translated once for each address: programs have to be where they were before.
QUICK = "norandmaps mitigations=off tsc=reliable clocksource=tsc"
KERNEL_LINE = f"console=ttyS0 root=/dev/vda rw quiet loglevel=4 systemd.show_status=0 {QUICK}"
PROBE_SECONDS = 6
# Two boxes run side by side: with more than there are processors they wait for each other.
CORES = min(4, max(1, (os.cpu_count() or 1) // 2))
BOOT_SECONDS = 400
SPARE_SIZE = 16 << 20
UNLIMITED = 1 << 40  # bytes a second


@functools.cache
def kvm_works(image):
    """Whether a guest really runs with hardware acceleration: the device node alone proves nothing."""
    if not os.access("/dev/kvm", os.R_OK | os.W_OK):
        return False
    command = [QEMU, "-accel", "kvm", "-cpu", "max", "-m", "256", "-display", "none", "-nodefaults"]
    command += ["-no-reboot", "-serial", "stdio", "-kernel", str(image / "vmlinuz")]
    command += ["-initrd", str(image / "initrd"), "-append", "console=ttyS0 quiet box.probe"]
    try:
        done = subprocess.run(
            command, stdin=subprocess.DEVNULL, capture_output=True, timeout=PROBE_SECONDS, check=False
        )
    except subprocess.TimeoutExpired:
        return False
    return b"box.probe: alive" in done.stdout


class Machine:
    """One running machine. call() asks the helper inside; close() throws the machine away.

    It goes on from where a snapshot was taken, or boots the image without one."""

    def __init__(self, image, out, programs=(), snapshot=None, extra=()):
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="box-"))
        self._image, self._out, self._extra = image, out, extra
        self.accelerated = kvm_works(image)
        self.console, self._log = out / "console.log", out / "qemu.log"
        for log in (self.console, self._log):
            log.unlink(missing_ok=True)
        self._share(programs)
        self.spare = self._folder / "spare"
        self.spare.write_bytes(random.Random(1).randbytes(SPARE_SIZE))
        base, form = (snapshot / "root", "qcow2") if snapshot else (image / "root.ext4", "raw")
        overlay = ["-f", "qcow2", "-b", str(base), "-F", form, str(self._folder / "root")]
        subprocess.run(["qemu-img", "create", "-q", *overlay], check=True)
        memory = snapshot and f"exec:cat {shlex.quote(str(snapshot / 'memory'))}"
        self._begin(["-incoming", memory] if memory else [])

    def _share(self, programs):
        """The folder that the machine sees as /box/in."""
        share = self._folder / "share"
        shutil.copytree(HERE / "guest", share / "guest")
        (share / "bin").mkdir()
        share.chmod(0o755)
        for program in programs:
            shutil.copy2(program, share / "bin" / program.name)

    def _begin(self, more=()):
        with open(self._log, "ab") as log:
            streams = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log}
            self._process = subprocess.Popen([*self._command(), *more], **streams)
        self._link = None
        self._lines = None

    def cut_power(self):
        """The machine stops at once, and boots again from the present contents of its disk."""
        self._process.kill()
        self._process.wait()
        self._link.close()
        self._begin()

    def _command(self):
        # Newer processors' instructions are emulated byte by byte.
        processor = ["kvm", "-cpu", "max"] if self.accelerated else ["tcg,thread=multi", "-cpu", "Nehalem"]
        # However this process ends, its machine ends with it.
        command = ["setpriv", "--pdeathsig", "TERM", QEMU, "-accel", *processor]
        command += ["-smp", str(CORES), "-m", "3072", "-nodefaults"]
        command += ["-no-reboot", "-display", "none", "-kernel", str(self._image / "vmlinuz")]
        command += ["-initrd", str(self._image / "initrd"), "-append", KERNEL_LINE]
        command += ["-chardev", f"file,id=console,path={self.console},append=on"]
        command += ["-serial", "chardev:console"]
        disk = self._folder / "root"
        command += ["-drive", f"file={disk},if=virtio,format=qcow2,cache=writeback"]
        command += ["-drive", f"file={self.spare},if=virtio,format=raw,cache=writethrough"]
        command += self._shared(self._folder / "share", "box-in", ",readonly=on")
        command += self._shared(self._out, "box-out", "")
        command += ["-device", "virtio-serial-pci", "-device", "virtio-rng-pci"]
        command += ["-chardev", f"socket,id=helper,path={self._socket('helper')},server=on,wait=off"]
        command += ["-device", "virtserialport,chardev=helper,name=box.helper"]
        command += ["-qmp", f"unix:{self._socket('control')},server=on,wait=off"]
        return command + list(self._extra)

    @staticmethod
    def _shared(folder, tag, more):
        return ["-virtfs", f"local,path={folder},mount_tag={tag},security_model=none{more}"]

    def _socket(self, name):
        return str(self._folder / name)

    def _connected(self, name):
        link = socket.socket(socket.AF_UNIX)
        end = time.monotonic() + 10
        while True:
            try:
                link.connect(self._socket(name))
                return link
            except OSError:
                if time.monotonic() >= end or self._process.poll() is not None:
                    raise RuntimeError(self._log.read_text()) from None
                time.sleep(0.05)

    def call(self, op, *args, timeout=120, **named):
        """Asks the helper inside and returns its answer; its failure is raised here."""
        if self._link is None:
            self._link = self._connected("helper")
            self._lines = self._link.makefile("rb")
        request = {"op": op, "args": args, "named": named}
        self._link.settimeout(timeout)
        self._link.sendall(json.dumps(request).encode() + b"\n")
        answer = json.loads(self._lines.readline())
        if "error" in answer:
            raise RuntimeError(f"{op} failed inside the box:\n{answer['error']}")
        return answer["result"]

    def wait_for_session(self):
        end = time.monotonic() + BOOT_SECONDS
        while not self.call("session_ready", timeout=BOOT_SECONDS):
            if time.monotonic() >= end:
                raise RuntimeError("The user's session did not come up in the box")
            time.sleep(0.2)

    def save(self, folder):
        """Ends the machine, and keeps it as it is: its disk and its memory, in a folder."""
        with self._connected("control") as link:
            lines = link.makefile("rb")
            self._control(link, lines, "qmp_capabilities")
            self._control(link, lines, "migrate-set-parameters", **{"max-bandwidth": UNLIMITED})
            memory = shlex.quote(str(folder / "memory"))
            self._control(link, lines, "migrate", uri=f"exec:cat >{memory}")
            while (state := self._control(link, lines, "query-migrate")["status"]) != "completed":
                if state in ("failed", "cancelled"):
                    raise RuntimeError(f"The machine could not be saved: {self._log.read_text()}")
                time.sleep(0.1)
            self._control(link, lines, "quit")
        self._process.wait()
        shutil.move(self._folder / "root", folder / "root")

    @staticmethod
    def _control(link, lines, command, **arguments):
        """Has QEMU do something; its answer."""
        link.sendall(json.dumps({"execute": command, "arguments": arguments}).encode() + b"\n")
        for line in lines:
            answer = json.loads(line)
            if "error" in answer:
                raise RuntimeError(f"{command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]
        raise RuntimeError(f"{command}: QEMU has ended")

    def wait(self):
        self._process.wait()

    def close(self):
        self._process.terminate()
        self._process.wait()
        if self._link is not None:
            self._link.close()
        shutil.rmtree(self._folder, ignore_errors=True)
