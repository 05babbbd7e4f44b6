#!/usr/bin/python3
"""exchange_check.py BATCH: files of other programs are read by vynlite-batch to the same values, or refused with
the reason; what vynlite-batch writes is opened by the programs of its field. Prints a table; 1 when one is wrong."""
import os
import struct
import subprocess
import sys
import tempfile

import h5py
import numpy as np
import tifffile
import vtk
from astropy.io import fits
from osgeo import gdal
from PIL import Image
from silx.io.nxdata import get_default
from vtk.util.numpy_support import vtk_to_numpy

gdal.UseExceptions()
batch = os.path.abspath(sys.argv[1])
folder = tempfile.TemporaryDirectory()
os.chdir(folder.name)
height, width = 60, 80
counts = np.random.default_rng(1).integers(0, 4095, (height, width)).astype("u2")
floats = counts.astype("f4") / 7
results = []  # (right, refused or wrong; what; remark)


def call(*arguments):
    return subprocess.run([batch, *arguments, "--force"], capture_output=True, text=True)


def reads(what, name, expected, *options):
    """expected: the values, or words of the reason for refusing them."""
    if os.path.exists("out.tif"):
        os.remove("out.tif")
    done = call("convert", name, "out.tif", *options)
    said = done.stderr.strip().split("\n")[-1]
    if isinstance(expected, str):
        good = done.returncode == 1 and expected in said
        results.append(("refused" if good else "wrong", what, said[-100:] or "it was read"))
    elif done.returncode:
        results.append(("wrong", what, said[-100:]))
    else:
        same = np.array_equal(tifffile.imread("out.tif"), np.asarray(expected, "f4"), equal_nan=True)
        results.append(("right" if same else "wrong", what, "read"))


def opened(what, good):
    results.append(("right" if good else "wrong", what, "written"))


def numpy_files():
    for kind in ["u1", "i1", "<u2", ">u2", "<i2", "<u4", "<i4", "<u8", "<i8", "<f4", ">f4", "<f8", "?"]:
        array = counts % 2 == 0 if kind == "?" else (counts % 100).astype(kind)
        np.save("a.npy", array)
        reads(f"npy {kind}", "a.npy", array)
    for what, array, expected in [
        ("column order", np.asfortranarray(counts), counts),
        ("burst", np.stack([counts, counts + 2]), counts + 1),
        ("colours", np.stack([counts] * 3, -1), "colours"),
        ("half", counts.astype("f2"), "not supported"),
        ("complex", counts.astype("c8"), "not supported"),
        ("one axis", counts.ravel(), "1 axes"),
        ("records", np.zeros(5, dtype=[("a", "u2"), ("b", "u2")]), "records"),
    ]:
        np.save("a.npy", array)
        reads("npy " + what, "a.npy", expected)


def pgm_files():
    Image.fromarray((counts % 256).astype("u1")).save("a.pgm")
    reads("pgm 8 bit, Pillow", "a.pgm", counts % 256)
    Image.fromarray(counts.astype("i4")).convert("I").save("b.pgm")
    reads("pgm 16 bit, Pillow", "b.pgm", counts)
    with open("c.pgm", "w") as file:
        rows = "\n".join(" ".join(map(str, row)) for row in counts)
        file.write(f"P2\n# c\n{width} {height}\n4095\n{rows}\n")
    reads("pgm as text", "c.pgm", counts)
    Image.fromarray(np.stack([(counts % 256).astype("u1")] * 3, -1)).save("a.ppm")
    reads("ppm", "a.ppm", "colour")


