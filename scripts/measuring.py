"""What a user does with Vorta Studio in end-to-end tests, and what the saved files must hold: they are read by ncdump and
numpy, not by the program's own code."""

import re
import subprocess

import numpy as np
from person import check, grab_screen, screen_rests, wait_for, xdotool
from picture import read_picture

SATURATED = 255
VIEW_BACKGROUND = (32, 34, 38)


def read_data(path):
    """The points of a data file as (rows, columns, 3), and which of them the studio masks by itself."""

    def variable(name):
        text = subprocess.run(["ncdump", "-p", "9", "-v", name, path], check=True, capture_output=True, text=True).stdout
        values = text.rsplit(f"\n {name} =", 1)[1].split(";", 1)[0]
        return np.array(values.replace("_", "nan").replace("NaNf", "nan").split(","), np.float32)

    header = subprocess.run(["ncdump", "-h", path], check=True, capture_output=True, text=True).stdout
    rows, columns = (int(re.search(rf"\b{name} = (\d+) ;", header)[1]) for name in ("row", "column"))
    points = np.stack([variable(name) for name in "xyz"], axis=-1).reshape(rows, columns, 3)
    colours = variable("colour").reshape(rows, columns, 3)

    def setting(group, name):
        return float(re.search(rf'group: {group} {{.*?:{name} = "([^"]*)"', header, re.DOTALL)[1])

    contrast = variable("contrast").reshape(rows, columns)
    masked = np.all(colours == SATURATED, axis=-1) | (contrast < setting("Contrast", "Threshold"))
    return points, colours.astype(np.uint8), masked


def read_header(file, last):
    header = []
    while not header or not header[-1].startswith(last):
        header.append(file.readline().decode("ascii").strip())
    return header


def read_pcd(path):
    """The points and colours of a binary PCD file as (points, 3)."""
    with open(path, "rb") as file:
        header = dict(line.split(" ", 1) for line in read_header(file, "DATA"))
        check(header["DATA"] == "binary" and header["FIELDS"].split()[:3] == ["x", "y", "z"], f"{header}")
        kinds = {"F4": "<f4", "U4": "<u4", "U1": "u1"}
        fields = zip(header["FIELDS"].split(), header["TYPE"].split(), header["SIZE"].split())
        record = np.dtype([(name, kinds[kind + size]) for name, kind, size in fields])
        values = np.frombuffer(file.read(), record)
    check(len(values) == int(header["POINTS"]), f"PCD holds {len(values)} points, its header says {header['POINTS']}")
    colour = np.ascontiguousarray(values["rgb"]).view("<u4")
    colours = np.stack([colour >> 16 & 255, colour >> 8 & 255, colour & 255], axis=-1).astype(np.uint8)
    return np.stack([values[name] for name in "xyz"], axis=-1), colours


def read_ply(path):
    """The points and colours of a binary PLY file as (points, 3)."""
    with open(path, "rb") as file:
        header = read_header(file, "end_header")
        check("format binary_little_endian 1.0" in header, f"{header}")
        count = next(int(line.split()[2]) for line in header if line.startswith("element vertex"))
        vertices = header[next(i for i, line in enumerate(header) if line.startswith("element vertex")) + 1:]
        kinds = {"float": "<f4", "uchar": "u1", "uint8": "u1", "float32": "<f4"}
        fields = []
        for line in vertices:
            if not line.startswith("property"):
                break
            fields.append((line.split()[2], kinds[line.split()[1]]))
        values = np.frombuffer(file.read(count * np.dtype(fields).itemsize), np.dtype(fields))
    return np.stack([values[name] for name in "xyz"], axis=-1), np.stack(
        [values[name] for name in ("red", "green", "blue")], axis=-1)


def same(a, b):
    return a.shape == b.shape and np.array_equal(a, b, equal_nan=a.dtype.kind == "f")


