"""Tests scripts/check-includes on small trees. Usage: checkincludes_test.py SCRIPT"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv.pop(1)

# (including file, include line, words of the refusal or None)
CASES = [
    ("sdk/api/src/camera.cpp", '#include "camera/status.h"', "does not know the application"),
    ("sdk/common/src/log.cpp", '#include "vorta/compute/devicecloud.h"', "common stands below or beside compute"),
    ("sdk/drivers/virtual/src/head.cpp", '#include "vorta/api/frame.h"', "virtual stands below or beside api"),
    ("sdk/drivers/interface/include/vorta/driver/driver.h", '#include "vorta/virtual/head.h"', "driver stands below"),
    ("sdk/reconstruction/src/a.cpp", '#include "vorta/viewer/vortaviewer.h"', "reconstruction stands below"),
    ("sdk/common/src/log.cpp", "#include <QString>", "built without Qt"),
    ("sdk/common/src/log.cpp", '#include "vorta/nonsense/a.h"', "there is no library nonsense"),
    ("sdk/common/include/vorta/common/settings.h", "#include <yaml-cpp/yaml.h>", "no third-party header"),
    ("sdk/common/include/vorta/common/settings.h", "#include <boost/format.hpp>", "no third-party header"),
    ("studio/camera/a.cpp", '#include "mainwindow/mainwindow.h"', "camera stands below mainwindow"),
    ("studio/export/a.cpp", '#include "resources/icon.h"', "export stands below resources"),
    ("studio/export/a.cpp", "#include <QString>", "built without Qt"),
    ("studio/camera/a.cpp", '  #  include "vorta/virtual/head.h"', "internal to the library"),
    ("studio/camera/a.cpp", '#include "vorta/reconstruction/reconstructor.h"', "internal to the library"),
    ("studio/surprise/a.cpp", '#include "surprise/a.h"', "has no level yet"),
    ("studio/app/a.cpp", '#include "../camera/status.h"', "leaves its folder"),
    ("tools/vorta/src/main.cpp", '#include "services/appsettings.h"', "nothing of the studio but its export"),
    ("tools/vorta/src/main.cpp", '#include "vorta/driver/driver.h"', "internal to the library"),
    ("tools/vorta/src/main.cpp", '#include "vorta/virtual/headfile.h"', "internal to the library"),
    ("tools/firmwareupdater/src/main.cpp", '#include "vorta/yaml/yamlmap.h"', "internal to the library"),
    ("tools/firmwareupdater/src/main.cpp", '#include "vorta/api/camera.h"', "goes without api"),
    ("tools/firmwareupdater/src/main.cpp", '#include "export/writers.h"', "nothing of the studio"),
    ("tools/surprise/src/main.cpp", "#include <string>", "has no rule yet"),
    ("examples/a/a.cpp", "#include <vorta/reconstruction/reconstructor.h>", "the examples go without"),
    ("examples/a/a.cpp", '#include "camera/status.h"', "the examples go without"),
    ("sdk/api/src/camera.cpp", '#include "vorta/reconstruction/reconstructor.h"', None),
    ("sdk/drivers/virtual/src/head.cpp", '#include "vorta/driver/driver.h"', None),
    ("sdk/viewer/src/viewer.cpp", "#include <QtGui/QImage>", None),
    ("sdk/common/src/file.cpp", "#include <yaml-cpp/yaml.h>", None),
    ("sdk/common/include/vorta/common/settings.h", "#include <chrono>", None),
    ("sdk/common/src/log.cpp", '#include "format.h"', None),
    ("studio/mainwindow/a.cpp", '#include "camera/status.h"', None),
    ("studio/camera/a.cpp", '#include "camera/status.h"', None),
    ("studio/camera/a.cpp", '// #include "mainwindow/mainwindow.h"', None),
    ("tools/vorta/src/main.cpp", '#include "export/writers.h"', None),
    ("tools/firmwareupdater/src/main.cpp", '#include "vorta/virtual/headfile.h"', None),
    ("examples/a/a.cpp", "#include <vorta/driver/driver.h>", None),
    ("tests/studio/camera/a.cpp", '#include "vorta/virtual/head.h"', None),
]


def check(files):
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for studio in ("camera", "export", "mainwindow", "resources", "services", "surprise"):
            (root / "studio" / studio).mkdir(parents=True)
        for name, text in files.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text(text)
        return subprocess.run([sys.executable, SCRIPT, folder], capture_output=True, text=True, check=False)


class CheckIncludes(unittest.TestCase):
    def test_table(self):
        for name, line, words in CASES:
            with self.subTest(file=name, line=line):
                result = check({name: "#pragma once\n" + line + "\n"})
                self.assertEqual(result.returncode, 1 if words else 0, result.stdout + result.stderr)
                if words:
                    self.assertIn(f"{name}:2: ", result.stdout)
                    self.assertIn(words, result.stdout)

    def test_nothing_to_check_is_an_error(self):
        result = check({})
        self.assertEqual(result.returncode, 1)
        self.assertIn("no source files", result.stderr)


unittest.main()
