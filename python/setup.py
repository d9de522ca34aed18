"""Builds the vsglex shared library with CMake from the repository this
folder belongs to and ships it, with the model set of data/vsg, inside the
package. Only the library target is built.

Environment: VSGLEX_BUILD_JOBS (parallel compile jobs, default 2),
VSGLEX_CMAKE (the cmake program, default "cmake")."""

import glob
import os
import shutil
import subprocess

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        if not os.path.isfile(os.path.join(ROOT, "CMakeLists.txt")):
            raise SystemExit("vsglex: the package is built from its repository: %s has no CMakeLists.txt" % ROOT)
        cmake = os.environ.get("VSGLEX_CMAKE", "cmake")
        jobs = os.environ.get("VSGLEX_BUILD_JOBS", "2")
        build_dir = os.path.join(HERE, "build", "cmake")
        configure = [cmake, "-S", ROOT, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release",
                     "-DVSGLEX_BUILD_TESTS=OFF", "-DVSGLEX_BUILD_BENCH=OFF", "-DVSGLEX_BUILD_TOOLS=OFF"]
        if shutil.which("ccache"):
            configure += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        subprocess.check_call(configure)
        subprocess.check_call([cmake, "--build", build_dir, "--target", "vsglex", "-j", jobs])

        package = os.path.join(self.build_lib, "vsglex")
        lib_dir = os.path.join(package, "_lib")
        os.makedirs(lib_dir, exist_ok=True)
        # The real file, under the name the binding loads.
        shutil.copyfile(os.path.realpath(os.path.join(build_dir, "libvsglex.so")),
                        os.path.join(lib_dir, "libvsglex.so"))
        os.chmod(os.path.join(lib_dir, "libvsglex.so"), 0o755)
        models = sorted(glob.glob(os.path.join(ROOT, "data", "vsg", "*")))
        if not any(m.endswith("coredict.dct") for m in models):
            raise SystemExit("vsglex: no model set in %s" % os.path.join(ROOT, "data", "vsg"))
        data_dir = os.path.join(package, "data", "vsg")
        os.makedirs(data_dir, exist_ok=True)
        for m in models:
            shutil.copyfile(m, os.path.join(data_dir, os.path.basename(m)))
        # The code's licence and the model set's terms travel with them.
        shutil.copyfile(os.path.join(ROOT, "LICENSE"), os.path.join(package, "LICENSE"))
        shutil.copyfile(os.path.join(ROOT, "data", "README.md"), os.path.join(package, "data", "MODELS.md"))


class BinaryDistribution(Distribution):
    """The wheel holds a native library: it is tied to the platform."""

    def has_ext_modules(self):
        return True


setup(cmdclass={"build_py": BuildWithLibrary}, distclass=BinaryDistribution)
