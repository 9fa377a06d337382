"""USB devices that are not there: configfs gadgets on the emulated ports of dummy_hcd."""

import contextlib
import os
import pathlib

import shelves
from processes import until

GADGETS = pathlib.Path("/sys/kernel/config/usb_gadget")
CONTROLLERS = pathlib.Path("/sys/class/udc")
BACKING = pathlib.Path("/box/players")
ENGLISH = "strings/0x409"


def _write(path, text):
    path.write_text(str(text), encoding="utf-8")


def add(name, **traits):
    """Makes a device with a disk, without plugging it in. Traits: see below; a player's by default."""
    gadget = GADGETS / name
    gadget.mkdir()
    _write(gadget / "idVendor", "0x10d6")
    _write(gadget / "idProduct", "0x1101")
    _write(gadget / "bcdDevice", "0x0100")
    if traits.get("speed"):
        _write(gadget / "max_speed", traits["speed"])
    defaults = {"product": "HS USB FlashDisk", "manufacturer": "ACTIONS", "serialnumber": name}
    (gadget / ENGLISH).mkdir()
    for key, default in defaults.items():
        text = traits.get(key, default)
        if text is not None:
            _write(gadget / ENGLISH / key, text)
    config = gadget / "configs/c.1"
    config.mkdir()
    function = _storage(gadget, name, traits)
    (config / function.name).symlink_to(function)


def _storage(gadget, name, traits):
    function = gadget / "functions/mass_storage.0"
    function.mkdir()
    unit = function / "lun.0"
    vendor, model = traits.get("vendor", "ACTIONS"), traits.get("model", "HS USB FlashDisk")
    _write(unit / "inquiry_string", f"{vendor:<8.8}{model:<16.16}1.00")
    _write(unit / "removable", int(traits.get("removable", True)))
    _write(unit / "ro", int(traits.get("read_only", False)))
    if traits.get("medium", True):
        _write(unit / "file", BACKING / name)
    return function


def _controller(name):
    return (GADGETS / name / "UDC").read_text(encoding="ascii").strip()


def _free_controller():
    used = {_controller(gadget.name) for gadget in GADGETS.iterdir()}
    every = sorted(CONTROLLERS.iterdir(), key=lambda path: int(path.name.rpartition(".")[2]))
    return next(path.name for path in every if path.name not in used)


def plug(name, port=None):
    """Plugs the device into a free port; returns the port's number."""
    controller = f"dummy_udc.{port}" if port is not None else _free_controller()
    _write(GADGETS / name / "UDC", controller)
    return int(controller.rpartition(".")[2])


def pull(name):
    """Pulls the device out at once, even during a transfer; it keeps its port."""
    _write(CONTROLLERS / _controller(name) / "soft_connect", "disconnect")


def insert(name, path):
    """Another medium in the drive; an empty path takes it out."""
    unit = GADGETS / name / "functions/mass_storage.0/lun.0"
    _write(unit / "forced_eject", 1)
    if path:
        _write(unit / "file", path)


def protect(name):
    """From now on the medium refuses writing, as with a write-protect switch."""
    unit = GADGETS / name / "functions/mass_storage.0/lun.0"
    path = (unit / "file").read_text(encoding="utf-8").strip()
    _write(unit / "forced_eject", 1)
    _write(unit / "ro", 1)
    _write(unit / "file", path)


def remove(name, keep=False):
    """Unplugs the device and forgets it, with its medium unless that is kept."""
    gadget = GADGETS / name
    if _controller(name):
        _write(gadget / "UDC", "\n")
    for link in (gadget / "configs/c.1").iterdir():
        if link.is_symlink():
            link.unlink()
    for folder in ("functions/mass_storage.0", "configs/c.1", ENGLISH, ""):
        (gadget / folder).rmdir()
    for path in BACKING.glob(f"{name}*"):
        if not keep and path.name.partition(".")[0] == name:
            path.unlink()
    if not keep:
        shelves.clear(name)


def remove_all():
    for gadget in GADGETS.iterdir():
        remove(gadget.name)
    for path in BACKING.iterdir():
        path.unlink()
    shelves.clear_all()


def _below(name):
    number = _controller(name).rpartition(".")[2]
    return pathlib.Path(f"/sys/devices/platform/dummy_hcd.{number}")


def disk(name, timeout=20.0):
    """The name of the disk below the plugged device (sda, ...), when udev knows it; else none."""
    with contextlib.suppress(TimeoutError):
        return until(lambda: _known_disk(name), timeout, "", 0.1)


def _known_disk(name):
    for found in _below(name).glob("usb*/*-1/*/host*/target*/*:0/block/*"):
        with contextlib.suppress(FileNotFoundError):  # a disk of before is just going
            number = (found / "dev").read_text(encoding="ascii").strip()
            if os.path.exists(f"/run/udev/data/b{number}"):
                return found.name


def await_head(name, zero, timeout=60.0, then_pull=False):
    """Waits until the medium's head has been wiped (or written again); may pull at that moment."""
    with open(BACKING / name, "rb", buffering=0) as medium:
        # More often takes the time from those who write it.
        until(lambda: any(os.pread(medium.fileno(), 4096, 0)) != zero, timeout,
              f"the head of {name} has not changed", pause=0.02)
    if then_pull:
        pull(name)
