# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The check command as its users meet it: our own effect passes, every broken one is caught."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import shlex
import struct
import subprocess
import sys
import tempfile
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
OPTIONS = None


def run_check(*arguments, timeout=300):
    """The finished process of one check; leaks are a matter of its own tests, not of LSan's."""
    environment = dict(os.environ)
    environment["ASAN_OPTIONS"] = "detect_leaks=0:" + environment.get("ASAN_OPTIONS", "")
    return subprocess.run([OPTIONS.program, "check", *map(str, arguments)], text=True,
                          capture_output=True, timeout=timeout, env=environment, check=False)


def json_check(library, *arguments):
    done = run_check("--json", *arguments, library)
    return done.returncode, json.loads(done.stdout)


def failures(report):
    return {test["name"]: test["messages"] for test in report["tests"]
            if test["outcome"] == "failed"}


def natively(test):
    """For what is the same on every system, or what Windows does not have."""
    def run(self, *arguments):
        if OPTIONS.windows:
            self.skipTest("tried natively")
        test(self, *arguments)
    return run


def upto(strictness, most=4):
    """What asks for the tests of a strictness; on Windows, where processes take their time, of `most`
    at most."""
    if not OPTIONS.windows:
        return ["--strictness", strictness]
    tests = json.loads(run_check("--list", "--json").stdout)
    return ["--strictness", strictness] + [
        word for test in tests
        if test["strictness"] <= min(strictness, most)
        for word in ("--only", test["name"])]


def fixture(name):
    return pathlib.Path(OPTIONS.fixtures) / f"{name}.so"


