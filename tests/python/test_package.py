"""Type stubs say what the module has, and the notebooks of the examples run."""

import ast
import contextlib
import inspect
import io
import json
import os
import pathlib
import unittest

import vynlite
from support import folder, point

SOURCE = pathlib.Path(os.environ["VYN_SOURCE"])


def parameters(function):
    """Names, which of them go by name only, and which have a default."""
    args = function.args
    defaults = [None] * (len(args.args) - len(args.defaults)) + args.defaults
    return [(a.arg, False, d is not None) for a, d in zip(args.args, defaults)] + [
        (a.arg, True, d is not None) for a, d in zip(args.kwonlyargs, args.kw_defaults)
    ]


def own_words(function):
    """The signature that the module itself writes into the first line of a docstring."""
    return parameters(ast.parse("def " + function.__doc__.split("\n")[0] + ": ...").body[0])


def members(body):
    """Functions by name and names of attributes of a stub's module or class."""
    functions, attributes = {}, set()
    for node in body:
        if isinstance(node, ast.FunctionDef):
            decorators = [ast.unparse(d) for d in node.decorator_list]
            if "property" in decorators:
                attributes.add(node.name)
            elif not any(d.endswith(".setter") for d in decorators):
                functions[node.name] = node
        elif isinstance(node, ast.AnnAssign):
            attributes.add(node.target.id)
    return functions, attributes


class Stubs(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        package = pathlib.Path(vynlite.__file__).parent
        self.assertTrue((package / "py.typed").exists())
        self.stub = ast.parse((package / "__init__.pyi").read_text()).body

    def check_functions(self, stub, real, where):
        self.assertEqual(sorted(stub), sorted(real), where)
        for name, function in real.items():
            if not (name.startswith("__") and name.endswith("__")) or name == "__init__":
                with self.subTest(where + "." + name):
                    self.assertTrue(function.__doc__)
                    self.assertEqual(
                        [p for p in parameters(stub[name]) if p[0] != "self"],
                        [p for p in own_words(function) if p[0] != "self"],
                    )

    def test_they_have_the_names_and_parameters_of_the_module(self):
        public = {name: value for name, value in vars(vynlite).items() if not name.startswith("_")}
        classes = {name for name, value in public.items() if inspect.isclass(value)}
        stub_classes = {node.name: node for node in self.stub if isinstance(node, ast.ClassDef)}
        self.assertEqual(sorted(stub_classes), sorted(classes))
        self.check_functions(
            members(self.stub)[0], {n: v for n, v in public.items() if n not in classes}, "vynlite"
        )
        for name in classes:
            if issubclass(public[name], Exception):
                continue
            own = {
                n: v.__func__ if isinstance(v, staticmethod) else v
                for n, v in vars(public[name]).items()
                if n not in ("__doc__", "__module__", "__hash__", "__new__")
            }
            functions, attributes = members(stub_classes[name].body)
            has = {n for n, v in own.items() if isinstance(v, property)}
            self.assertEqual(sorted(attributes), sorted(has), name)
            made = {n: v for n, v in own.items() if n not in has}
            if "__init__" not in functions:  # pybind11 gives every class one, which refuses
                with self.assertRaisesRegex(TypeError, "No constructor"):
                    public[name]()
                made.pop("__init__", None)
            self.check_functions(functions, made, name)

    def test_writable_attributes_are_those_that_the_stubs_let_be_written(self):
        for node in self.stub:
            if not isinstance(node, ast.ClassDef) or node.name.endswith("Error"):
                continue
            writable = {n.target.id for n in node.body if isinstance(n, ast.AnnAssign)} | {
                n.name
                for n in node.body
                if isinstance(n, ast.FunctionDef) and any(ast.unparse(d).endswith(".setter") for d in n.decorator_list)
            }
            real = {
                n for n, v in vars(getattr(vynlite, node.name)).items() if isinstance(v, property) and v.fset is not None
            }
            self.assertEqual(sorted(writable), sorted(real), node.name)


class Notebooks(unittest.TestCase):
    def test_they_run(self):
        notebooks = sorted((SOURCE / "examples" / "notebooks").glob("*.ipynb"))
        self.assertTrue(notebooks)
        for path in notebooks:
            with self.subTest(path.name):
                names = {"__name__": "__main__"}
                cells = [c for c in json.loads(path.read_text())["cells"] if c["cell_type"] == "code"]
                self.assertTrue(all(not cell["outputs"] for cell in cells))
                with contextlib.chdir(point()), contextlib.redirect_stdout(io.StringIO()):
                    for cell in cells:
                        exec(compile("".join(cell["source"]), path.name, "exec"), names)
                self.assertLess(names["typical_error"], 1e-4 * names["pressure_range"])


if __name__ == "__main__":
    unittest.main()
