"""Nothing public is without a word about it."""

import inspect
import pathlib

import pytest
import qvstreet


def public_members():
    for name in qvstreet.__all__:
        member = getattr(qvstreet, name)
        if name == "__version__":
            continue
        yield name, member
        if not inspect.isclass(member):
            continue
        for inner, value in vars(member).items():
            if inner[0] == "_" or isinstance(value, member):
                continue
            if callable(value) or isinstance(value, (property, staticmethod, classmethod)):
                yield f"{name}.{inner}", value


@pytest.mark.parametrize("name, member", list(public_members()), ids=lambda value: value if isinstance(value, str) else "")
def test_every_public_name_has_a_docstring(name, member):
    # A dataclass without one is given its signature, an enumeration its base's.
    text = vars(member).get("__doc__") if inspect.isclass(member) else member.__doc__
    assert text and text.strip().endswith((".", ")", "max_results")) or "\n" in text
    assert not text.startswith(getattr(member, "__name__", "?") + "(")


@pytest.mark.parametrize("module", ["_results", "_params", "_errors"])
def test_every_member_of_a_result_an_enumeration_and_an_error_has_a_word_below_it(module):
    lines = (pathlib.Path(qvstreet.__file__).parent / f"{module}.py").read_text().splitlines()
    wants = {"_results": 20, "_params": 8, "_errors": 1}[module]
    seen = 0
    for i, line in enumerate(lines):
        code = line.strip()
        is_field = line.startswith("    ") and not line.startswith("     ") and (": " in code and code.split(":")[0].isidentifier())
        is_value = line.startswith("    ") and not line.startswith("     ") and code.split(" = ")[0].isupper() and " = " in code
        if is_value or (is_field and not code.startswith(('"""', "def", "class", "return"))):
            seen += 1
            assert lines[i + 1].strip().startswith('"""'), f"{module}.py:{i + 1}: {code}"
    assert seen >= wants


def test_all_names_the_package_offers_are_listed():
    offered = {name for name in vars(qvstreet) if name[0] != "_"}
    assert offered <= set(qvstreet.__all__)
