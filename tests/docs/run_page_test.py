#!/usr/bin/env python3
"""The runner of the pages and the check of links see the faults that they are there for."""
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_links
import reference_filter
import run_page


class Options:
    """A repository of one page, where `qvstreet` is a program that does nothing."""

    def __init__(self, folder):
        self.page, self.source, self.scratch = "page.md", os.path.join(folder, "source"), os.path.join(folder, "scratch")
        self.command, self.libraries, self.prefix, self.cxx = "/bin/true", folder, folder, "c++"
        self.module = []
        images = os.path.join(self.source, "examples", "images")
        os.makedirs(images)
        for name in ("wafer_coarse.png", "street_strip.png"):
            open(os.path.join(images, name), "w").close()
        with open(os.path.join(self.source, "examples", "host.cpp"), "w", encoding="utf-8") as file:
            file.write("void run() {\n    int first = 1;\n    int second = 2;\n}\n")


def outcome(*lines):
    """What a page of these lines comes to: numbers of blocks that ran, were left out, and failed."""
    with tempfile.TemporaryDirectory() as folder:
        page = run_page.Page(Options(folder))
        page.run(run_page.blocks_of("\n".join(lines) + "\n"))
        return page.ran, page.left_out, len(page.failures)


class Runner(unittest.TestCase):
    def test_a_shell_block_ends_at_the_first_command_that_fails(self):
        self.assertEqual(outcome("```sh", "true", "```"), (1, 0, 0))
        self.assertEqual(outcome("```sh", "false", "true", "```"), (1, 0, 1))

    def test_blocks_of_a_page_share_a_folder(self):
        self.assertEqual(outcome("```sh", "echo 1 > a", "```", "", "```sh", "test -s a", "```"), (2, 0, 0))

    def test_the_folder_has_the_images_and_the_command(self):
        self.assertEqual(outcome("```sh", "test -e wafer.png -a -e street.png", "qvstreet find wafer.png", "```"), (1, 0, 0))

    def test_python_blocks_share_an_interpreter(self):
        self.assertEqual(outcome("```python", "a = 1", "```", "```python", "assert a == 1", "```"), (1, 0, 0))
        self.assertEqual(outcome("```python", "a = 1", "```", "```python", "assert a == 2", "```"), (1, 0, 1))

    def test_an_excerpt_has_to_stand_in_its_file(self):
        note = "<!-- from: examples/host.cpp -->"
        self.assertEqual(outcome(note, "```cpp", "int first = 1;", "int second = 2;", "```"), (1, 0, 0))
        self.assertEqual(outcome(note, "```cpp", "int first = 1; int second = 2;", "```"), (1, 0, 0))
        self.assertEqual(outcome(note, "```cpp", "int third = 3;", "```"), (1, 0, 1))
        self.assertEqual(outcome("<!-- from: examples/no.cpp -->", "```cpp", "int first;", "```"), (1, 0, 1))

    def test_code_that_is_neither_run_nor_compared_is_a_fault(self):
        self.assertEqual(outcome("```cpp", "int x;", "```"), (0, 0, 1))
        self.assertEqual(outcome("```", "qvstreet", "```"), (0, 0, 1))
        self.assertEqual(outcome("```text", "qvstreet", "```"), (0, 0, 0))

    def test_what_is_not_run_says_why(self):
        self.assertEqual(outcome("<!-- not run: it installs packages -->", "```sh", "false", "```"), (0, 0, 0))

    def test_a_block_is_left_out_where_what_it_needs_is_absent(self):
        self.assertEqual(outcome("<!-- needs: no-such-command -->", "```sh", "false", "```"), (0, 1, 0))
        self.assertEqual(outcome("```python", "import no_such_module", "```"), (0, 1, 0))
        self.assertEqual(outcome("<!-- needs: sh -->", "```sh", "false", "```"), (1, 0, 1))

    def test_a_block_that_does_not_end_is_a_fault(self):
        with self.assertRaises(ValueError):
            run_page.blocks_of("```sh\ntrue\n")

    def test_a_program_is_compiled_and_run(self):
        with tempfile.TemporaryDirectory() as folder:
            options = Options(folder)
            os.symlink("/dev/null", os.path.join(folder, "libqvstreet.so"))
            page = run_page.Page(options)
            page.run(run_page.blocks_of("```cpp\nint main() { return syntax error }\n```\n"))
            self.assertEqual(len(page.failures), 1)


class Links(unittest.TestCase):
    def test_anchors_are_those_of_the_headings(self):
        self.assertEqual(check_links.anchor_of("Client units: why about one per pel"),
                         "client-units-why-about-one-per-pel")
        self.assertEqual(check_links.anchor_of("`find`, streets"), "find-streets")


class Reference(unittest.TestCase):
    def test_a_comment_stands_for_the_declarations_below_it(self):
        lines = ["/// Sides.\n", "int x();\n", "int y();\n", "\n", "int z();\n"]
        self.assertEqual(reference_filter.filtered(lines),
                         ["/// Sides.\n", "int x();\n", "/** Sides. */ int y();\n", "\n", "int z();\n"])

    def test_a_destructor_takes_no_comment_over(self):
        lines = ["/// One.\n", "A();\n", "virtual ~A();\n"]
        self.assertEqual(reference_filter.filtered(lines), lines)

    def test_a_comment_within_a_group_begins_another(self):
        lines = ["/// One.\n", "int x();\n", "/// Two.\n", "int y();\n"]
        self.assertEqual(reference_filter.filtered(lines), lines)

    def test_lines_stay_where_they_are(self):
        lines = ["struct A {\n", "    /// @param n  of\n", "    /// something\n", "    A(int n);\n", "    A(const A&) = default;\n",
                 "    int f() const {\n", "        return 1;\n", "    }\n", "    int g();\n", "};\n"]
        self.assertEqual(len(reference_filter.filtered(lines)), len(lines))
        self.assertEqual(reference_filter.filtered(lines)[4], "\n")
        self.assertEqual(reference_filter.filtered(lines)[6], "        return 1;\n")


if __name__ == "__main__":
    unittest.main()
