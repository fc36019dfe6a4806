#!/usr/bin/env python3
"""Makes the demo scene's meshes (mm, z up): duck.obj, beak.obj, vase.obj, ring.obj, pencil.obj."""

import numpy as np


def write(name, vertices, faces, comment):
    with open(name, "w") as f:
        f.write(f"# {comment}\n")
        for v in vertices:
            f.write("v %.2f %.2f %.2f\n" % tuple(v))
        for face in faces:
            f.write("f " + " ".join(str(i + 1) for i in face) + "\n")


def ellipsoid(p, centre, radii):
    q = (p - np.array(centre)) / np.array(radii)
    length = np.linalg.norm(q, axis=-1)
    return (length - 1.0) * min(radii)


def blend(a, b, k):
    """Smooth union of two distances, rounded over about k mm."""
    h = np.clip(0.5 + 0.5 * (b - a) / k, 0.0, 1.0)
    return b * (1 - h) + a * h - k * h * (1 - h)


def duck(p):
    mirrored = p * np.array([1.0, 1.0, 1.0])
    mirrored[..., 0] = np.abs(mirrored[..., 0])
    d = ellipsoid(p, (0, 0, 34), (40, 54, 34))
    d = blend(d, ellipsoid(p, (0, 50, 58), (15, 17, 15)), 26)
    d = blend(d, ellipsoid(p, (0, -30, 90), (29, 30, 28)), 14)
    d = blend(d, ellipsoid(mirrored, (38, 10, 44), (8, 27, 17)), 7)
    return np.maximum(d, 3.0 - p[..., 2])  # a flat bottom


def beak(p):
    upper = ellipsoid(p, (0, -62, 87), (15, 14, 5))
    lower = ellipsoid(p, (0, -58, 79), (11, 12, 4))
    return blend(upper, lower, 5)


def surface(distance, low, high, step):
    """Naive surface nets: one vertex in each cell that the surface crosses, one quad for each edge it crosses."""
    axes = [np.arange(a, b + step, step) for a, b in zip(low, high)]
    grid = np.stack(np.meshgrid(*axes, indexing="ij"), axis=-1)
    value = distance(grid)
    inside = value < 0
    cells = np.zeros(np.array(value.shape) - 1, dtype=int)
    for i in (0, 1):
        for j in (0, 1):
            for k in (0, 1):
                cells += inside[i:i + cells.shape[0], j:j + cells.shape[1], k:k + cells.shape[2]]
    crossed = np.argwhere((cells > 0) & (cells < 8))
    number = -np.ones(cells.shape, dtype=int)
    number[tuple(crossed.T)] = np.arange(len(crossed))
    vertices = np.array(low) + (crossed + 0.5) * step
    for _ in range(8):  # onto the surface along the gradient
        eps = 0.05
        gradient = np.stack([(distance(vertices + e) - distance(vertices - e)) / (2 * eps)
                             for e in eps * np.eye(3)], axis=-1)
        norm = np.maximum((gradient ** 2).sum(-1, keepdims=True), 0.05)
        vertices -= 0.8 * distance(vertices)[:, None] * gradient / norm
    faces = []
    for axis in range(3):
        u, v = (axis + 1) % 3, (axis + 2) % 3
        first = np.take(inside, range(inside.shape[axis] - 1), axis=axis)
        second = np.take(inside, range(1, inside.shape[axis]), axis=axis)
        for cell in np.argwhere(first != second):
            ring = []
            for du, dv in ((0, 0), (1, 0), (1, 1), (0, 1)):
                corner = cell.copy()
                corner[u] -= du
                corner[v] -= dv
                ring.append(number[tuple(corner)])
            if first[tuple(cell)]:
                ring.reverse()
            faces.append(ring)
    return vertices, faces


def smooth_profile(points, samples):
    """Catmull-Rom curve through (radius, height) points."""
    p = np.array([points[0], *points, points[-1]], dtype=float)
    curve = []
    for i in range(1, len(p) - 2):
        for t in np.linspace(0, 1, samples, endpoint=False):
            a, b, c, d = p[i - 1:i + 3]
            curve.append(0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t ** 2
                                + (3 * b - a - 3 * c + d) * t ** 3))
    curve.append(p[-2])
    return np.array(curve)


def revolve(profile, segments):
    angles = np.linspace(0, 2 * np.pi, segments, endpoint=False)
    vertices = [(r * np.cos(a), r * np.sin(a), z) for r, z in profile for a in angles]
    faces = []
    for i in range(len(profile) - 1):
        for s in range(segments):
            t = (s + 1) % segments
            faces.append([i * segments + s, i * segments + t, (i + 1) * segments + t, (i + 1) * segments + s])
    return vertices, faces


def torus(radius, tube, segments, sides):
    circle = np.linspace(0, 2 * np.pi, sides + 1)
    return revolve([(radius + tube * np.cos(a), tube + tube * np.sin(a)) for a in circle], segments)


write("duck.obj", *surface(duck, (-60, -75, -6), (60, 85, 130), 4.0), "Body of a rubber duck")
write("beak.obj", *surface(beak, (-24, -84, 66), (24, -34, 100), 2.5), "Beak of the duck")
vase = smooth_profile([(24, 0), (27, 3), (44, 45), (40, 85), (19, 118), (17, 132), (27, 150), (25, 150), (15, 132),
                       (17, 118), (36, 85), (38, 45)], 6)
write("vase.obj", *revolve(vase, 64), "A vase, open at the top")
write("ring.obj", *torus(26, 7, 56, 20), "A ring that lies flat")
pencil = [(0.0, 0), (3.9, 0), (3.9, 132), (1.0, 148), (0.0, 150)]
write("pencil.obj", *revolve(pencil, 6), "A pencil along z")
