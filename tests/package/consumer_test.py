"""The example, built as by a client of others: against what was installed, by CMake and by pkg-config, after the folder
has been moved."""
import os
import subprocess
import sys
import tempfile

EXAMPLES, BUILD = sys.argv[1:]


def run(command, **options):
    subprocess.run(command, check=True, **options)


with tempfile.TemporaryDirectory() as folder:
    prefix = os.path.join(folder, "moved")
    run(["cmake", "--install", BUILD, "--prefix", os.path.join(folder, "installed")], stdout=subprocess.DEVNULL)
    os.rename(os.path.join(folder, "installed"), prefix)

    run(["cmake", "-S", EXAMPLES, "-B", f"{folder}/build", f"-DCMAKE_PREFIX_PATH={prefix}"])
    run(["cmake", "--build", f"{folder}/build"])
    with open(f"{folder}/build/CMakeCache.txt", encoding="utf-8") as cache:
        assert f"VelmSdkRpcProtos_DIR:PATH={prefix}" in cache.read(), "another package was found"

    triplet = subprocess.check_output(["gcc", "-print-multiarch"], text=True).strip()
    os.environ["PKG_CONFIG_PATH"] = f"{prefix}/lib/{triplet}/pkgconfig"
    flags = subprocess.check_output(["pkg-config", "--cflags", "--libs", "libVelmSdkRpcProtos"], text=True).split()
    run(["g++", "-std=c++20", f"{EXAMPLES}/controller.cpp", "-o", f"{folder}/by-pkg-config", *flags])
