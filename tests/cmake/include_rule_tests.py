#!/usr/bin/python3
"""Tests that a forbidden include fails the build: include_rule_tests.py CMAKE BUILD_FOLDER [unittest arguments]."""

import subprocess
import sys
import unittest

CMAKE = BUILD = None


def build(probe):
    done = subprocess.run([CMAKE, "--build", BUILD, "--target", f"IncludeRuleProbe{probe}"],
                          capture_output=True, text=True)
    return done.returncode, done.stdout + done.stderr


class IncludeRule(unittest.TestCase):
    def assertForbidden(self, probe, message):
        for _ in range(2):  # what failed once is not taken for built the next time
            status, output = build(probe)
            self.assertNotEqual(status, 0, output)
            self.assertRegex(output, message)

    def test_the_standard_library_and_platform_are_allowed_above_the_line(self):
        status, output = build("Obeying")
        self.assertEqual(status, 0, output)

    def test_qt_above_the_line_fails_the_build(self):
        self.assertForbidden("Qt", r"Qt\.cpp: error: includes .*/qglobal\.h, which is neither")

    def test_a_system_header_above_the_line_fails_the_build(self):
        self.assertForbidden("System", r"System\.cpp: error: includes .*/sys/mman\.h, which is neither")

    def test_a_higher_layer_fails_the_build(self):
        self.assertForbidden("HigherLayer", r"includes ZVFoundationAVCapture/.*, which WithRequirements/ may not see")

    def test_the_inside_of_the_composition_framework_fails_the_build(self):
        self.assertForbidden("LatticeInside",
                             r"includes CoreLattice/.*Inside\.h, which ZVFoundationAVCapture/ may not see")

    def test_qt_below_the_line_is_allowed(self):
        status, output = build("BelowTheLine")
        self.assertEqual(status, 0, output)

    def test_platform_may_not_look_up(self):
        self.assertForbidden("Upwards", r"includes WithRequirements/.*, which Platform/ may not see")


if __name__ == "__main__":
    CMAKE, BUILD = sys.argv.pop(1), sys.argv.pop(1)
    unittest.main(verbosity=2)
