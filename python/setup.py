"""Builds the extension with the project's own CMake."""
import os
import re
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
OFF = ("ZEL_TOOL", "ZEL_GDAL", "ZEL_BUILD_TESTS", "ZEL_BUILD_BENCHMARKS", "ZEL_BUILD_EXAMPLES")


def version():
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"VERSION (\d+\.\d+\.\d+)", file.read())[1]


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        tree = os.path.abspath(self.build_temp)
        target = os.path.abspath(self.get_ext_fullpath(ext.name))
        os.makedirs(os.path.dirname(target), exist_ok=True)
        subprocess.run(
            ["cmake", "-S", ROOT, "-B", tree, "-DCMAKE_BUILD_TYPE=Release", "-DZEL_PYTHON=ON",
             "-DZEL_PYTHON_EXECUTABLE=" + sys.executable, *("-D%s=OFF" % name for name in OFF)],
            check=True)
        subprocess.run(["cmake", "--build", tree, "--target", "zel_python", "--parallel"],
                       check=True)
        self.copy_file(os.path.join(tree, "python", "zel", os.path.basename(target)), target)


setup(version=version(), ext_modules=[Extension("zel._core", [])],
      cmdclass={"build_ext": CMakeBuild})
