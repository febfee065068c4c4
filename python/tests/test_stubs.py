# SPDX-License-Identifier: MIT
"""The type stubs against the module at run time, and docstrings everywhere."""

import ast
import inspect
import pathlib

import pytest

import narvoassem
from narvoassem import _narvoassem

STUB = pathlib.Path(narvoassem.__file__).with_name("_narvoassem.pyi")
# What every class has without a stub saying so.
COMMON = {name for name in dir(object)} | {"__module__", "__getstate__", "__setstate__", "__hash__", "__annotations__"}

# Names with an underscore that are meant for others all the same.
HERE = {"__version__"}


def names_of(nodes):
    for node in nodes:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            yield node.name, node
        elif isinstance(node, ast.AnnAssign):
            yield node.target.id, node


def stub_names():
    return {name: node for name, node in names_of(ast.parse(STUB.read_text()).body) if name in HERE or name[0] != "_"}


def test_stub_and_module_have_the_same_names():
    runtime = {name for name in dir(_narvoassem) if not name.startswith("_")} | HERE
    assert set(stub_names()) == runtime


@pytest.mark.parametrize("name", [name for name, node in stub_names().items() if isinstance(node, ast.ClassDef)])
def test_stub_and_class_have_the_same_members(name):
    in_stub = dict(names_of(stub_names()[name].body))
    runtime = {
        member: value for member, value in vars(getattr(_narvoassem, name)).items() if not member.startswith("_pybind11")
    }
    assert set(in_stub) - COMMON == set(runtime) - COMMON
    for member, node in in_stub.items():
        if isinstance(node, ast.FunctionDef):
            is_property = any(getattr(mark, "id", "") == "property" for mark in node.decorator_list)
            assert is_property == isinstance(runtime.get(member), property), member


def arguments_of(node):
    return [argument.arg for argument in node.args.args + node.args.kwonlyargs if argument.arg != "self"]


def test_stub_and_module_have_the_same_arguments():
    for name, node in stub_names().items():
        members = [(name, node, getattr(_narvoassem, name, None))]
        if isinstance(node, ast.ClassDef):
            members = [(f"{name}.{m}", n, getattr(getattr(_narvoassem, name), m, None)) for m, n in names_of(node.body)]
        for path, member, runtime in members:
            if isinstance(member, ast.FunctionDef) and not isinstance(runtime, property) and "__eq__" not in path:
                signature = runtime.__doc__.split("->")[0]
                for argument in arguments_of(member):
                    assert f"{argument}: " in signature, (path, argument)
                assert signature.count(": ") - signature.count("self: ") == len(arguments_of(member)), path


def test_everything_public_has_a_docstring():
    missing = []
    for name in narvoassem.__all__:
        value = getattr(narvoassem, name)
        if name == "__version__":
            continue
        if not inspect.getdoc(value):
            missing.append(name)
        if inspect.isclass(value) or inspect.ismodule(value):
            for member, inner in vars(value).items():
                own = inspect.isclass(value) or member in getattr(value, "__all__", ())
                if own and not member.startswith("_") and (callable(inner) or isinstance(inner, property)):
                    if not inspect.getdoc(inner):
                        missing.append(f"{name}.{member}")
    assert missing == []


def test_the_package_is_marked_as_typed():
    assert STUB.with_name("py.typed").exists()
    assert narvoassem.__version__ == _narvoassem.__version__
