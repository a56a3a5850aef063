"""The Debian package: it can be made, lintian finds no error, and what should be is in it, where it should be."""
import os
import shutil
import subprocess
import sys

SOURCES, BUILD = sys.argv[1:]
SKIPPED = 77

CONTENTS = """
lib/systemd/system/velmsdkrpc.service
usr/bin/velmctl
usr/include/velmsdkrpc/remote/acl.pb.h
usr/include/velmsdkrpc/remote/ip_route.grpc.pb.h
usr/include/velmsdkrpc/velmsdk.grpc.pb.h
usr/include/velmsdkrpc/velmsdk.pb.h
usr/lib/TRIPLET/cmake/VelmSdkRpcProtos/VelmSdkRpcProtosConfig.cmake
usr/lib/TRIPLET/libVelmSdkRpcProtos.a
usr/lib/TRIPLET/pkgconfig/libVelmSdkRpcProtos.pc
usr/libexec/velmsdkrpc/demo
usr/sbin/VelmSdkRpc
usr/share/bash-completion/completions/velmctl
usr/share/doc/velmsdkrpc/copyright
usr/share/man/man1/velmctl.1.gz
usr/share/man/man8/VelmSdkRpc.8.gz
"""


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def schemas():
    for folder, _, files in os.walk(os.path.join(SOURCES, "proto")):
        for file in files:
            if file.endswith(".proto"):
                yield "usr/share/velmsdkrpc/" + os.path.relpath(os.path.join(folder, file), SOURCES)


for tool in "dh", "lintian", "dpkg-buildpackage":
    if shutil.which(tool) is None:
        print(f"{tool} is not there; `scripts/setup.sh package` installs it")
        sys.exit(SKIPPED)

os.environ["DPKG_DEB_COMPRESSOR_LEVEL"] = "0"  # half of the time, otherwise
package = output_of(f"{SOURCES}/packaging/build", BUILD, f"{BUILD}/tests/package/deb").strip()
subprocess.run(["lintian", "--allow-root", "--fail-on", "error", "--tag-display-limit", "0", package], check=True)

triplet = output_of("dpkg-architecture", "-qDEB_HOST_MULTIARCH").strip()
listing = output_of("dpkg-deb", "--contents", package).splitlines()
found = {line.split()[5][2:]: line for line in listing}
expected = set(CONTENTS.replace("TRIPLET", triplet).split()) | set(schemas())
missing = sorted(expected - found.keys())
assert not missing, f"missing from the package: {missing}"
assert all(line.split()[1] == "root/root" for line in listing), "something belongs to whoever made the package"

# Whoever only runs the agent is not to get compilers.
depends = output_of("dpkg-deb", "--field", package, "Depends")
assert "libgrpc++" in depends and "libsystemd0" in depends and "-dev" not in depends, depends

unit = subprocess.run(f"dpkg-deb --fsys-tarfile '{package}' | tar -xO ./lib/systemd/system/velmsdkrpc.service",
                      shell=True, check=True, stdout=subprocess.PIPE, text=True).stdout
assert "\nExecStart=/usr/sbin/VelmSdkRpc --listen" in unit, unit
