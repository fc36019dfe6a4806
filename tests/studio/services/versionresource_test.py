"""Builds a program for Windows from the reader of version resources and a resource that the build makes, and looks for
the resource's texts in the program.

versionresource_test.py COMPILER RESOURCE-COMPILER ROOT RESOURCE DESCRIPTION
"""

import pathlib
import subprocess
import sys
import tempfile

compiler, resource_compiler, root, resource, description = sys.argv[1:]
root = pathlib.Path(root)

MAIN = """
#include "services/platform/versionresource.h"

int main(int, char** arguments) {
    return VortaQt::Platform::readVersionResource(arguments[0]).description.empty() ? 1 : 0;
}
"""

with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    (folder / "main.cpp").write_text(MAIN)
    subprocess.run([resource_compiler, resource, folder / "resource.o"], check=True)
    subprocess.run([compiler, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wsign-conversion",
                    "-Wold-style-cast", "-Werror", "-I", root / "studio", folder / "main.cpp",
                    root / "studio/services/platform/versionresource_win32.cpp", folder / "resource.o",
                    "-lversion", "-o", folder / "program.exe"], check=True)
    program = (folder / "program.exe").read_bytes()

# Key, a zero, padding to four bytes, value.
for key, value in (("FileDescription", description), ("ProductName", "Vorta Studio"), ("CompanyName", "Vorta Labs"),
                   ("ProductVersion", "1.0.1+3607.8a7510c4")):
    found = program.find((key + "\0").encode("utf-16-le"))
    assert found >= 0, f"there is no {key}"
    behind = program[found:found + 200].decode("utf-16-le", "replace")[len(key):].lstrip("\0")
    assert behind.startswith(value + "\0"), f"{key} is {behind!r}"
