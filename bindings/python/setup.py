"""Packs the package, with the C library in it if there is one to pack: that of VANTOR_LIBRARY, else of ../../build."""

import os
import pathlib
import re
import shutil

from setuptools import setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
NAME = "libvantor.so.1"


def library():
    path = pathlib.Path(os.environ.get("VANTOR_LIBRARY") or SOURCE / "build/lib" / NAME)
    if "VANTOR_LIBRARY" in os.environ and not path.exists():
        raise SystemExit(f"setup: VANTOR_LIBRARY {path}: no such file")
    return path if path.exists() else None


def version():
    return re.search(r"project\(Vantor10 VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text()).group(1)


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        if library():
            shutil.copy(library(), pathlib.Path(self.build_lib) / "vantor" / NAME)


class WheelWithLibrary(bdist_wheel):
    def finalize_options(self):
        super().finalize_options()
        self.root_is_pure = not library()

    def get_tag(self):
        return "py3", "none", super().get_tag()[2]


setup(version=version(), cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": WheelWithLibrary})
