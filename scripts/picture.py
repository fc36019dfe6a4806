"""Pictures as numpy arrays."""

import subprocess

import numpy as np


def read_picture(path, *changes):
    """A picture's pixels as (rows, columns, 3), 8 bits each, after changes in ImageMagick's words."""
    data = subprocess.run(["convert", path, *changes, "-depth", "8", "ppm:-"], check=True, capture_output=True).stdout
    kind, size, largest, pixels = data.split(b"\n", 3)
    if (kind, largest) != (b"P6", b"255"):
        raise ValueError(f"{path} cannot be read")
    width, height = (int(number) for number in size.split())
    return np.frombuffer(pixels, np.uint8).reshape(height, width, 3)
