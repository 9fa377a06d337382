"""Waiting for events in the box."""

import time

USUAL_LIMIT = 25  # seconds: a bus's default limit of a request


def until(look, seconds, what, pause=0.25):
    """Looks again and again until the answer is true; returns that answer."""
    end = time.monotonic() + seconds
    while True:
        answer = look()
        if answer:
            return answer
        if time.monotonic() >= end:
            raise AssertionError(f"Not within {seconds} s: {what}")
        time.sleep(pause)


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


def expect_equal(got, wanted, what):
    if got != wanted:
        raise AssertionError(f"{what}:\n  wanted {wanted!r}\n  got    {got!r}")
