"""velmctl against an agent of the test's own."""
import json
import subprocess
import sys
import tempfile
import unittest

from support.agent import DEADLINE, Agent

AGENT_PROGRAM, VELMCTL, MANUAL = sys.argv[1:4]


class VelmctlTest(unittest.TestCase):
    """Each test has an agent, which is initialised, and its state in a folder."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.start_agent()
        self.ok("init")

    def start_agent(self):
        self.agent = Agent(AGENT_PROGRAM, self.folder, "--switch-state", f"{self.folder}/state",
                           output=subprocess.DEVNULL)
        self.addCleanup(self.agent.kill)

    def command(self, *words):
        return [VELMCTL, "--address", self.agent.address, *words]

    def run_velmctl(self, *words, input="", status=0):
        """What was written, once it has ended with the status."""
        done = subprocess.run(self.command(*words), input=input, capture_output=True, text=True, timeout=DEADLINE)
        self.assertEqual(done.returncode, status, (words, done.stdout, done.stderr))
        # A failure is told in the end, and success needs no words.
        self.assertEqual(status != 0, "velmctl:" in done.stderr, done.stderr)
        return done

    def ok(self, *words, input=""):
        return self.run_velmctl(*words, input=input).stdout

    def json(self, *words, input="", status=0):
        """Exactly one document is on standard output, whatever became of the command."""
        return json.loads(self.run_velmctl("-o", "json", *words, input=input, status=status).stdout)

    def refused(self, *words, status, error, input=""):
        """Fails with the error, which people and programs are told alike."""
        done = self.run_velmctl("-o", "json", *words, input=input, status=status)
        self.assertEqual(done.stderr, f"velmctl: {error}\n")
        return json.loads(done.stdout)

    def start(self, *words, **options):
        """A velmctl that goes on."""
        process = subprocess.Popen(self.command(*words), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                   **options)

        def end():
            process.kill()
            process.wait()
            process.stdout.close()
            process.stderr.close()
        self.addCleanup(end)
        return process

    def finish(self, process):
        """What it still wrote, once it has ended."""
        out, errors = process.stdout.read(), process.stderr.read()
        process.wait(timeout=DEADLINE)
        return out, errors

    def routes(self):
        return self.json("show", "ip", "route", "summary")["count"]


def main():
    unittest.main(argv=sys.argv[:1])
