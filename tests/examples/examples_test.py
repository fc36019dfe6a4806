"""Installs the product into an empty folder, builds the examples against it, and runs them.

examples_test.py EXAMPLES BUILD-FOLDER WORK-FOLDER
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

SOURCES, BUILD, WORK = (pathlib.Path(argument) for argument in sys.argv[1:4])


def run(*command, **environment) -> str:
    result = subprocess.run([str(word) for word in command], env={**os.environ, **environment}, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        run("cmake", "--install", BUILD, "--prefix", WORK / "installed")
        # Elsewhere than it was installed to: nothing in it may know that place, nor the sources.
        cls.prefix = (WORK / "installed").rename(WORK / "moved")
        cls.built = WORK / "built"
        run("cmake", "-S", SOURCES, "-B", cls.built, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
            f"-DCMAKE_PREFIX_PATH={cls.prefix}", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
        run("cmake", "--build", cls.built)
        [cls.programs] = [path.parent for path in cls.prefix.rglob("VortaStudio") if not path.is_symlink()
                          and path.is_file()]

    def test_libraries_are_the_installed_ones(self):
        libraries = run("ldd", self.built / "capturehdr")
        for name in ("libVortaAPI.so", "libVortaCommon.so"):
            self.assertIn(f"{name} => {self.programs / name}", libraries)

    def test_each_header_compiles_alone(self):
        include = self.prefix / "include"
        headers = [header for header in include.rglob("*.h") if "viewer" not in header.parts]
        self.assertGreater(len(headers), 25)
        for header in headers:
            with self.subTest(header=header.name):
                run("c++", "-std=c++20", "-fsyntax-only", "-x", "c++", "-I", include, header)

    def test_documentation_is_installed_with_all_that_it_refers_to(self):
        [readme] = [path for path in self.prefix.rglob("README.md")]
        run(sys.executable, SOURCES.parent / "tests" / "docs" / "links_test.py", readme.parent)

    def test_a_driver_of_ones_own_measures_its_wall(self):
        output = WORK / "wall.vdf"
        text = run(self.built / "capturehdr", self.built / "VortaCameraWall.dll", output)
        self.assertIn("Wall W-1\n", text)
        count, size, distance = re.search(r"(\d+) of (\d+) points, mean distance ([\d.]+) mm", text).groups()
        self.assertEqual(int(size), 240 * 320)
        self.assertGreater(int(count), 0.99 * int(size))
        self.assertAlmostEqual(float(distance), 500.0, delta=0.1)
        self.assertIn("camera_serial_number = \"W-1\"", run("ncdump", "-h", output))

    def test_a_virtual_head_gives_a_file_that_the_tool_reads(self):
        output = WORK / "demo.vdf"
        [heads] = self.prefix.rglob("heads/demo")
        text = run(self.built / "capturehdr", self.programs / "VortaCameraToshibaTeli.dll", output, "20", "31",
                   VORTA_VIRTUAL_HEADS=str(heads))
        self.assertIn("VORTA Demo VD-0001\n", text)
        self.assertIn("VD-0001", run(self.prefix / "bin" / "vorta", "info", output))

    def test_a_library_that_is_no_driver_is_refused_in_words(self):
        with self.assertRaisesRegex(AssertionError, "ended with 1:\ncapturehdr: .*libVortaCommon.so"):
            run(self.built / "capturehdr", self.programs / "libVortaCommon.so", WORK / "none.vdf")
        self.assertFalse((WORK / "none.vdf").exists())

    def test_an_earlier_or_later_version_is_not_taken(self):
        project = WORK / "another"
        project.mkdir()
        (project / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(Another LANGUAGES CXX)\n"
                                                "find_package(Vorta 99.0 REQUIRED)\n")
        with self.assertRaisesRegex(AssertionError, "compatible\\s+with requested version \"99.0\""):
            run("cmake", "-S", project, "-B", project / "built", f"-DCMAKE_PREFIX_PATH={self.prefix}")

    def test_the_viewer_is_a_component(self):
        project = WORK / "viewer"
        project.mkdir()
        (project / "main.cpp").write_text("#include <vorta/viewer/vtrackball.h>\n\n"
                                          "int main() {\n    return Vorta::VTrackBall().movements() == 0 ? 0 : 1;\n}\n")
        (project / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(Viewing LANGUAGES CXX)\n"
                                                "find_package(Vorta REQUIRED COMPONENTS viewer)\n"
                                                "add_executable(viewing main.cpp)\n"
                                                "target_link_libraries(viewing PRIVATE Vorta::viewer)\n")
        run("cmake", "-S", project, "-B", project / "built", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", project / "built")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
