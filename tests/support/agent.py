"""An agent of a test's own, at a Unix socket."""
import os
import signal
import socket
import subprocess
import threading
import time

DEADLINE = 30  # seconds, of everything that a test waits for


def eventually(condition, what):
    """Waits until the condition holds, and gives what it gave."""
    end = time.monotonic() + DEADLINE
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"timed out: {what}")
        threading.Event().wait(0.005)
    return result


def accepts(path):
    with socket.socket(socket.AF_UNIX) as probe:
        return probe.connect_ex(path) == 0


class Agent:
    """Serves from the constructor on."""

    def __init__(self, program, folder, *options, output=None, through=()):
        """`through`: a command that runs the program, which takes its place."""
        self.socket = os.path.join(folder, "agent.socket")
        self.address = f"unix:{self.socket}"
        self.process = subprocess.Popen(
            [*through, program, "--listen", self.address, *options], stdout=output, stderr=output, stdin=subprocess.DEVNULL)
        eventually(self._serves, "the agent listens")

    def _serves(self):
        assert self.process.poll() is None, f"the agent ended with status {self.process.returncode}"
        return accepts(self.socket)

    def kill(self):
        """As nothing but the kernel can."""
        self.process.kill()
        self.process.wait()

    def stop(self):
        """In order; it must end well."""
        self.process.send_signal(signal.SIGTERM)
        status = self.process.wait(timeout=DEADLINE)
        assert status == 0, f"the agent ended with status {status}"
