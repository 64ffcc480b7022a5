# SPDX-License-Identifier: GPL-2.0
"""
Build what benches run in the guest: BPF programs, and programs that load them. Needs the libraries
that scripts/setup-peers unpacks.
"""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARIES = ROOT / "build" / "peers" / "libraries" / "usr"
# Newer versions of libelf need zstd, which zemctl brings.
ZSTD = ROOT / "build" / "arm64" / "usr" / "lib" / "aarch64-linux-gnu"


def setting(name):
    """Return a setting of the guest's kernel, as scripts/setup left it."""
    lines = (ROOT / "build" / "kernel" / "env").read_text().splitlines()
    return dict(line.split("=", 1) for line in lines)[name]


def fetch_libraries():
    subprocess.run([ROOT / "scripts" / "setup-peers"], check=True)


def build_bpf(source, target):
    subprocess.run(["clang-19", "-target", "bpf", "-mcpu=v3", "-O2", "-g", "-Wall", "-Wextra", "-Werror",
                    "-Wno-unused-parameter", "-D__TARGET_ARCH_arm64", f"-I{LIBRARIES}/include",
                    "-I/usr/aarch64-linux-gnu/include", "-c", source, "-o", target], check=True)


def build_loader(sources, target):
    subprocess.run([setting("CROSS_COMPILE") + "g++", "-std=c++20", "-O2", "-Wall", "-Wextra", "-Werror", "-static",
                    f"-I{LIBRARIES}/include", f"-L{LIBRARIES}/lib/aarch64-linux-gnu", f"-L{ZSTD}",
                    "-o", target, *sources, "-lbpf", "-lelf", "-lz", "-lzstd"], check=True)
