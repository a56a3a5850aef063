"""What a measurement must tell of the machine and the build that it comes from."""

import datetime
import os
import pathlib
import platform
import re
import subprocess


def first_line(*command):
    done = subprocess.run(command, capture_output=True, text=True, cwd=pathlib.Path(__file__).parent)
    return done.stdout.splitlines()[0] if done.returncode == 0 and done.stdout else "unknown"


def cpu_model():
    found = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    return found[1] if found else platform.machine()


def describe(build):
    cache = dict(re.findall(r"^(\w+):\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.MULTILINE))
    return {
        "cpu": cpu_model(),
        "cores": os.cpu_count(),
        "memory_gib": round(os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30, 1),
        "kernel": platform.release(),
        "compiler": first_line(cache["CMAKE_CXX_COMPILER"], "--version"),
        "build_type": cache["CMAKE_BUILD_TYPE"],
        "commit": first_line("git", "describe", "--always", "--dirty", "--exclude=*"),
        "date": datetime.datetime.now().astimezone().isoformat(timespec="seconds"),
    }
