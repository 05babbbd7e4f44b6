"""Test points made by vynlite-batch, once for all tests of a process."""

import atexit
import functools
import os
import pathlib
import shutil
import subprocess
import tempfile

import numpy

BATCH = os.environ["VYN_BATCH"]


@functools.cache
def folder():
    made = pathlib.Path(tempfile.mkdtemp())
    atexit.register(shutil.rmtree, made)
    return made


def batch(*arguments):
    subprocess.run([BATCH, *map(str, arguments), "--quiet"], check=True, stdout=subprocess.DEVNULL)


@functools.cache
def point():
    """The folder of a flat test point with lens distortion, dots and pressure ports."""
    batch("sample", folder() / "point", "--size", "240x180")
    return folder() / "point"


@functools.cache
def model_point():
    """The same of a model in space."""
    batch("sample", folder() / "model", "--size", "240x180", "--mesh")
    return folder() / "model"


@functools.cache
def speckle():
    """Grains of paint, enough of them that a correlation takes more than a moment."""
    grains = numpy.random.default_rng(1).random((800, 1000), dtype="f4")
    return sum(numpy.roll(grains, (i, j), (0, 1)) for i in range(3) for j in range(3))


class SameBits:
    """For test cases: values and masks are the same bits."""

    def assert_same_bits(self, image, other):
        self.assertEqual(image.values.tobytes(), other.values.tobytes())
        self.assertEqual(image.mask.tobytes(), other.mask.tobytes())
