#!/usr/bin/env python3
"""Makes plate.obj: the turntable's plate, 90 mm in radius and 12 mm high with its top at z = 0 and a bevelled rim."""

import math

SEGMENTS = 96
PROFILE = [(88.0, 0.0), (90.0, -2.0), (90.0, -12.0)]  # radius, height; from the top's edge down

with open("plate.obj", "w") as f:
    f.write("# A turntable's plate, mm, z up\nv 0 0 0\n")
    for radius, height in PROFILE:
        for i in range(SEGMENTS):
            angle = 2 * math.pi * i / SEGMENTS
            f.write("v %.3f %.3f %.3f\n" % (radius * math.cos(angle), radius * math.sin(angle), height))
    for i in range(SEGMENTS):
        j = (i + 1) % SEGMENTS
        f.write("f 1 %d %d\n" % (i + 2, j + 2))
        for ring in range(len(PROFILE) - 1):
            upper, lower = 2 + ring * SEGMENTS, 2 + (ring + 1) * SEGMENTS
            f.write("f %d %d %d %d\n" % (upper + i, lower + i, lower + j, upper + j))