def check_files(folder, dragged):
    """Compares what the files hold; `dragged` is the rectangle's size on the screen."""
    measured, colours, masked = read_data(folder / "session.vdf")
    valid = np.isfinite(measured).all(axis=-1)
    check(valid.sum() > 0.3 * valid.size, f"only {valid.sum()} points were measured")

    points, point_colours = read_pcd(folder / "session.pcd")
    check(len(points) == valid.size, f"PCD holds {len(points)} points, the data file {valid.size}")
    ordered = points.reshape(measured.shape)
    check(same(point_colours, colours.reshape(-1, 3)), "PCD and data file differ in colours")
    kept = np.isfinite(ordered).all(axis=-1)
    check(same(ordered[kept], measured[kept]), "PCD and data file differ in points")

    # What is gone beyond what the studio masks by itself lies in the rectangle, and nothing in there is left.
    hidden = valid & ~kept
    rows, columns = np.nonzero(hidden & ~masked)
    check(rows.size > 0, "nothing was masked")
    box = kept[rows.min():rows.max() + 1, columns.min():columns.max() + 1]
    check(not box.any(), "points in the rectangle were saved")
    height, width = box.shape
    check(abs(width / height * dragged[1] / dragged[0] - 1) < 0.05, f"dragged {dragged}, masked {width} x {height}")
    check(not kept[masked].any(), "points that the studio masks by itself were saved")

    points, point_colours = read_ply(folder / "ordered.ply")
    check(same(points, np.where(kept[..., None], ordered, 0).reshape(-1, 3)), "PCD and ordered PLY differ in points")
    check(same(point_colours, colours.reshape(-1, 3)), "PCD and ordered PLY differ in colours")
    points, point_colours = read_ply(folder / "unordered.ply")
    check(same(points, ordered[kept]), "PCD and unordered PLY differ in points")
    check(same(point_colours, colours[kept]), "PCD and unordered PLY differ in colours")
    points = np.loadtxt(folder / "session.xyz", dtype=np.float32, usecols=(0, 1, 2))
    check(len(points) == valid.size, f"XYZ holds {len(points)} points, the data file {valid.size}")
    points = points.reshape(measured.shape)
    check(np.array_equal(np.isfinite(points).all(axis=-1), kept), "XYZ and PCD differ in which points are valid")
    difference = np.abs(points[kept] - ordered[kept]).max()
    check(difference < 0.0501, f"XYZ and PCD differ by {difference} mm, one decimal allows 0.05")

    points, point_colours = read_pcd(folder / "again.pcd")
    check(same(points, np.where(masked[..., None], np.float32(np.nan), measured).reshape(-1, 3)),
          "the opened data file has other points")
    check(same(point_colours, colours.reshape(-1, 3)), "the opened data file has other colours")
    print(f"{valid.sum()} points measured, {hidden.sum()} hidden, {kept.sum()} in each of the exported files; "
          f"XYZ rounds by {difference:.2g} mm")


def check_cloud_is_shown(screenshot):
    """Whether the 3D view shows a coloured cloud: it fills some of the largest area with that view's background."""
    pixels = read_picture(screenshot)
    rows, columns = np.nonzero(np.all(pixels == VIEW_BACKGROUND, axis=-1))
    check(rows.size > 0.02 * pixels[..., 0].size, "the 3D view's background is nowhere to be seen")
    view = pixels[rows.min():rows.max() + 1, columns.min():columns.max() + 1].reshape(-1, 3)
    cloud = view[np.any(view != VIEW_BACKGROUND, axis=-1)]
    check(len(cloud) > 0.1 * len(view), f"the 3D view shows a cloud in {len(cloud)} of its {len(view)} pixels")
    colours = len(np.unique(cloud, axis=0))
    check(colours > 200, f"the 3D view's cloud has {colours} colours")


def measure_and_save(studio, out):
    """What the user does first; returns the size of the rectangle that was dragged."""
    studio.click("camera.png")
    studio.find("disk.png")
    wait_for("the cloud", screen_rests)
    grab_screen(out / "grabbed.png")
    check_cloud_is_shown(out / "grabbed.png")
    left, top = studio.click("layer-shape.png")
    # The upper of the two viewers, that of the camera image, begins below its tools.
    start, dragged = (left + 60, top + 60), (90, 60)
    wait_for("the picture", screen_rests)
    xdotool("mousemove", *start, "mousedown", 1, "mousemove_relative", "--sync", *dragged, "mouseup", 1)
    wait_for("the selection", screen_rests)
    grab_screen(out / "selected.png")
    studio.click("checkmark.png")
    wait_for("the mask", screen_rests)
    grab_screen(out / "masked.png")
    for name in ("session.vdf", "session.xyz", "ordered.ply", "session.pcd"):
        studio.save(out / name)
    studio.save(out / "unordered.ply", unordered=True)
    return dragged


def save_again(studio, out):
    studio.save(out / "again.pcd")
    grab_screen(out / "opened.png")
