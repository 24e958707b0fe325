"""How does `pip install` make a wheel?  CMake builds the modules and the library, as it does everywhere else.

COREMD_WHEEL_BUILD: the folder to build in, build/wheel of the project unless given; kept, so that the next wheel is quick.
COREMD_CMAKE_ARGS: more words for CMake, divided as a shell does it.
"""
import os
import pathlib
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(os.environ.get("COREMD_WHEEL_BUILD") or ROOT / "build/wheel").resolve()


def version():
    return subprocess.check_output(["sh", ROOT / "scripts/library-version.sh"], text=True).strip()


class BuildByCMake(build_ext):
    def run(self):
        cmake, stage = BUILD / "cmake", BUILD / "stage"
        # Unlike libraries of a system, those of a wheel lie beside the modules, wherever that is.
        subprocess.run(["cmake", "-S", ROOT, "-B", cmake, "-DCMAKE_BUILD_TYPE=Release",
                        f"-DPython3_EXECUTABLE={sys.executable}", "-DCOREMD_TESTS=OFF", "-DCOREMD_GSTREAMER=OFF",
                        "-DCOREMD_PYTHON=ON", "-DCOREMD_INSTALL=ON", "-DCOREMD_PYTHON_DIR=.",
                        "-DCMAKE_INSTALL_LIBDIR=coremd", "-DCMAKE_INSTALL_RPATH=$ORIGIN",
                        *shlex.split(os.environ.get("COREMD_CMAKE_ARGS", ""))], check=True)
        subprocess.run(["cmake", "--build", cmake, "--parallel", str(os.cpu_count() or 1),
                        "--target", "coreMD_python_package"], check=True)
        shutil.rmtree(stage, ignore_errors=True)
        for component in ("coreMD_python", "coreMD_runtime"):
            subprocess.run(["cmake", "--install", cmake, "--prefix", stage, "--component", component, "--strip"], check=True)
        package = pathlib.Path(self.get_ext_fullpath("coremd._native")).parent
        package.mkdir(parents=True, exist_ok=True)
        # A wheel has no symbolic links: only the name that the modules ask for goes in.
        found = [*(stage / "coremd").glob("_*.so"), *(stage / "coremd").glob("lib*.so.[0-9]"), ROOT / "LICENSE"]
        for file in found:
            shutil.copyfile(file, package / file.name)


BUILD.mkdir(parents=True, exist_ok=True)
# Whatever is made lies there: the folder of the sources stays as it was.
setup(version=version(), ext_modules=[Extension("coremd._native", sources=[])], cmdclass={"build_ext": BuildByCMake},
      options={"build": {"build_base": str(BUILD / "lib")}, "egg_info": {"egg_base": str(BUILD)}})
