"""Surface pressure from pressure-sensitive-paint pictures: what VynLite computes, for Python.

Planes of images are NumPy arrays of shape (rows, columns); a position is (x, y) in pixels, x the column and
y the row, with the centre of the first pixel at (0, 0). Every failure is a `vynlite.Error` with the program's own
text. Long computations give way to other threads, and Ctrl-C stops them.
"""

from ._vynlite import *  # noqa: F401,F403
from ._vynlite import __version__  # noqa: F401
