# SPDX-License-Identifier: MIT
"""check_includes.py finds each kind of fault in a small tree."""
import contextlib
import io
import os
import tempfile
import unittest
import unittest.mock

import check_includes

FOLDERS = {  # folder: what it includes
    "narvoassem/base": [],
    "narvoassem/fast/find": ["narvoassem/base"],
    "narvoassem/fast/scan": ["narvoassem/base", "narvoassem/fast/find"],
    "measure": ["narvoassem/fast/scan"],
}


def header(folder):
    return f"{folder}/{os.path.basename(folder)}_header.h"


class CheckIncludes(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.root = temporary.name
        for folder, targets in FOLDERS.items():
            self.write(header(folder), "".join(f'#include "{header(target)}"\n' for target in targets))
        self.allow({folder: targets for folder, targets in FOLDERS.items() if targets})

    def write(self, file, text, mode="w"):
        path = os.path.join(self.root, file)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, mode, encoding="utf-8") as out:
            out.write(text)

    def allow(self, folders):
        self.write(check_includes.LIST, "".join(f"{a}: {' '.join(b)}\n" for a, b in folders.items()))

    def faults(self, write=False):
        out = io.StringIO()
        with contextlib.redirect_stdout(out):
            code = check_includes.main(self.root, write, least=len(FOLDERS) - 1)
        self.assertEqual(code, 1 if out.getvalue() else 0)
        return out.getvalue()

    def test_accepts_what_the_list_allows(self):
        self.assertEqual(self.faults(), "")

    def test_refuses_an_include_that_is_not_listed(self):
        self.write(header("measure"), f'#include "{header("narvoassem/base")}"\n', "a")
        self.assertIn("measure includes narvoassem/base", self.faults())

    def test_refuses_an_entry_without_include(self):
        self.write(header("measure"), "")
        self.assertIn("measure does not include narvoassem/fast/scan", self.faults())

    def test_refuses_a_circle_even_when_listed(self):
        self.write(header("narvoassem/fast/find"), f'  #  include "{header("narvoassem/fast/scan")}"\n', "a")
        self.assertIn("a circle of folders", self.faults(write=True))

    def test_refuses_a_header_that_does_not_exist(self):
        self.write(header("measure"), '#include "narvoassem/gone.h"\n', "a")
        self.assertIn("includes narvoassem/gone.h, which does not exist", self.faults())

    def test_holds_the_python_module_to_the_installed_headers_even_when_listed(self):
        self.write("include/narvo/host.h", "")
        self.write("python/new.cpp", "#include <narvo/host.h>\n#include <vector>\n")
        self.assertIn("python includes include/narvo, which", self.faults())
        self.assertEqual(self.faults(write=True), "")
        for include in (f'"{header("measure")}"', f'<{header("measure")}>'):
            self.write("python/new.cpp", f"#include {include}\n")
            self.assertIn("python may include include/narvo alone", self.faults(write=True))

    def test_holds_commands_to_the_installed_headers_unless_they_are_listed_as_inside(self):
        self.write("include/narvo/host.h", "")
        self.write("host/file/file_header.h", "")
        self.write("host/lot/lot_header.h", "")
        self.write("tools/new/new.cpp", '#include "narvo/host.h"\n#include "host/file/file_header.h"\n')
        self.assertEqual(self.faults(write=True), "")
        self.write("tools/new/new.cpp", '#include "host/lot/lot_header.h"\n', "a")
        self.assertIn("tools/new includes host/lot instead of headers", self.faults(write=True))
        with unittest.mock.patch.object(check_includes, "INSIDE", {"tools/new"}):
            self.assertEqual(self.faults(), "")
            self.write("tools/new/new.cpp", '#include "narvo/host.h"\n')
            self.assertIn("tools/new includes nothing of the host layer", self.faults(write=True))

    def test_refuses_a_tree_without_folders(self):
        with contextlib.redirect_stdout(io.StringIO()) as out:
            self.assertEqual(check_includes.main(self.root, False), 1)
        self.assertIn("only 3 folders", out.getvalue())


if __name__ == "__main__":
    unittest.main()
