"""pip install --no-build-isolation . : builds the kov package with the project's CMake.

The package is installed self-contained: the module with the loader library, the core library,
the default extensions, kov (which decodes files that would end the process) and the plug-in
probe below the package directory, in the layout that the module looks for them in.
"""

import os
import re
import shutil
import subprocess
import sys

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution

ROOT = os.path.dirname(os.path.abspath(__file__))
BUILD = os.path.join(ROOT, "build-pip")


def version():
    with open(os.path.join(ROOT, "CMakeLists.txt")) as f:
        return re.search(r"project\(\w+ VERSION ([\d.]+)", f.read()).group(1)


class CMakeBuild(build_py):
    def run(self):
        build = BUILD
        stage = os.path.join(build, "stage")
        # The package directory is the install's root for everything it needs.
        subprocess.check_call([
            "cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DKOV_BUILD_TESTS=OFF",
            "-DKOV_BUILD_BENCH=OFF", f"-DPython3_EXECUTABLE={sys.executable}",
            "-DKOV_INSTALL_PYTHONDIR:STRING=.", "-DCMAKE_INSTALL_LIBDIR=kov/lib",
            "-DCMAKE_INSTALL_BINDIR=kov/bin", "-DCMAKE_INSTALL_LIBEXECDIR=kov/libexec"])
        subprocess.check_call(["cmake", "--build", build])
        shutil.rmtree(stage, ignore_errors=True)
        subprocess.check_call(["cmake", "--install", build, "--prefix", stage])
        target = os.path.join(self.build_lib, "kov")
        shutil.rmtree(target, ignore_errors=True)
        shutil.copytree(os.path.join(stage, "kov"), target, symlinks=True)
        # What builds against an install is of no use inside a Python package.
        for unused in ("lib/cmake", "lib/pkgconfig"):
            shutil.rmtree(os.path.join(target, unused), ignore_errors=True)


class BinaryDistribution(Distribution):
    def has_ext_modules(self):
        return True


# The build's leftovers stay in its own directory, out of the sources.
os.makedirs(BUILD, exist_ok=True)
setup(
    name="kov",
    version=version(),
    description="Decode, check and compare compiled rule files of the kov runtime",
    packages=["kov"],
    package_dir={"kov": "python/kov"},
    python_requires=">=3.9",
    cmdclass={"build_py": CMakeBuild},
    distclass=BinaryDistribution,
    zip_safe=False,
    options={"egg_info": {"egg_base": os.path.relpath(BUILD, ROOT)}},
)
