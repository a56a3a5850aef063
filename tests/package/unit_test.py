"""The systemd unit: what it starts tells systemd when it serves and when it stops, and systemd understands the unit."""
import os
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

from agent import DEADLINE, eventually

PROGRAM, UNIT = sys.argv[1:]


def settings(name):
    with open(UNIT, encoding="utf-8") as unit:
        return [line.split("=", 1)[1].strip() for line in unit if line.startswith(name + "=")]


def command(runtime_folder, listen):
    """The words of ExecStart as systemd makes them, with another address."""
    variables = dict(setting.split("=", 1) for setting in settings("Environment"))
    variables["LISTEN"] = listen
    words = []
    for word in shlex.split(settings("ExecStart")[0].replace("@AGENT@", PROGRAM).replace("%t", runtime_folder)):
        if word.startswith("$") and not word.startswith("${"):
            words += variables[word[1:]].split()
        else:
            for name, value in variables.items():
                word = word.replace("${" + name + "}", value)
            words.append(word)
    return words


def address_of(listener):
    return "127.0.0.1:%d" % listener.getsockname()[1]


class Service:
    """The unit's process, and the socket at which systemd would listen."""

    def __init__(self, folder, listen):
        os.mkdir(os.path.join(folder, "velmsdkrpc"))  # RuntimeDirectory=velmsdkrpc
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.settimeout(DEADLINE)
        self.socket.bind(os.path.join(folder, "notify"))
        environment = dict(os.environ, NOTIFY_SOCKET=os.path.join(folder, "notify"))
        self.process = subprocess.Popen(command(folder, listen), env=environment, stderr=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stderr.close()
        self.socket.close()

    def heard(self):
        return self.socket.recv(4096).decode()

    def heard_more(self):
        self.socket.setblocking(False)
        try:
            return self.heard()
        except BlockingIOError:
            return None

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(timeout=DEADLINE)


class UnitTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def test_ready_means_that_the_port_accepts_and_stopping_comes_before_the_end(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            address = address_of(listener)
        with Service(self.folder, address) as service:
            self.assertEqual(service.heard(), "READY=1")
            socket.create_connection(address.split(":"), timeout=DEADLINE).close()
            self.assertTrue(os.path.isdir(os.path.join(self.folder, "velmsdkrpc/state")))
            self.assertEqual(service.stop(), 0)
            self.assertEqual(service.heard(), "STOPPING=1")
            self.assertIsNone(service.heard_more())

    def test_an_agent_without_its_port_says_nothing(self):
        with socket.create_server(("127.0.0.1", 0)) as held:
            with Service(self.folder, address_of(held)) as service:
                eventually(lambda: "cannot listen on" in service.process.stderr.readline(), "the port is told")
                self.assertEqual(service.stop(), 0)
                self.assertIsNone(service.heard_more())

    def test_the_options_of_the_host_are_words_of_their_own(self):
        self.assertEqual(command("/run", "[::]:1")[1:],
                         ["--listen", "[::]:1", "--switch-state", "/run/velmsdkrpc/state"])
        self.assertEqual(settings("EnvironmentFile"), ["-/etc/default/velmsdkrpc"])

    @unittest.skipUnless(shutil.which("systemd-analyze"), "systemd-analyze is not there")
    def test_systemd_has_no_complaint(self):
        path = os.path.join(self.folder, "velmsdkrpc.service")
        with open(UNIT, encoding="utf-8") as unit, open(path, "w", encoding="utf-8") as copy:
            copy.write(unit.read().replace("@AGENT@", PROGRAM))
        verified = subprocess.run(["systemd-analyze", "verify", "--man=no", path], stderr=subprocess.STDOUT,
                                  stdout=subprocess.PIPE, text=True, check=False)
        self.assertEqual((verified.returncode, verified.stdout), (0, ""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