def fixture_list():
    """(name, test that must fail, tests that may fail too) of every mistake."""
    for line in (HERE / "fixtures" / "fixtures.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            name, test, *also = line.split()
            if test not in ("-", "n/a"):
                yield name, test, also


def fair_list():
    """The fixtures that do what they may, in ways that a validator might stumble over."""
    for line in (HERE / "fixtures" / "fixtures.txt").read_text().splitlines():
        if line.split()[1:] == ["-"]:
            yield line.split()[0]


# What cannot be noticed under Wine, which counts no handles of a process.
UNCOUNTED_BY_WINE = {"kLeaksDescriptors"}
# What only a build without a sanitizer can notice.
NEEDS_PLAIN_ALLOCATOR = {"kLeaksMemory"}
# What a sanitizer ends the process for wherever it happens.
SEEN_BY_SANITIZERS = {"kSharesFrameState", "kWritesPastRow", "kAssumesAlignedRows"}


class Fixtures(unittest.TestCase):
    """Every fixture at the highest strictness; where a process takes its time, the broken ones with
    the test that is for them alone."""

    @classmethod
    def setUpClass(cls):
        names = ["kNone", *fair_list(), *(name for name, _, _ in fixture_list())]

        own = {name: test for name, test, _ in fixture_list()} if OPTIONS.windows else {}
        every = upto(10, most=10)
        fair = upto(10, most=6)

        def check(name):
            asked = ["--only", own[name]] if name in own else every if name == "kNone" else fair
            return json_check(fixture(name), *asked, "--timeout", OPTIONS.hang_seconds
                              if name == "kHangsRender" else 120)

        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            cls.results = dict(zip(names, pool.map(check, names)))

    def test_the_good_effect_passes(self):
        status, report = self.results["kNone"]
        self.assertEqual(failures(report), {})
        self.assertEqual(status, 0)

    def test_what_may_be_is_not_blamed(self):
        for name in fair_list():
            with self.subTest(fixture=name):
                status, report = self.results[name]
                self.assertEqual(failures(report), {})
                self.assertEqual(status, 0)

    def test_what_this_host_lacks_is_not_the_effects_fault(self):
        status, report = json_check(fixture("kNeedsSuite"), *upto(10, most=5))
        self.assertEqual(failures(report), {})
        self.assertEqual(status, 0)
        tests = {test["name"]: test for test in report["tests"]}
        self.assertEqual(tests["setup"]["outcome"], "passed")
        self.assertEqual(tests["render-defaults"]["outcome"], "not applicable")
        self.assertEqual(tests["render-defaults"]["messages"],
                         ['needs what this host does not offer: the suite "Rare Suite" version 3'])
        self.assertEqual(tests["regions"]["outcome"], "not run")
        tests = {test["name"]: test for test in self.results["kSoundOnly"][1]["tests"]}
        self.assertEqual(tests["render-defaults"]["messages"],
                         ["works on sound only and has no picture"])

    def test_what_is_unusual_is_noted(self):
        for name, test, words in (
            ("kVariesByItself", "repeatable", "not compared"),
            ("kMixesIds", "controls", "some have none"),
            ("kValueOffDefault", "controls", "value and default differ"),
            ("kLongerName", "registration", "earlier hosts"),
            ("kReturnsTwice", "balance", "parameters: 0 taken, 1 returned"),
        ):
            with self.subTest(fixture=name):
                tests = {t["name"]: t for t in self.results[name][1]["tests"]}
                self.assertIn(words, " ".join(tests[test]["notes"]))

    def test_every_mistake_is_caught_by_its_test(self):
        for name, test, also in fixture_list():
            if (OPTIONS.sanitized and name in NEEDS_PLAIN_ALLOCATOR
                    or OPTIONS.windows and name in UNCOUNTED_BY_WINE):
                continue
            with self.subTest(fixture=name):
                status, report = self.results[name]
                failed = failures(report)
                self.assertEqual(status, 1)
                self.assertFalse(report["passed"])
                self.assertIn(test, failed)
                self.assertTrue(all(failed.values()), "a failure without a word")
                if not (OPTIONS.sanitized and name in SEEN_BY_SANITIZERS):
                    self.assertEqual(set(failed) - {test, *also}, set())

    def test_every_test_has_a_fixture(self):
        known = {test["name"] for test in json.loads(run_check("--list", "--json").stdout)}
        caught = {test for _, test, _ in fixture_list()}
        # A broken resource is a Windows library, made in the tests of resources.
        self.assertEqual(known - caught, {"resource"})
        self.assertEqual(caught - known, set())

    def test_the_last_line_repeats_what_failed(self):
        done = run_check(*upto(4), "--seed", 7, fixture("kFailsRender"))
        line = done.stdout.splitlines()[-1]
        prefix = "repeat what failed: veltra "
        self.assertTrue(line.startswith(prefix), line)
        again = run_check(*shlex.split(line.removeprefix(prefix))[1:])
        self.assertEqual(again.returncode, 1)
        self.assertIn("seed 7", again.stdout)
        self.assertIn("0 passed, 1 failed", again.stdout)

    def test_a_crash_is_reported_with_what_was_being_tried(self):
        message = failures(self.results["kFailsAtExtreme"][1])["extreme-values"][-1]
        self.assertRegex(message, r"^(crashed: (.*SIGFPE|integer division)|ended the process)")
        self.assertIn("Gain 200", message)

    def test_a_hang_is_reported_and_ended(self):
        message = failures(self.results["kHangsRender"][1])["render-defaults"][-1]
        self.assertRegex(message, r"^hung: not done after \d+ ms in: smart, 8 bit")

    def test_an_exception_that_leaves_the_library_is_reported(self):
        message = failures(self.results["kThrows"][1])["render-defaults"][0]
        self.assertIn("exception", message)

    @natively
    def test_what_builds_on_a_failed_test_is_not_run(self):
        outcomes = {t["name"]: t["outcome"] for t in self.results["kFailsParamsSetup"][1]["tests"]}
        self.assertEqual(outcomes["registration"], "passed")
        self.assertEqual(outcomes["regions"], "not run")


class Hosts(unittest.TestCase):
    """What the host claims to be, and what it lets its users see."""

    def test_each_is_listed_and_our_own_effect_gets_on_with_it_or_declines(self):
        hosts = [line.split()[0] for line in run_check("--host", "help").stdout.splitlines()]
        self.assertEqual(hosts[0], "after-effects")
        self.assertGreater(len(hosts), 3)
        for host in hosts:
            with self.subTest(host=host):
                status, report = json_check(OPTIONS.effect, "--host", host, *upto(5))
                self.assertEqual(failures(report), {})
                self.assertEqual(status, 0)
                self.assertEqual(report["host"], host)
                declined = report["counts"]["not_run"] > 0
                self.assertEqual(declined, host == "oldest-interface")
        reasons = {test["name"]: test["messages"] for test in report["tests"]}
        self.assertEqual(reasons["arbitrary-data"], ["the effect has no arbitrary data"])

    def test_an_effect_may_decline_a_host_older_than_itself(self):
        _, report = json_check(OPTIONS.effect, "--host", "oldest-interface")
        tests = {test["name"]: test for test in report["tests"]}
        self.assertEqual(tests["setup"]["outcome"], "not applicable")
        self.assertEqual(tests["setup"]["messages"],
                         ["declines a host with interface 12.0 (it is built for 13.28)"])
        self.assertIn("built for interface 13.28, later than the host's", tests["load"]["notes"])

    def test_the_report_says_what_a_host_shows_its_user(self):
        for name, test, shown in (("kFailsRender", "render-defaults", "error dialog"),
                                  ("kChatty", "silence", "error dialog"),
                                  ("kThrows", "render-defaults", "crash"),
                                  ("kFailsAtExtreme", "extreme-values", "crash"),
                                  ("kIgnoresOrigin", "regions", "nothing"),
                                  ("kKeepsSuite", "balance", "nothing")):
            with self.subTest(fixture=name):
                _, report = json_check(fixture(name), "--only", test)
                findings = report["tests"][0]["findings"]
                self.assertEqual({finding["shown"] for finding in findings}, {shown})
                self.assertEqual([finding["text"] for finding in findings],
                                 report["tests"][0]["messages"])
        done = run_check("--only", "silence", "--only", "regions", fixture("kChatty"))
        self.assertIn("[error dialog]", done.stdout)
        self.assertIn("a host shows its user all of this\n", done.stdout)
        done = run_check("--only", "regions", fixture("kIgnoresOrigin"))
        self.assertIn("a host shows its user nothing of this\n", done.stdout)

    def test_the_line_that_repeats_names_the_host(self):
        done = run_check("--host", "no-project", "--only", "silence", fixture("kChatty"))
        self.assertIn("host no-project", done.stdout.splitlines()[0])
        self.assertIn(" --host no-project ", done.stdout.splitlines()[-1])


class Libraries(unittest.TestCase):
    """Libraries of several effects, and those that register in other ways."""

    def test_every_effect_of_a_library_is_checked(self):
        status, report = json_check(OPTIONS.several, *upto(3))
        self.assertEqual(status, 0)
        self.assertTrue(report["passed"])
        self.assertEqual([effect["library"] for effect in report["effects"]],
                         [OPTIONS.several + "::Test One", OPTIONS.several + "::Test Two"])
        for effect, name in zip(report["effects"], ("Test One", "Test Two")):
            self.assertEqual(failures(effect), {})
            self.assertEqual(effect["tests"][0]["notes"], [name])
        done = run_check("--strictness", 1, OPTIONS.several)
        self.assertEqual(done.returncode, 0)
        self.assertEqual(done.stdout.count(" passed, 0 failed"), 2)

    def test_one_effect_of_a_library_is_checked_by_its_match_name(self):
        chosen = OPTIONS.several + "::Test Two"
        status, report = json_check(chosen, *upto(9))
        self.assertEqual(failures(report), {})
        self.assertEqual(status, 0)
        self.assertEqual(report["library"], chosen)
        self.assertEqual(report["tests"][0]["notes"], ["Test Two"])
        status, report = json_check(OPTIONS.several + "::Test Three", "--strictness", 1)
        self.assertEqual(status, 1)
        self.assertIn('has no effect "Test Three" (expected Test One, Test Two)',
                      failures(report)["load"][0])

    def test_the_older_registration_is_registration_too(self):
        status, report = json_check(OPTIONS.older, *upto(9))
        self.assertEqual(failures(report), {})
        self.assertEqual(status, 0)
        tests = {test["name"]: test for test in report["tests"]}
        self.assertEqual(tests["registration"]["notes"],
                         ["registers through PluginDataEntryFunction"])

    def test_a_library_without_registration_goes_by_its_file_and_is_not_blamed(self):
        status, report = json_check(OPTIONS.unregistered, *upto(9))
        # For Windows it would have a resource at least, or no host finds it.
        lacking = {"flags", "resource"} if OPTIONS.windows else set()
        self.assertEqual(failures(report).keys(), lacking)
        self.assertEqual(status, 1 if lacking else 0)
        tests = {test["name"]: test for test in report["tests"]}
        self.assertEqual(tests["registration"]["outcome"], "not applicable")
        self.assertIn("does not register", tests["registration"]["messages"][0])

    def test_its_numbers_are_compared_with_a_resource_that_is_given(self):
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "effect.aex"
            plain = {**OWN_PROPERTIES, "eGLO": number(0), "eGL2": number(0)}
            for version, status in ((0x00080600, 0), (0x00080601, 1)):
                library.write_bytes(windows_library({**plain, "eVER": number(version)}))
                found, report = json_check(OPTIONS.unregistered, "--only", "flags", "--resource",
                                           library)
                self.assertEqual(found, status, failures(report))

    @natively
    def test_a_library_of_another_system_is_told_by_its_resource(self):
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "effect.aex"
            library.write_bytes(windows_library(OWN_PROPERTIES))
            status, report = json_check(library, "--strictness", 1)
            self.assertEqual(status, 1)
            self.assertIn('a Windows library with the effect "NVT Veltra" (match name NSVeltra)',
                          failures(report)["load"][0])


class OwnEffect(unittest.TestCase):
    @natively
    def test_it_passes_at_the_highest_strictness_with_several_seeds(self):
        for seed in (1, 2, 20260101):
            with self.subTest(seed=seed):
                status, report = json_check(OPTIONS.effect, "--strictness", 10, "--seed", seed)
                self.assertEqual(failures(report), {})
                self.assertEqual(status, 0)
                self.assertEqual(report["counts"]["not_run"], 0)
                self.assertEqual(report["seed"], seed)

    def test_the_resource_made_from_its_identity_agrees_and_another_does_not(self):
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "effect.aex"
            library.write_bytes(windows_library(OWN_PROPERTIES))
            arguments = ("--only", "flags", "--only", "resource", "--resource", library)
            status, report = json_check(OPTIONS.effect, *arguments)
            self.assertEqual(failures(report), {})
            self.assertEqual(status, 0)

            library.write_bytes(windows_library({**OWN_PROPERTIES, "eGL2": number(0x1400)}))
            status, report = json_check(OPTIONS.effect, *arguments)
            self.assertEqual(status, 1)
            self.assertEqual(list(failures(report)), ["flags"])
            self.assertIn("eGL2", failures(report)["flags"][0])

    def test_a_resource_may_say_that_its_own_flags_count(self):
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "effect.aex"
            for flags, status in ((0x4, 1), (0x4 | 1 << 23, 0)):
                library.write_bytes(windows_library({**OWN_PROPERTIES, "eGLO": number(flags)}))
                found, _ = json_check(OPTIONS.effect, "--only", "flags", "--resource", library)
                self.assertEqual(found, status, flags)


def pascal(text):
    return bytes([len(text)]) + text.encode()


def number(value):
    return struct.pack("<I", value)


# The identity of our own effect, as its resource has to give it.
OWN_PROPERTIES = {
    "kind": b"TKFe",
    "name": pascal("NVT Veltra"),
    "catg": pascal("Norvik Systems FX"),
    "8664": b"MainEntry\0",
    "ePVR": number(2),
    "eSVR": struct.pack("<HH", 13, 28),
    "eVER": number(0x000A8600),
    "eGLO": number(0x02000040),
    "eGL2": number(0x08001400),
    "eMNA": pascal("NSVeltra"),
}


def pipl(properties):
    data = struct.pack("<HII", 1, 0, len(properties))
    for key, value in properties.items():
        data += b"MIB8" + key.encode()[::-1] + struct.pack("<II", 0, len(value))
        data += value + bytes(-len(value) % 4)
    return data


def windows_library(properties, exports=("MainEntry",)):
    """The least of a 64-bit Windows library: headers and one section at 0x1000."""
    base = 0x1000
    tree = 16 + 8
    resource = bytes(12) + struct.pack("<HHII", 1, 0, 0x80000000 | 3 * tree + 16,
                                       0x80000000 | tree)
    resource += bytes(12) + struct.pack("<HHII", 0, 1, 16000, 0x80000000 | 2 * tree)
    resource += bytes(12) + struct.pack("<HHII", 0, 1, 1033, 3 * tree)
    body = pipl(properties)
    type_name = struct.pack("<H", 4) + "PIPL".encode("utf-16-le")
    body_at = 3 * tree + 16 + 16
    resource += struct.pack("<IIII", base + body_at, len(body), 0, 0)
    resource += type_name + bytes(16 - len(type_name)) + body
    resource += bytes(-len(resource) % 4)

    at = base + len(resource)
    names_at = at + 40
    texts_at = names_at + 4 * len(exports)
    texts = b""
    addresses = b""
    for name in exports:
        addresses += struct.pack("<I", texts_at + len(texts))
        texts += name.encode() + b"\0"
    table = bytes(24) + struct.pack("<IIII", len(exports), 0, names_at, 0)
    section = resource + table + addresses + texts

    directories = struct.pack("<II", at, len(table)) + bytes(8)
    directories += struct.pack("<II", base, len(resource)) + bytes(13 * 8)
    optional = struct.pack("<H", 0x20B) + bytes(106) + struct.pack("<I", 16) + directories
    coff = b"PE\0\0" + struct.pack("<HHIIIHH", 0x8664, 1, 0, 0, 0, len(optional), 0x2022)
    dos = b"MZ" + bytes(58) + struct.pack("<I", 64)
    headers = dos + coff + optional
    file_at = 0x400
    headers += struct.pack("<8sIIII", b".rsrc", len(section), base, len(section), file_at)
    headers += bytes(16)
    return headers + bytes(file_at - len(headers)) + section


class Resources(unittest.TestCase):
    """The resource test, on libraries that nobody could load here anyway."""

    def check(self, content):
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "effect.aex"
            library.write_bytes(content)
            status, report = json_check(library, "--only", "resource")
            return status, failures(report).get("resource", [])

    def test_a_good_one_passes(self):
        self.assertEqual(self.check(windows_library(OWN_PROPERTIES)), (0, []))

    def test_a_missing_property_is_named(self):
        lacking = {key: value for key, value in OWN_PROPERTIES.items() if key != "eMNA"}
        status, messages = self.check(windows_library(lacking))
        self.assertEqual(status, 1)
        self.assertIn("the resource has no property eMNA", messages)

    def test_an_entry_point_that_is_not_exported_is_named(self):
        status, messages = self.check(windows_library(OWN_PROPERTIES, exports=("Other",)))
        self.assertEqual(status, 1)
        self.assertIn("MainEntry", messages[0])

    def test_a_text_longer_than_its_property_is_refused(self):
        status, messages = self.check(
            windows_library({**OWN_PROPERTIES, "name": b"\xffNVT"}))
        self.assertEqual(status, 1)
        self.assertIn("the resource's name", messages[0])

    def test_a_cut_off_file_is_refused_wherever_the_cut_is(self):
        whole = windows_library(OWN_PROPERTIES)
        for length in (2, 63, 70, 200, 0x400, 0x460, len(whole) - 200):
            with self.subTest(length=length):
                status, messages = self.check(whole[:length])
                self.assertEqual(status, 1)
                self.assertRegex(messages[0], "cut off|not a|no resource|none of its sections")


class CommandLine(unittest.TestCase):
    def assert_usage_error(self, words, *arguments):
        done = run_check(*arguments)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stdout, "")
        self.assertRegex(done.stderr, r"^veltra: [^\n]*" + words + r"[^\n]*\n$")

    def test_mistakes_are_one_line_and_exit_2(self):
        self.assert_usage_error("no library")
        self.assert_usage_error("no such file", "/no/such/library.so")
        self.assert_usage_error("directory", HERE)
        self.assert_usage_error("there is no test nonsense", "--only", "nonsense", OPTIONS.effect)
        self.assert_usage_error("strictness", "--strictness", "11", OPTIONS.effect)
        self.assert_usage_error("timeout", "--timeout", "0", OPTIONS.effect)
        self.assert_usage_error("there is no host .nonsense. .expected after-effects, ", "--host",
                                "nonsense", OPTIONS.effect)
        self.assert_usage_error("unknown option", "--nonsense", OPTIONS.effect)

    def test_a_file_that_is_no_library_fails(self):
        done = run_check(__file__)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"FAILED +load")
        self.assertRegex(done.stdout, r"not run +setup")

    def test_the_table_says_how_many_passed(self):
        done = run_check("--strictness", 1, OPTIONS.effect)
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stdout, r"ok +render-defaults")
        self.assertRegex(done.stdout, r"\n4 passed, 0 failed\n$")

    def test_strictness_decides_which_tests_run(self):
        tests = json.loads(run_check("--list", "--json").stdout)
        self.assertEqual({test["strictness"] for test in tests}, set(range(1, 11)))
        for strictness in (1, 5):
            _, report = json_check(OPTIONS.effect, "--strictness", strictness)
            self.assertEqual([test["name"] for test in report["tests"]],
                             [test["name"] for test in tests if test["strictness"] <= strictness])

    def test_only_runs_what_is_named_at_any_strictness(self):
        _, report = json_check(OPTIONS.effect, "--strictness", 1, "--only", "soak", "--only",
                               "load")
        self.assertEqual([test["name"] for test in report["tests"]], ["load", "soak"])

    def test_the_same_seed_tries_the_same_and_another_seed_something_else(self):
        def messages(seed):
            _, report = json_check(fixture("kIgnoresOrigin"), "--only", "regions", "--seed", seed)
            return failures(report)["regions"]

        self.assertEqual(messages(7), messages(7))
        self.assertNotEqual(messages(7), messages(8))

    def test_a_hang_takes_no_longer_than_the_time_out(self):
        start = time.monotonic()
        done = run_check("--only", "render-defaults", "--timeout", "0.5", fixture("kHangsRender"))
        self.assertEqual(done.returncode, 1)
        self.assertLess(time.monotonic() - start, 30)


def main():
    global OPTIONS
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--effect", required=True)
    parser.add_argument("--fixtures", required=True)
    for library in ("several", "older", "unregistered"):
        parser.add_argument("--" + library, required=True)
    parser.add_argument("--sanitized", action="store_true")
    parser.add_argument("--windows", action="store_true")
    parser.add_argument("--hang-seconds", type=float, default=2.0)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest], verbosity=1)


if __name__ == "__main__":
    main()
