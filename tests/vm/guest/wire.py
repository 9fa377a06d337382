"""A connection to a message bus that sends many questions at once, and caches encoded ones.

GLib passes each message from thread to thread; emulated, that took most of the time of a scenario.
"""

import functools
import os
import re
import socket
import struct

CALL, ANSWER, ERROR = 1, 2, 3
PATH, INTERFACE, MEMBER, ANSWERED, DESTINATION, SIGNATURE = 1, 2, 3, 5, 6, 8
NUMBERS = {"y": "B", "n": "h", "q": "H", "i": "i", "u": "I", "x": "q", "t": "Q", "d": "d", "b": "I"}
PATIENCE = 20  # seconds


def _padded(data, size):
    return data + b"\0" * (-len(data) % size)


def _encoded(data, kind, value):
    """The data with a value behind it: a number, or a text."""
    if kind in NUMBERS:
        number = struct.pack("<" + NUMBERS[kind], value)
        return _padded(data, len(number)) + number
    text = value.encode() + b"\0"
    if kind == "g":
        return data + bytes([len(text) - 1]) + text
    return _padded(data, 4) + struct.pack("<I", len(text) - 1) + text


def _message(place, interface, method, kinds, values):
    """A call without its number."""
    body = b""
    for kind, value in zip(kinds, values):
        body = _encoded(body, kind, value)
    fields = [(PATH, "o", place[1]), (INTERFACE, "s", interface), (MEMBER, "s", method),
              (DESTINATION, "s", place[0])] + ([(SIGNATURE, "g", kinds)] if kinds else [])
    encoded = b""
    for code, kind, value in fields:
        encoded = _padded(encoded, 8) + bytes([code, 1]) + kind.encode() + b"\0"
        encoded = _encoded(encoded, kind, value)
    head = struct.pack("<cBBBIII", b"l", CALL, 0, 1, len(body), 0, len(encoded))
    return _padded(head + encoded, 8) + body


@functools.cache
def _types(kinds):
    """The complete types in a list of types."""
    found, depth, begin = [], 0, 0
    for at, kind in enumerate(kinds):
        depth += (kind in "({") - (kind in ")}")
        if depth == 0 and kind != "a":
            found.append(kinds[begin : at + 1])
            begin = at + 1
    return found


class Reader:
    """Takes values from a message, one after the other."""

    def __init__(self, data, at=0):
        self._data, self.at = data, at

    def align(self, size):
        self.at += -self.at % size

    def number(self, form, size):
        self.align(size)
        self.at += size
        return struct.unpack_from("<" + form, self._data, self.at - size)[0]

    def text(self, length):
        self.at += length + 1
        return self._data[self.at - length - 1 : self.at - 1].decode()

    def all(self, kinds):
        """The values of a list of types."""
        return [self.one(kind) for kind in _types(kinds)]

    def one(self, kind):
        """The value of one complete type."""
        if kind in NUMBERS:
            form = NUMBERS[kind]
            return self.number(form, struct.calcsize(form))
        if kind in ("s", "o"):
            return self.text(self.number("I", 4))
        if kind == "g":
            return self.text(self.number("B", 1))
        if kind == "v":
            return self.one(self.text(self.number("B", 1)))
        if kind[0] in "({":
            self.align(8)
            return tuple(self.all(kind[1:-1]))
        end = self.number("I", 4)
        self.align(8 if kind[1] in "xtd({" else 1)
        end += self.at
        values = []
        while self.at < end:
            values.append(self.one(kind[1:]))
        return values


class Bus:
    """Questions are collected by ask() and answered in answers()."""

    def __init__(self, address):
        self._link = socket.socket(socket.AF_UNIX)
        self._link.connect(re.search("path=([^,;]+)", address)[1])
        self._link.settimeout(PATIENCE)
        user = str(os.getuid()).encode().hex()
        self._link.sendall(f"\0AUTH EXTERNAL {user}\r\n".encode())
        self._link.recv(4096)
        self._link.sendall(b"BEGIN\r\n")
        self._known, self._open, self._number = {}, {}, 0
        self._outgoing, self._incoming = [], b""
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus")
        self.ask(bus, bus[0], "Hello", "", (), lambda answer: None)
        self.answers()

    def ask(self, place, interface, method, kinds, values, keep):
        """keep(answer) is called by answers() with the values; with None where there was no answer."""
        key = (*place, interface, method, kinds, values)
        if key not in self._known:
            self._known[key] = _message(place, interface, method, kinds, values)
        message = self._known[key]
        self._number += 1
        self._outgoing += [message[:8], struct.pack("<I", self._number), message[12:]]
        self._open[self._number] = keep

    def answers(self):
        try:
            while self._open:
                outgoing, self._outgoing = b"".join(self._outgoing), []
                self._link.sendall(outgoing)
                self._receive()
        except TimeoutError:
            unanswered, self._open = self._open, {}
            for keep in unanswered.values():
                keep(None)

    def _receive(self):
        data = self._link.recv(1 << 18)
        if not data:
            raise ConnectionError("The bus has closed the connection")
        self._incoming += data
        at = 0
        while len(self._incoming) - at >= 16:
            body, _, fields = struct.unpack_from("<III", self._incoming, at + 4)
            start = 16 + (fields + 7) // 8 * 8
            if len(self._incoming) - at < start + body:
                break
            self._take(self._incoming[at : at + start + body], 16 + fields, start)
            at += start + body
        self._incoming = self._incoming[at:]

    def _take(self, message, end, body):
        if message[1] not in (ANSWER, ERROR):
            return
        reader, fields = Reader(message, 16), {}
        while reader.at < end:
            reader.align(8)
            code = reader.number("B", 1)
            fields[code] = reader.one("v")
        keep = self._open.pop(fields[ANSWERED], None)  # none if the caller has given up
        if keep:
            kinds = fields.get(SIGNATURE, "")
            keep(Reader(message, body).all(kinds) if message[1] == ANSWER else None)
