"""vrax.h, exports.map, libvrax.so, the reference and the texts are about one set of functions.

Arguments: the project's folder, libvrax.so, then those of unittest.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(sys.argv[1])
LIBRARY = pathlib.Path(sys.argv[2])
HEADER = ROOT / "src/api/vrax.h"


def without_comments(text):
    return re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)


def spaced(text):
    """One spacing, whatever the layout: `const char *F(int a)` and `const char* F( int a )`."""
    return re.sub(r"\s*([*(),])\s*", r"\1", re.sub(r"\s+", " ", text.strip()))


def header_prototypes():
    """Name to (result, parameters), as vrax.h declares them."""
    text = without_comments(HEADER.read_text())
    declared = re.findall(r"^VRAX_API\s+([^;]*?)(\w+)\s*(\([^;]*\));", text, re.MULTILINE)
    return {name: (spaced(result), spaced(parameters)) for result, name, parameters in declared}


def listed_names():
    text = without_comments((ROOT / "src/api/exports.map").read_text())
    return re.findall(r"(\w+);", text[text.index("global:") : text.index("local:")])


def library_names():
    command = ["nm", "-D", "--defined-only", "--without-symbol-versions", str(LIBRARY)]
    lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    return {line.split()[-1] for line in lines if line.split()[-2] != "A"}  # A: the version node


def texts():
    return [ROOT / "README.md", *ROOT.glob("docs/*.md"), *ROOT.glob("*/README.md"),
            *ROOT.glob("bindings/*/README.md")]


class Interface(unittest.TestCase):
    def test_the_header_declares_what_the_list_names_and_the_library_shows(self):
        names = set(header_prototypes())
        self.assertGreater(len(names), 200)
        self.assertEqual(names, set(listed_names()))
        self.assertEqual(names, library_names())

    def test_the_binding_has_every_function(self):
        sources = list(ROOT.glob("bindings/python/**/*.py"))
        if not sources:
            self.skipTest("no bindings/python")
        words = set(re.findall(r"\w+", "\n".join(source.read_text() for source in sources)))
        self.assertEqual(set(header_prototypes()) - words, set())


@unittest.skipUnless(shutil.which("doxygen"), "doxygen is not installed")
class Reference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        environment = {**os.environ, "VRAX_REFERENCE_OUTPUT": folder.name,
                       "VRAX_REFERENCE_VERSION": "0"}
        cls.run_of_doxygen = subprocess.run(["doxygen", "docs/reference/Doxyfile"], cwd=ROOT,
                                            env=environment, capture_output=True, text=True)
        cls.functions = {}
        for file in pathlib.Path(folder.name).glob("xml/*.xml"):
            for member in ElementTree.parse(file).iter("memberdef"):
                if member.get("kind") == "function":
                    cls.functions[member.findtext("name")] = member

    def test_doxygen_warns_of_nothing(self):
        self.assertEqual(self.run_of_doxygen.stderr, "")
        self.assertEqual(self.run_of_doxygen.returncode, 0)

    def test_it_shows_every_prototype_of_the_header(self):
        shown = {
            name: (spaced("".join(member.find("type").itertext())),
                   spaced(member.findtext("argsstring")))
            for name, member in self.functions.items()
        }
        self.assertEqual(shown, header_prototypes())

    def test_every_function_tells_what_it_does_its_parameters_and_its_result(self):
        for name, member in self.functions.items():
            with self.subTest(function=name):
                description = member.find("detaileddescription")
                told = "".join(member.find("briefdescription").itertext()).strip()
                results = description.findall(".//simplesect[@kind='return']")
                codes = description.findall(".//parameterlist[@kind='retval']")
                self.assertTrue(told or results or codes)
                if "".join(member.find("type").itertext()) != "void":
                    self.assertTrue(results or codes)
                described = {item.text for item in
                             description.findall(".//parameterlist[@kind='param']//parametername")}
                self.assertEqual({item.text for item in member.findall("param/declname")},
                                 described)


class Texts(unittest.TestCase):
    def test_every_function_type_and_constant_that_they_name_is_in_the_header(self):
        known = set(re.findall(r"\w+", HEADER.read_text()))
        for text in texts():
            named = set(re.findall(r"\b(?:VRAX[A-Z][a-z]\w+|OUTPUT_[A-Z]\w+)\b(?!\.\.\.)",
                                   text.read_text()))
            with self.subTest(file=text.name):
                self.assertEqual(named - known, set())

    def test_every_link_leads_to_a_file(self):
        for text in texts():
            links = re.findall(r"\]\(([^)#\s]+)[^)]*\)", text.read_text())
            for link in links:
                if not re.match(r"\w+:", link):
                    with self.subTest(file=text.name, link=link):
                        self.assertTrue((text.parent / link).exists())

    def test_each_drawing_of_a_sequence_is_that_of_its_source(self):
        folder = ROOT / "docs/images/sequences"
        sys.path.insert(0, str(folder))
        sys.dont_write_bytecode = True
        from draw import drawing
        sources = list(folder.glob("*.txt"))
        self.assertTrue(sources)
        for source in sources:
            with self.subTest(source=source.name):
                self.assertEqual(source.with_suffix(".svg").read_text(),
                                 drawing(source.read_text()))

    def test_the_index_names_every_text_of_its_folder(self):
        index = (ROOT / "docs/README.md").read_text()
        for text in ROOT.glob("docs/*.md"):
            if text.name != "README.md":
                with self.subTest(file=text.name):
                    self.assertIn(f"]({text.name})", index)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