def fits_files():
    def write(name, hdu, **keywords):
        for key, value in keywords.items():
            hdu.header[key] = value
        hdu.writeto(name, overwrite=True)

    for kind in ["u1", "i2", "u2", "i4", "u4", "f4", "f8"]:
        write("a.fits", fits.PrimaryHDU((counts % 200).astype(kind)))
        reads(f"fits {kind}", "a.fits", counts % 200)
    write("a.fits", fits.PrimaryHDU(counts))
    reads("fits, first row at the bottom by option", "a.fits", counts[::-1], "--fits-first-row", "bottom")
    write("a.fits", fits.PrimaryHDU(counts), ROWORDER="TOP-DOWN")
    reads("fits top-down", "a.fits", counts)
    write("a.fits", fits.PrimaryHDU(counts), ROWORDER="BOTTOM-UP")
    reads("fits bottom-up", "a.fits", counts[::-1])
    scaled = fits.PrimaryHDU(counts.astype("f4"))
    scaled.scale("int16", bscale=0.5, bzero=1000)
    write("a.fits", scaled)
    reads("fits scaled", "a.fits", counts)
    write("a.fits", fits.HDUList([fits.PrimaryHDU(), fits.ImageHDU(floats)]))
    reads("fits extension", "a.fits", floats)
    write("a.fits.gz", fits.PrimaryHDU(floats))
    reads("fits.gz", "a.fits.gz", floats)
    holes = floats.copy()
    holes[3, 4] = np.nan
    write("a.fits", fits.PrimaryHDU(holes))
    reads("fits NaN", "a.fits", holes)
    write("a.fits", fits.PrimaryHDU(np.stack([counts, counts + 2]).astype("i4")))
    reads("fits cube is a burst", "a.fits", counts + 1)
    for method in ("RICE_1", "GZIP_1", "GZIP_2", "HCOMPRESS_1", "PLIO_1"):
        supported = "ZIP" in method or "RICE" in method
        for array in (counts.astype("i2"), counts) if supported else (counts.astype("i2"),):
            tiles = fits.CompImageHDU(array, compression_type=method)
            write("a.fits", fits.HDUList([fits.PrimaryHDU(), tiles]))
            reads(f"fits tiles {method} {array.dtype}", "a.fits", counts if supported else "not supported")
    tiles = fits.CompImageHDU(floats, compression_type="GZIP_2", quantize_level=0)
    write("a.fits", fits.HDUList([fits.PrimaryHDU(), tiles]))
    reads("fits tiles of floats", "a.fits", floats)


def tiff_files():
    def tiff(what, array, expected, *options, name="a.tif", **how):
        tifffile.imwrite(name, array, **how)
        reads("tiff " + what, name, expected, *options)

    for kind in ["u1", "u2", "i2", "u4", "i4", "f2", "f4", "f8"]:
        array = (counts % 100).astype(kind)
        for order in "<>":
            tiff(f"{kind} {order}", array, array, byteorder=order)
        tiff(f"{kind} tiles", array, array, tile=(16, 32))
        tiff(f"{kind} zlib", array, array, compression="zlib", rowsperstrip=7)
    for what, how in {
        "big": {"bigtiff": True},
        "zlib predictor": {"compression": "zlib", "predictor": True},
        "zlib tiles predictor": {"compression": "zlib", "predictor": True, "tile": (32, 16)},
        "one strip": {"rowsperstrip": height},
        "white is 0": {"photometric": "miniswhite"},
    }.items():
        tiff(what, counts, 65535 - counts if "white" in what else counts, **how)
    two, three = np.stack([counts, counts + 2]), np.stack([counts, counts + 2, counts + 4])
    tiff("pages are a burst", two, counts + 1, photometric="minisblack", metadata=None)
    tiff("shaped pages", two, counts + 1, photometric="minisblack")
    tiff("ImageJ frames", three, counts + 2, imagej=True, metadata={"axes": "TYX"})
    tiff("ImageJ slices", three, "no burst", imagej=True, metadata={"axes": "ZYX"})
    tiff("ImageJ slices averaged", three, counts + 2, "--stacks", "averaged", imagej=True, metadata={"axes": "ZYX"})
    tiff("ImageJ channels", two, "no burst", imagej=True, metadata={"axes": "CYX"})
    for axes, expected in {"CYX": "no burst", "ZYX": "no burst", "TYX": counts + 1}.items():
        tiff("OME " + axes, two, expected, name="a.ome.tif", metadata={"axes": axes}, photometric="minisblack")
    signed = counts.astype("i4") - 2000
    for what, array, expected, text in [
        ("ImageJ signed", (signed + 32768).astype("u2"), signed, "cf=0\nc0=-32768.0\nc1=1.0\nvunit=Gray Value\n"),
        ("ImageJ line", counts, 2 + 0.5 * counts.astype("f8"), "cf=0\nc0=2\nc1=0.5\nvunit=kPa\n"),
        ("ImageJ curve", counts, "no straight line", "cf=1\nc0=2\nc1=0.5\nc2=3\n"),
    ]:
        tiff(what, array, expected, description="ImageJ=1.53t\n" + text, metadata=None)
    turned = [counts, counts[:, ::-1], counts[::-1, ::-1], counts[::-1], counts.T, np.rot90(counts, -1)]
    turned += [counts[::-1, ::-1].T, np.rot90(counts)]
    for number, expected in enumerate(turned, 1):
        tiff(f"orientation {number}", counts, expected, extratags=[(274, "H", 1, number, True)])
    alpha = np.where(counts % 5 == 0, 0, 65535).astype("u2")
    grey = {"photometric": "minisblack"}
    masked = np.where(counts % 5 == 0, np.nan, counts.astype("f4"))
    tiff("alpha", np.stack([counts, alpha], -1), masked, planarconfig="contig", extrasamples=["unassalpha"], **grey)
    tiff("alpha in planes", np.stack([counts, alpha]), "planes of their own", planarconfig="separate",
         extrasamples=["unassalpha"], **grey)
    tiff("two samples", np.stack([counts, alpha], -1), "colour", planarconfig="contig", **grey)
    tiff("rgb", np.stack([counts] * 3, -1), "colour", photometric="rgb")
    holes, stored = floats.copy(), floats.copy()
    holes[0, :5], stored[0, :5] = np.nan, -9999
    tiff("GDAL no data", stored, holes, extratags=[(42113, "s", 0, "-9999", True)])
    tiff("MaxSampleValue", counts, counts, extratags=[(281, "H", 1, 4094, True)])
    tiff("lzma", counts, "not supported", compression="lzma")
    tiff("one row a strip", counts, counts, rowsperstrip=1)
    tiff("palette", (counts % 256).astype("u1"), "colour", photometric="palette",
         colormap=np.tile(np.arange(0, 65536, 256, dtype="u2"), (3, 1)))
    tiff("bilevel", counts % 2 == 0, counts % 2 == 0, photometric="minisblack")
    tiff("complex", counts.astype("c8"), "not supported")
    one_directory_of_many_frames("many.tif", 540)
    reads("tiff ImageJ, 4.3 GB behind one directory", "many.tif", np.ones((2000, 2000)))
    os.remove("many.tif")
    Image.fromarray(counts.astype("i4")).convert("I;16").save("p.tif")
    reads("tiff 16 bit, Pillow", "p.tif", counts)
    for compression in ["NONE", "LZW", "DEFLATE", "PACKBITS", "ZSTD"]:
        for tiled in ("YES", "NO"):
            made = gdal.GetDriverByName("GTiff").Create(
                "g.tif", width, height, 1, gdal.GDT_Float32, [f"COMPRESS={compression}", f"TILED={tiled}"])
            made.GetRasterBand(1).WriteArray(floats)
            del made
            reads(f"tiff GDAL {compression}{' tiles' if tiled == 'YES' else ''}", "g.tif", floats)


