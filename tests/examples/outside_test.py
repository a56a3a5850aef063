"""Builds the example as its README tells, outside of the project, with what the project installs.

    outside_test.py SOURCES BUILD
"""
import subprocess
import sys
import tempfile

sources, build = sys.argv[1:]
with tempfile.TemporaryDirectory() as folder:
    subprocess.run(["cmake", "--install", build, "--prefix", f"{folder}/installed"], check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "-S", f"{sources}/examples", "-B", f"{folder}/build-example",
                    f"-DCMAKE_PREFIX_PATH={folder}/installed"], check=True)
    subprocess.run(["cmake", "--build", f"{folder}/build-example"], check=True)
