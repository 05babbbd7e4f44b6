#!/usr/bin/python3
"""Opens what vynlite-batch writes with VTK's own readers (package python3-vtk9) and compares.

    scripts/check_vtk_files.py build/release/bin/vynlite-batch FIELD.vtp

FIELD.vtp is a field on a mesh, as `project` and `run --save-mesh` write it. It is converted to
every format that VTK reads; points and values must be the same, NaN where not seen included.
"""
import math
import os
import subprocess
import sys
import tempfile

import vtk


def polydata(reader, path):
    reader.SetFileName(path)
    reader.Update()
    return reader.GetOutput()


def legacy_reader():
    reader = vtk.vtkPolyDataReader()
    reader.ReadAllScalarsOn()  # it takes the first array only
    return reader


def numbers(array):
    return [array.GetTuple(i) for i in range(array.GetNumberOfTuples())]


def points(data):
    return [data.GetPoint(i) for i in range(data.GetNumberOfPoints())]


def same(a, b):
    return len(a) == len(b) and all(
        x == y or (math.isnan(x) and math.isnan(y)) for s, t in zip(a, b) for x, y in zip(s, t))


def check(label, data, truth):
    failures = 0
    if not same(points(data), points(truth)):
        print(f"{label}: points differ")
        failures += 1
    for i in range(truth.GetPointData().GetNumberOfArrays()):
        wanted = truth.GetPointData().GetArray(i)
        found = data.GetPointData().GetArray(wanted.GetName())
        if wanted.GetName() == "vtkGhostType":
            continue
        if found is None or not same(numbers(found), numbers(wanted)):
            print(f"{label}: {wanted.GetName()} differs")
            failures += 1
    print(f"{label}: {data.GetNumberOfPoints()} points, {data.GetNumberOfCells()} cells, "
          f"{data.GetPointData().GetNumberOfArrays()} arrays, {failures} failures")
    return failures


def main():
    program, field = sys.argv[1:3]
    truth = polydata(vtk.vtkXMLPolyDataReader(), field)
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        def convert(extension):
            target = os.path.join(folder, "field." + extension)
            subprocess.run([program, "mesh", "convert", field, target], check=True)
            return target

        again = convert("vtp")
        failures += check("vtp", polydata(vtk.vtkXMLPolyDataReader(), again), truth)
        failures += check("vtk", polydata(legacy_reader(), convert("vtk")), truth)
        if not failures:
            failures += check_tecplot(convert("dat"), truth)
        names = truth.GetFieldData().GetArray("zone_sizes")
        if names and names.GetNumberOfTuples() and all(row[0] > 0 for row in numbers(names)):
            failures += check_plot3d(convert("xyz"), convert("f"), truth)
    return 1 if failures else 0


def blocks_of(data):
    return [data.GetBlock(i) for i in range(data.GetNumberOfBlocks())]


def joined(blocks, of_block):
    """What the blocks hold, one after another."""
    return [row for block in blocks for row in of_block(block)]


def value_arrays(truth):
    """Names of the quantities at the points, in their order; VTK's own marks left out."""
    arrays = truth.GetPointData()
    names = [arrays.GetArrayName(i) for i in range(arrays.GetNumberOfArrays())]
    return [name for name in names if name != "vtkGhostType"]


def check_blocks(label, blocks, truth, names, equal):
    """Points and values of all blocks together; `names` are those that the blocks use."""
    failures = 0
    if not equal(joined(blocks, points), points(truth)):
        print(f"{label}: points differ")
        failures += 1
    for name, wanted in zip(names, value_arrays(truth)):
        found = joined(blocks, lambda block: numbers(block.GetPointData().GetArray(name)))
        if not equal(found, numbers(truth.GetPointData().GetArray(wanted))):
            print(f"{label}: {wanted} differs")
            failures += 1
    print(f"{label}: {len(blocks)} blocks, {len(joined(blocks, points))} points, "
          f"{len(names)} arrays, {failures} failures")
    return failures


def same_as_floats(a, b):
    """VTK's Tecplot reader keeps 32 bits."""
    return len(a) == len(b) and all(
        abs(x - y) <= 1e-6 * max(1, abs(y)) or (math.isnan(x) and math.isnan(y))
        for s, t in zip(a, b) for x, y in zip(s, t))


def check_tecplot(path, truth):
    reader = vtk.vtkTecplotReader()
    reader.SetFileName(path)
    reader.Update()
    return check_blocks("dat", blocks_of(reader.GetOutput()), truth, value_arrays(truth),
                        same_as_floats)


def check_plot3d(grid, functions, truth):
    reader = vtk.vtkMultiBlockPLOT3DReader()
    reader.SetXYZFileName(grid)
    reader.SetFunctionFileName(functions)
    reader.MultiGridOn()
    reader.SetByteOrderToLittleEndian()
    reader.HasByteCountOff()
    reader.IBlankingOn()
    reader.DoublePrecisionOn()
    names = [f"function {i}" for i in range(len(value_arrays(truth)))]
    for name in names:
        reader.AddFunctionName(name)
    reader.Update()
    return check_blocks("xyz", blocks_of(reader.GetOutput()), truth, names, same)


if __name__ == "__main__":
    sys.exit(main())