def one_directory_of_many_frames(name, frames):
    """As ImageJ stores more than 4 GB: black frames of 2000 x 2000, the last one with `frames` everywhere."""
    side = 2000
    text = f"ImageJ=1.53t\nimages={frames}\nframes={frames}\n".encode() + b"\0"
    text_at = 8 + 2 + 12 * 10 + 4
    pixels_at = text_at + len(text)
    entries = [(256, 3, 1, side), (257, 3, 1, side), (258, 3, 1, 16), (259, 3, 1, 1), (262, 3, 1, 1),
               (270, 2, len(text), text_at), (273, 4, 1, pixels_at), (277, 3, 1, 1), (278, 3, 1, side),
               (279, 4, 1, 2 * side * side)]
    with open(name, "wb") as file:
        file.write(b"II*\0" + struct.pack("<IH", 8, len(entries)))
        for entry in entries:
            file.write(struct.pack("<HHII", *entry))
        file.write(struct.pack("<I", 0) + text)
        file.seek(pixels_at + (frames - 1) * 2 * side * side)
        file.write(np.full((side, side), frames, "<u2").tobytes())


def png_files():
    for what, picture, expected in [
        ("8 bit", Image.fromarray((counts % 256).astype("u1")), counts % 256),
        ("16 bit", Image.fromarray(counts.astype("i4")).convert("I;16"), counts),
        ("rgb", Image.fromarray(np.stack([(counts % 256).astype("u1")] * 3, -1)), "colour"),
        ("palette", Image.fromarray((counts % 256).astype("u1")).convert("P"), "colour"),
    ]:
        picture.save("a.png")
        reads("png " + what + ", Pillow", "a.png", expected)


