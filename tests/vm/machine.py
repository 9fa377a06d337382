"""The emulated machine itself: QEMU, its disk, its shares and the line to the helper inside."""

import functools
import json
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

QEMU = "qemu-system-x86_64"
KERNEL_LINE = "console=ttyS0 root=/dev/vda rw quiet loglevel=4 systemd.show_status=0"
PROBE_SECONDS = 6
CORES = min(4, os.cpu_count() or 1)
BOOT_SECONDS = 400


@functools.cache
def _kvm_works(image):
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
    """One running machine. call() asks the helper inside; close() throws the machine away."""

    def __init__(self, image, share, out, extra=()):
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="box-"))
        self._image, self._share, self._out = image, share, out
        self.accelerated = _kvm_works(image)
        self.console, self._log = out / "console.log", out / "qemu.log"
        for log in (self.console, self._log):
            log.unlink(missing_ok=True)
        self._extra = extra
        overlay = ["-f", "qcow2", "-b", str(image / "root.ext4"), "-F", "raw", str(self._folder / "root")]
        subprocess.run(["qemu-img", "create", "-q", *overlay], check=True)
        self._number = 0
        self._begin()

    def _begin(self):
        with open(self._log, "ab") as log:
            streams = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log}
            self._process = subprocess.Popen(self._command(self._extra), **streams)
        self._link = None
        self._lines = None

    def cut_power(self):
        """The machine stops at once, and boots again from what its disk has got by then."""
        self._process.kill()
        self._process.wait()
        self._link.close()
        self._begin()

    def _command(self, extra):
        accel = ["kvm"] if self.accelerated else ["tcg,thread=multi"]
        # However this process ends, its machine ends with it.
        command = ["setpriv", "--pdeathsig", "TERM", QEMU, "-accel", *accel, "-cpu", "max"]
        command += ["-smp", str(CORES), "-m", "3072", "-nodefaults"]
        command += ["-no-reboot", "-display", "none", "-kernel", str(self._image / "vmlinuz")]
        command += ["-initrd", str(self._image / "initrd"), "-append", KERNEL_LINE]
        command += ["-chardev", f"file,id=console,path={self.console},append=on"]
        command += ["-serial", "chardev:console"]
        disk = self._folder / "root"
        command += ["-drive", f"file={disk},if=virtio,format=qcow2,cache=writeback"]
        command += self._shared(self._share, "box-in", ",readonly=on")
        command += self._shared(self._out, "box-out", "")
        command += ["-device", "virtio-serial-pci", "-device", "virtio-rng-pci"]
        command += ["-chardev", f"socket,id=helper,path={self._socket()},server=on,wait=off"]
        command += ["-device", "virtserialport,chardev=helper,name=box.helper"]
        return command + list(extra)

    @staticmethod
    def _shared(folder, tag, more):
        return ["-virtfs", f"local,path={folder},mount_tag={tag},security_model=none{more}"]

    def _socket(self):
        return str(self._folder / "helper")

    def _connected(self):
        link = socket.socket(socket.AF_UNIX)
        end = time.monotonic() + 10
        while True:
            try:
                link.connect(self._socket())
                return link
            except OSError:
                if time.monotonic() >= end or self._process.poll() is not None:
                    raise RuntimeError(self._log.read_text()) from None
                time.sleep(0.05)

    def call(self, op, *args, timeout=120, **named):
        """Asks the helper inside and returns its answer; its failure is raised here."""
        if self._link is None:
            self._link = self._connected()
            self._lines = self._link.makefile("rb")
        self._number += 1
        request = {"id": self._number, "op": op, "args": args, "named": named}
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

    def wait(self):
        self._process.wait()

    def close(self):
        self._process.terminate()
        self._process.wait()
        if self._link is not None:
            self._link.close()
        shutil.rmtree(self._folder, ignore_errors=True)
