#!/usr/bin/python3
"""Makes the documentation's pictures anew and compares them with the committed ones.

screenshots_test.py SOURCES PROGRAMS ICONS OUT

Needs a screen of 1280 x 800 pixels. Two pictures are the same when they have the same size, differ by at most one grey
level on average, and in no square of 16 x 16 pixels by more than eight: scattered pixels of the 3D view may differ
between processors, a word may not.
"""

import pathlib
import shutil
import subprocess
import sys
import unittest

import numpy as np

SOURCES, PROGRAMS, ICONS, OUT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])

sys.path.insert(0, str(SOURCES / "scripts"))
# pylint: disable=wrong-import-position
from picture import read_picture  # noqa: E402

COMMITTED = SOURCES / "docs" / "images"

LARGEST_MEAN = 1.0  # grey levels
SQUARE = 16  # pixels
LARGEST_IN_SQUARE = 8.0
LARGEST_FILE = 250_000  # bytes
LARGEST_SUM = 1_500_000

REMEDY = f"""
Look at the new pictures in {OUT}. If they show what is meant, take them over:

    VORTA_SCREEN_SIZE=1280x800 scripts/with-screen scripts/screenshots {PROGRAMS} \\
        {ICONS} {COMMITTED}
"""


def difference(new, old):
    """In what two pictures differ, in words; empty where they are the same."""
    if new.shape != old.shape:
        return f"its size is {new.shape[1]} x {new.shape[0]}, not {old.shape[1]} x {old.shape[0]}"
    by = np.abs(new.astype(np.float32) - old.astype(np.float32)).mean(axis=2)
    if by.mean() > LARGEST_MEAN:
        return f"its pixels differ by {by.mean():.2f} grey levels on average, {LARGEST_MEAN:g} is allowed"
    rows, columns = (-(-length // SQUARE) * SQUARE for length in by.shape)
    padded = np.zeros((rows, columns), np.float32)
    padded[:by.shape[0], :by.shape[1]] = by
    squares = padded.reshape(rows // SQUARE, SQUARE, columns // SQUARE, SQUARE).mean(axis=(1, 3))
    if squares.max() > LARGEST_IN_SQUARE:
        row, column = np.unravel_index(squares.argmax(), squares.shape)
        return (f"{(squares > LARGEST_IN_SQUARE).sum()} squares differ, the one at {column * SQUARE}, {row * SQUARE} "
                f"by {squares.max():.1f} grey levels, {LARGEST_IN_SQUARE:g} are allowed")
    return ""


class Screenshots(unittest.TestCase):
    def test_pictures_are_what_the_program_shows(self):
        shutil.rmtree(OUT, ignore_errors=True)
        OUT.mkdir(parents=True)
        made = subprocess.run([SOURCES / "scripts" / "screenshots", PROGRAMS, ICONS, OUT], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.assertEqual(made.returncode, 0, made.stdout)
        names = sorted(path.name for path in OUT.glob("*.png"))
        self.assertEqual(names, sorted(path.name for path in COMMITTED.glob("*.png")), REMEDY)
        for name in names:
            with self.subTest(picture=name):
                found = difference(read_picture(OUT / name), read_picture(COMMITTED / name))
                self.assertEqual(found, "", f"docs/images/{name}: {found}.\n{REMEDY}")

    def test_pictures_are_small(self):
        sizes = {path.name: path.stat().st_size for path in COMMITTED.glob("*.png")}
        self.assertGreater(len(sizes), 0)
        self.assertEqual({name: size for name, size in sizes.items() if size > LARGEST_FILE}, {})
        self.assertLess(sum(sizes.values()), LARGEST_SUM)

    def test_another_word_is_another_picture(self):
        for path in COMMITTED.glob("*.png"):
            with self.subTest(picture=path.name):
                picture = read_picture(path)
                self.assertEqual(difference(picture, picture), "")
                for place in ("northwest", "center", "southeast"):
                    written = read_picture(path, "-gravity", place, "-font", "DejaVu-Sans", "-pointsize", "12",
                                           "-fill", "magenta", "-annotate", "+24+24", "Apply")
                    self.assertNotEqual(difference(written, picture), "", place)

    def test_scattered_pixels_are_no_other_picture(self):
        for path in COMMITTED.glob("*.png"):
            with self.subTest(picture=path.name):
                picture = read_picture(path)
                scattered = picture.copy()
                scattered[::29, ::29] ^= 0x7F
                self.assertEqual(difference(scattered, picture), "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
