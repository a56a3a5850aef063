"""The whole on a kernel of another kind: Linux 6.1 in user mode, on this machine's file system. It has no JIT, so its
verifier asks more of the program; and it is another machine to forward on."""
import glob
import os
import shlex
import subprocess
import sys
import tempfile
import unittest

import lab as labs

LINUX = "/usr/bin/linux.uml"
SECONDS = 200
HERE = os.path.dirname(os.path.abspath(__file__))
MODULES = ("ipv6", "veth", "8021q", "vrf")
TESTS = (("forwarding_test.py", "ForwardingTest.test_labels_are_pushed", "ForwardingTest.test_errors_are_told",
          "ForwardingTest.test_tunnels_are_written"),
         ("packet_test.py", "PacketTest.test_ping_and_traceroute"),
         # The kernels of build machines may have no such devices.
         ("port_test.py", "PortTest.test_a_vlan_is_an_interface", "PortTest.test_a_vrf_device_places_its_members"))


def with_needs(folder, name, done):
    """Files of a module and of what it needs, each after what it needs."""
    with open(f"{folder}/modules.dep", encoding="ascii") as file:
        needs = dict(line.rstrip("\n").split(":") for line in file)
    wanted = next(path for path in needs if os.path.basename(path) == f"{name}.ko")
    for path in [*reversed(needs[wanted].split()), wanted]:
        if path not in done:
            done.append(path)


def init_script():
    """What runs there as the first process."""
    folder = max(glob.glob("/usr/lib/uml/modules/6.1.*"))
    modules = []
    for name in MODULES:
        with_needs(folder, name, modules)
    load = "import ctypes, os, sys\nfor path in sys.argv[1:]:\n" \
           "    ctypes.CDLL(None).syscall(313, os.open(path, os.O_RDONLY), b'', 0)"  # finit_module
    python = "/usr/bin/python3"
    return "\n".join((
        "#!/bin/sh", "mount -t proc proc /proc", "mount -t sysfs sysfs /sys",
        "mount -t tmpfs tmpfs /run", "export TMPDIR=/run",
        "export PATH=/usr/sbin:/usr/bin:/sbin:/bin", f"export PYTHONPATH={shlex.quote(os.path.dirname(HERE))}",
        "export PYTHONDONTWRITEBYTECODE=1 VELM_LINUX_TESTS=required", f"cd {shlex.quote(HERE)}",
        shlex.join([python, "-c", load, *[f"{folder}/{module}" for module in modules]]),
        "uname -r",
        " && ".join([*[shlex.join([python, file, *map(os.path.abspath, sys.argv[1:3]), *tests]) + " 2>&1"
                       for file, *tests in TESTS], "echo all is well"]),
        "echo o > /proc/sysrq-trigger", "sleep 60", ""))


class OtherKernelTest(unittest.TestCase):
    def test_the_switch_forwards_there(self):
        if not os.access(LINUX, os.X_OK):
            if labs.required():
                self.fail(f"{LINUX} is missing: Debian's package user-mode-linux")
            self.skipTest(f"{LINUX} is missing")
        with tempfile.TemporaryDirectory(dir="/var/tmp") as folder:
            init = f"{folder}/init"
            with open(init, "w", encoding="utf-8") as file:
                file.write(init_script())
            os.chmod(init, 0o755)
            environment = {**os.environ, "TMPDIR": folder, "HOME": folder}
            process = subprocess.Popen(
                [LINUX, "mem=1500M", "root=/dev/root", "rootfstype=hostfs", "rootflags=/", "rw", "quiet",
                 f"init={init}", "con=null", "con0=null,fd:1", f"uml_dir={folder}"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment,
                start_new_session=True)
            try:
                said = process.communicate(timeout=SECONDS)[0].decode(errors="replace")
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, 9)
                said = process.communicate()[0].decode(errors="replace") + "\nand did not end"
        self.assertRegex(said, r"(?m)^6\.1\.")
        self.assertIn("all is well", said, said)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