def camera_files():
    counts.astype(">u2").tofile("a.raw")
    reads("raw", "a.raw", counts, "--raw", f"width={width} height={height} type=u16 order=big")
    reads("raw, layout too short", "a.raw", "bytes more", "--raw", f"width={width} height=20")
    reads("raw without layout", "a.raw", "not an image")
    with open("a.raw.layout", "w") as file:
        file.write(f"width={width}\nheight={height}\norder=big\n")
    reads("raw, layout beside it", "a.raw", counts)
    with open("a.b16", "wb") as file:
        head = struct.pack("<4s6i", b"PCO-", 28 + counts.nbytes, 28, width, height, -1, 0)
        file.write(head + counts.astype("<u2").tobytes())
    reads("b16", "a.b16", counts)
    types = {0: "<f4", 1: "<i4", 2: "<i2", 3: "<u2", 5: "<f8", 6: "u1", 8: "<u4"}
    for version, code, kind in [(2.5, *item) for item in types.items()] + [(3.0, 3, "<u2")]:
        pixels = (counts % 200).astype(kind).tobytes()
        head = bytearray(4100)
        for place, form, value in [(10, "f", 0.1), (42, "H", width), (108, "h", code), (656, "H", height),
                                   (1446, "i", 1), (1992, "f", version), (2996, "I", 0x01234567),
                                   (4098, "H", 0x5555)]:
            struct.pack_into("<" + form, head, place, value)
        if version >= 3:
            struct.pack_into("<Q", head, 678, 4100 + len(pixels))
        with open("a.spe", "wb") as file:
            file.write(bytes(head) + pixels + (b"<SpeFormat/>" if version >= 3 else b""))
        reads(f"spe {version} {kind}", "a.spe", counts % 200)


