"""Inside the box, in the user's session: box_agents.py PASSWORD COUNT runs `pkexec true` twice for each of
COUNT players, all players at the same time, each answered by polkit's agent for terminals. Prints the
seconds."""

import concurrent.futures
import os
import pty
import signal
import subprocess
import sys
import termios
import time

LOCAL = 3  # of a terminal's attributes


def agent_for(process):
    """polkit's agent for what this process starts; its process and its terminal."""
    registered, done = os.pipe()
    agent, terminal = pty.fork()
    if agent == 0:
        os.set_inheritable(done, True)
        os.execvp("pkttyagent", ["pkttyagent", f"--process={process}", f"--notify-fd={done}"])
    os.close(done)
    os.read(registered, 1)  # which ends when it is closed
    os.close(registered)
    return agent, terminal


def answer(password):
    """One `pkexec true`."""
    asking = subprocess.Popen(["sh", "-c", "read go; pkexec --disable-internal-agent true; exit"],
                              stdin=subprocess.PIPE)
    agent, terminal = agent_for(asking.pid)
    asking.stdin.write(b"go\n")
    asking.stdin.close()
    said = b""
    while not said.rstrip().endswith(b"Password:"):
        said += os.read(terminal, 4096)
    while termios.tcgetattr(terminal)[LOCAL] & termios.ECHO:
        time.sleep(0.01)  # what is typed before is thrown away
    os.write(terminal, password.encode() + b"\n")
    if asking.wait() != 0:
        raise SystemExit(f"pkexec failed: {said.decode()}")
    os.kill(agent, signal.SIGTERM)
    os.waitpid(agent, 0)
    os.close(terminal)


def twice(password):
    answer(password)
    answer(password)


def main(password, count):
    begin = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(count) as players:
        list(players.map(twice, [password] * count))
    print(f"{time.monotonic() - begin:.3f}")


main(sys.argv[1], int(sys.argv[2]))
