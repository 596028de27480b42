#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Reads the shipped library files from outside: exports, imports, resource, protections, bytes.

usage: library_test.py --library PATH [--again PATH] [--source DIR]

--again is a second build of the same tree, which has to be the same file.
"""

import argparse
import struct
import subprocess
import sys
import unittest

EXPORTS = ["MainEntry", "PluginDataEntryFunction2"]
OPTIONS = None


def library_bytes():
    with open(OPTIONS.library, "rb") as file:
        return file.read()


class AnyLibrary(unittest.TestCase):
    def test_two_builds_of_the_same_tree_are_the_same_bytes(self):
        if OPTIONS.again is None:
            self.skipTest("no second build given")
        with open(OPTIONS.again, "rb") as file:
            self.assertTrue(file.read() == library_bytes(), "the files differ")

    def test_names_no_folder_of_the_machine_that_built_it(self):
        if OPTIONS.source is None:
            self.skipTest("no source folder given")
        self.assertNotIn(OPTIONS.source.encode(), library_bytes())


# ---- Windows ----

# What every Windows has in its system folder.
SYSTEM_DLLS = {"kernel32.dll", "msvcrt.dll", "ntdll.dll", "user32.dll", "advapi32.dll"}


def property_bytes(key, data):
    """A PiPL property: codes are stored backwards, data is padded to four bytes."""
    head = b"8BIM"[::-1] + key.encode()[::-1] + struct.pack("<II", 0, len(data))
    return head + data + bytes(-len(data) % 4)


def pascal(text, length):
    data = bytes([len(text)]) + text.encode()
    return data + bytes(length - len(data))


def expected_pipl():
    properties = [
        ("kind", b"eFKT"[::-1]),
        ("name", pascal("NVT Veltra", 12)),
        ("catg", pascal("Norvik Systems FX", 20)),
        ("8664", b"MainEntry\0\0\0"),
        ("ePVR", struct.pack("<I", 2)),
        ("eSVR", struct.pack("<HH", 13, 28)),
        ("eVER", struct.pack("<I", 0x000A8600)),
        ("eINF", struct.pack("<H", 0)),
        ("eGLO", struct.pack("<I", 0x02000040)),
        ("eGL2", struct.pack("<I", 0x08001400)),
        ("eMNA", pascal("NSVeltra", 12)),
        ("aeFL", struct.pack("<I", 0)),
        ("eURL", pascal("https://veltra.example", 24)),
    ]
    blob = struct.pack("<HII", 1, 0, len(properties))
    return blob + b"".join(property_bytes(key, data) for key, data in properties)


class WindowsLibrary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        import pefile

        cls.pefile = pefile
        cls.pe = pefile.PE(OPTIONS.library)

    def test_is_a_64_bit_dynamic_library(self):
        self.assertEqual(self.pe.FILE_HEADER.Machine, 0x8664)
        self.assertEqual(self.pe.OPTIONAL_HEADER.Magic, 0x20B)
        self.assertTrue(self.pe.is_dll())

    def test_exports_its_two_entries_and_nothing_else(self):
        exports = self.pe.DIRECTORY_ENTRY_EXPORT.symbols
        self.assertEqual(sorted(str(e.name, "ascii") for e in exports), EXPORTS)

    def test_imports_windows_own_libraries_only(self):
        imported = {str(e.dll, "ascii").lower() for e in self.pe.DIRECTORY_ENTRY_IMPORT}
        self.assertLessEqual(imported, SYSTEM_DLLS)
        self.assertFalse(hasattr(self.pe, "DIRECTORY_ENTRY_DELAY_IMPORT"))

    def test_may_be_loaded_anywhere_and_runs_no_data(self):
        flags = self.pe.OPTIONAL_HEADER.DllCharacteristics
        for name in ("HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"):
            bit = self.pefile.DLL_CHARACTERISTICS["IMAGE_DLLCHARACTERISTICS_" + name]
            self.assertTrue(flags & bit, name)
        # Without relocations the loader could not move it, whatever the flags say.
        self.assertFalse(self.pe.FILE_HEADER.Characteristics & 0x0001)
        self.assertGreater(len(self.pe.DIRECTORY_ENTRY_BASERELOC), 0)
        for section in self.pe.sections:
            both = 0x20000000 | 0x80000000  # executable and writeable
            self.assertNotEqual(section.Characteristics & both, both, section.Name)

    def test_carries_no_time_stamp(self):
        self.assertEqual(self.pe.FILE_HEADER.TimeDateStamp, 0)
        self.assertEqual(self.pe.DIRECTORY_ENTRY_EXPORT.struct.TimeDateStamp, 0)
        self.assertEqual(self.pe.DIRECTORY_ENTRY_RESOURCE.struct.TimeDateStamp, 0)
        self.assertFalse(hasattr(self.pe, "DIRECTORY_ENTRY_DEBUG"))

    def test_describes_itself_in_its_resource_byte_for_byte(self):
        found = []
        for kind in self.pe.DIRECTORY_ENTRY_RESOURCE.entries:
            if kind.name is not None and str(kind.name) == "PIPL":
                for entry in kind.directory.entries:
                    for language in entry.directory.entries:
                        data = language.data.struct
                        found.append((entry.id, self.pe.get_data(data.OffsetToData, data.Size)))
        self.assertEqual([number for number, _ in found], [16000])
        self.assertEqual(found[0][1].hex(" "), expected_pipl().hex(" "))


# ---- Linux ----

NEEDED = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "ld-linux-x86-64.so.2"}


class LinuxLibrary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        from elftools.elf.elffile import ELFFile

        cls.file = open(OPTIONS.library, "rb")
        cls.elf = ELFFile(cls.file)

    @classmethod
    def tearDownClass(cls):
        cls.file.close()

    def test_is_a_64_bit_shared_object(self):
        self.assertEqual(self.elf.elfclass, 64)
        self.assertEqual(self.elf["e_machine"], "EM_X86_64")
        self.assertEqual(self.elf["e_type"], "ET_DYN")

    def symbols(self):
        return list(self.elf.get_section_by_name(".dynsym").iter_symbols())

    def test_exports_its_two_entries_and_nothing_else(self):
        exported = [
            s
            for s in self.symbols()
            if s["st_shndx"] not in ("SHN_UNDEF", "SHN_ABS")
            and s["st_info"]["bind"] in ("STB_GLOBAL", "STB_WEAK")
        ]
        self.assertEqual(sorted(s.name for s in exported), EXPORTS)
        for symbol in exported:
            self.assertEqual(symbol["st_info"]["type"], "STT_FUNC")

    def test_needs_the_language_runtime_only(self):
        dynamic = self.elf.get_section_by_name(".dynamic")
        needed = {tag.needed for tag in dynamic.iter_tags("DT_NEEDED")}
        self.assertLessEqual(needed, NEEDED)
        self.assertEqual(list(dynamic.iter_tags("DT_RPATH")), [])
        self.assertEqual(list(dynamic.iter_tags("DT_RUNPATH")), [])
        self.assertEqual(list(dynamic.iter_tags("DT_TEXTREL")), [])

    def test_leaves_no_symbol_unresolved(self):
        done = subprocess.run(
            ["ldd", "-r", OPTIONS.library], capture_output=True, text=True, check=True
        )
        self.assertNotIn("undefined symbol", done.stdout + done.stderr)
        self.assertNotIn("not found", done.stdout + done.stderr)

    def test_runs_no_data(self):
        for segment in self.elf.iter_segments():
            flags = segment["p_flags"]
            self.assertFalse(flags & 1 and flags & 2, "writeable and executable")
        stacks = [s for s in self.elf.iter_segments() if s["p_type"] == "PT_GNU_STACK"]
        self.assertEqual(len(stacks), 1)
        self.assertFalse(stacks[0]["p_flags"] & 1)


def main():
    global OPTIONS
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--library", required=True)
    parser.add_argument("--again")
    parser.add_argument("--source")
    OPTIONS = parser.parse_args()
    kind = WindowsLibrary if library_bytes()[:2] == b"MZ" else LinuxLibrary
    loader = unittest.defaultTestLoader
    suite = unittest.TestSuite(loader.loadTestsFromTestCase(case) for case in (AnyLibrary, kind))
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    # A check that was skipped was not made.
    sys.exit(0 if result.wasSuccessful() and not result.skipped else 1)


if __name__ == "__main__":
    main()