def hdf5_files():
    def write(fill, name="a.h5"):
        with h5py.File(name, "w") as file:
            fill(file)

    def array(data, **storage):
        write(lambda file: file.create_dataset("picture", data=data, **storage))

    for kind in ["u1", "i1", "<u2", ">u2", "<i2", "<u4", "<i4", "<u8", "<f2", "<f4", ">f4", "<f8"]:
        values = (counts % 100).astype(kind)
        array(values)
        reads(f"hdf5 {kind}", "a.h5", values)
    for what, storage in [("gzip", {"compression": "gzip", "shuffle": True}), ("checksum", {"fletcher32": True}),
                          ("scale and offset", {"scaleoffset": 0}), ("blocks", {"chunks": (7, 9)})]:
        array(counts, **storage)
        reads("hdf5 " + what, "a.h5", counts)
    array(counts, compression="lzf")
    reads("hdf5 lzf", "a.h5", "not supported")
    array(np.stack([counts, counts + 2]), chunks=(1, 16, 16), compression="gzip")
    reads("hdf5 burst", "a.h5", counts + 1)
    for what, values, expected in [
        ("colours", np.stack([counts] * 3, -1), "colours"),
        ("one axis", counts.ravel(), "holds no picture"),
        ("four axes", counts.reshape(2, 2, 30, 40), "holds no picture"),
        ("boolean", counts > 5, "no plain numbers"),
        ("complex", counts.astype("c8"), "no plain numbers"),
    ]:
        array(values)
        reads("hdf5 " + what, "a.h5", expected)

    def two(file):
        file["one"] = counts
        file["deep/two"] = floats

    write(two)
    reads("hdf5 of two pictures", "a.h5", "say which: /deep/two, /one")
    reads("hdf5 by path", "a.h5", floats, "--data-set", "deep/two")
    reads("hdf5 by a wrong path", "a.h5", "it has no deep/three", "--data-set", "deep/three")

    def nexus(file):
        two(file)
        file.attrs["default"] = "entry"  # of variable length, as h5py has them
        entry = file.create_group("entry")
        entry.attrs.update(NX_class="NXentry", default="plot")
        plot = entry.create_group("plot")
        plot.attrs.update(NX_class="NXdata", signal="intensity")
        plot["intensity"] = floats

    write(nexus)
    reads("NeXus by its default", "a.h5", floats)
    write(lambda file: file.__setitem__("picture", h5py.SoftLink("/entry")), "b.h5")
    reads("hdf5 soft link", "b.h5", "is a link", "--data-set", "picture")
    write(lambda file: file.__setitem__("picture", h5py.ExternalLink("a.h5", "/one")), "b.h5")
    reads("hdf5 link to another file", "b.h5", "is a link", "--data-set", "picture")

    def elsewhere(file):
        layout = h5py.VirtualLayout(shape=counts.shape, dtype="u2")
        layout[:] = h5py.VirtualSource("a.h5", "one", shape=counts.shape)
        file.create_virtual_dataset("picture", layout)

    write(elsewhere, "b.h5")
    reads("hdf5 pixels in another file", "b.h5", "in other files")
    write(lambda file: file.create_dataset("picture", (4000, 4000), "f4"), "b.h5")
    reads("hdf5 without pixels", "b.h5", "holds no pixels")
    whole = open("a.h5", "rb").read()
    with open("b.h5", "wb") as file:
        file.write(whole[: len(whole) // 2])
    reads("hdf5 cut off", "b.h5", "damaged or cut off")


def written_files():
    """A field with a quantity, a unit, an origin and a hole, in every format that is written."""
    np.save("in.npy", floats)
    holes = floats.copy()
    holes[3, 4] = np.nan
    hdu = fits.PrimaryHDU(holes)
    for key, value in {"ROWORDER": "TOP-DOWN", "BUNIT": "kPa", "QUANTITY": "pressure"}.items():
        hdu.header[key] = value
    hdu.header.add_history('{"origin":{"wind_off_sens: file":"a.tif, 0123abcd"}}')
    hdu.writeto("in.fits", overwrite=True)
    call("convert", "in.fits", "o.vti")
    call("convert", "in.fits", "up.vti", "--y-up")
    for name in ["o.tif", "o.fits", "o.imp", "o.csv", "o.dat", "o.h5"]:
        done = call("convert", "in.fits", name)
        kept = open(name, "rb").read().replace(b" ", b"") if done.returncode == 0 else b""
        if name.endswith("fits"):  # cards of 80 characters
            kept = "".join(map(str, fits.getheader(name)["HISTORY"])).encode().replace(b" ", b"")
        opened(name + ": the origin is kept", b"wind_off_sens:file" in kept and b"0123abcd" in kept)
    same = lambda array: np.array_equal(array, holes, equal_nan=True)
    opened("tiff by tifffile", same(tifffile.imread("o.tif")))
    opened("tiff by GDAL", same(gdal.Open("o.tif").ReadAsArray()))
    opened("tiff by Pillow", same(np.asarray(Image.open("o.tif"))))
    with fits.open("o.fits") as file:
        head = file[0].header
        opened("fits by astropy", same(file[0].data) and (head["BUNIT"], head["ROWORDER"]) == ("kPa", "TOP-DOWN"))
    reads("own fits, whatever the option", "o.fits", holes, "--fits-first-row", "bottom")
    reader = vtk.vtkXMLImageDataReader()
    reader.SetFileName("o.vti")
    reader.Update()
    data = reader.GetOutput()
    values = data.GetPointData().GetScalars()
    opened("vti by VTK", data.GetDimensions() == (width, height, 1) and values.GetName() == "pressure"
           and same(vtk_to_numpy(values).reshape(height, width))
           and data.GetFieldData().GetAbstractArray("Unit").GetValue(0) == "kPa"
           and "0123abcd" in data.GetFieldData().GetAbstractArray("Description").GetValue(0))
    reader.SetFileName("up.vti")
    reader.Update()
    values = vtk_to_numpy(reader.GetOutput().GetPointData().GetScalars())
    opened("vti with y up by VTK", same(values.reshape(height, width)[::-1]))
    table = np.genfromtxt("o.csv", delimiter=",", comments="#", skip_header=2)
    head = open("o.csv").read().split("\n")[1]
    opened("csv by NumPy", same(table[:, 2].reshape(height, width).astype("f4")) and head == "x,y,pressure/kPa")
    reader = vtk.vtkTecplotReader()
    reader.SetFileName("o.dat")
    reader.Update()
    block = reader.GetOutput().GetBlock(0)
    arrays = [vtk_to_numpy(block.GetPointData().GetArray(i)) for i in range(block.GetPointData().GetNumberOfArrays())]
    opened("Tecplot by VTK", any(np.array_equal(array.reshape(height, width).astype("f4"), np.nan_to_num(floats)
           * ~np.isnan(holes)) or np.array_equal(array.reshape(height, width).astype("f4"), floats) for array in arrays))
    with h5py.File("o.h5") as file:
        shown = get_default(file)
        opened("NeXus by silx", shown is not None and shown.is_image and same(shown.signal[()])
               and shown.signal.attrs["units"] in (b"kPa", "kPa") and shown.axes_names == ["y", "x"])
        reads("own NeXus", "o.h5", holes)
        opened("NeXus by h5py", same(file["entry/data/pressure"][()]) and file["entry/data/excluded"][3, 4] == 1)
    Image.fromarray((counts % 256).astype("u1")).save("in.pgm")
    opened("png by Pillow", call("convert", "in.pgm", "o.png").returncode == 0
           and np.array_equal(np.asarray(Image.open("o.png")), counts % 256))


for part in (numpy_files, pgm_files, fits_files, tiff_files, png_files, camera_files, hdf5_files, written_files):
    part()
for state, what, remark in results:
    print(f"{state:8}{what:45}{remark}")
count = {state: sum(one[0] == state for one in results) for state in ("right", "refused", "wrong")}
print(f"{len(results)} files: " + ", ".join(f"{number} {state}" for state, number in count.items()))
sys.exit(count["wrong"] > 0)
