#!/usr/bin/python3
"""Files dragged out of another program onto the built one: drop_tests.py BINARIES DRAG_SOURCE [unittest arguments].

Runs inside tests/session/private-session with a camera. The pointer is the X server's own, and so is the protocol.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "end-to-end"))
from desktop import PictureInWindow, Program, find_control, find_window, output_of, wait_for  # noqa: E402

BINARIES = None
DRAG_SOURCE = None
SOURCE_PLACE = (1570, 10)

RED = """/*{ "LABEL": "Plain Red", "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/
void main() { gl_FragColor = vec4(0.9, 0.0, 0.0, 1.0) + 0.0 * IMG_THIS_PIXEL(inputImage); }
"""
BACKDROP = """/*{ "LABEL": "Backdrop", "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" },
    { "NAME": "background", "LABEL": "Background", "TYPE": "image" } ] }*/
void main() { gl_FragColor = IMG_NORM_PIXEL(background, isf_FragNormCoord); }
"""


class Drops(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.application = Program("tovrin", [BINARIES / "tovrin"], self.folder / "tovrin.log")
        self.main = self.wait("the main window", lambda: find_window(self.application.pid, "Tovrin"), 20)
        self.main.move(0, 0)
        self.picture = PictureInWindow(self.main, self.control("Camera picture"), self.folder)
        self.source = None

    def tearDown(self):
        self.application.kill()
        self.end_source()
        for file in self.compositions():
            file.unlink()

    def end_source(self):
        if self.source:
            self.source.kill()
            self.source.communicate()

    def wait(self, what, condition, seconds=20):
        return wait_for(what, condition, seconds, [self.application.check])

    def control(self, name):
        return self.wait(f"the control '{name}'", lambda: find_control(self.application.pid, name))

    def compositions(self):
        home = pathlib.Path(os.environ.get("XDG_DATA_HOME") or pathlib.Path.home() / ".local/share")
        return sorted((home / "tovrin" / "compositions").glob("*.fs"))

    def file(self, name, text):
        path = self.folder / name
        path.write_text(text)
        return path

    def drag(self, *files, onto):
        """Drags the files into the middle of a control; what their owner hears of it."""
        self.end_source()
        self.source = subprocess.Popen([DRAG_SOURCE, *map(str, SOURCE_PLACE), *map(str, files)],
                                       stdout=subprocess.PIPE, text=True)
        self.wait("the window to drag from", lambda: find_window(self.source.pid, "Drag Source"))
        x, y, width, height = onto.extents()
        to_x, to_y = x + width // 2, y + height // 2
        from_x, from_y = SOURCE_PLACE[0] + 30, SOURCE_PLACE[1] + 30
        output_of("xdotool", "mousemove", "--sync", str(from_x), str(from_y), "mousedown", "1")
        # A hand moves in steps, and both programs answer each.
        for step in range(1, 21):
            output_of("xdotool", "mousemove", "--sync", str(from_x + (to_x - from_x) * step // 20),
                      str(from_y + (to_y - from_y) * step // 20))
            time.sleep(0.03)
        output_of("xdotool", "mouseup", "1")
        return self.source.stdout.readline().strip()

    def mean_colour(self):
        picture = self.picture.look((4, 4))
        return tuple(sum(picture[part::3]) / (len(picture) / 3) for part in range(3))

    def expect_colour(self, red, green, blue):
        near = lambda colour: all(abs(a - b) < 12 for a, b in zip(colour, (red, green, blue)))
        self.wait(f"the colour {red} {green} {blue}", lambda: near(self.mean_colour()))

    def test_a_filter_that_is_dropped_on_the_picture_is_chosen(self):
        heard = self.drag(self.file("Plain Red.fs", RED), onto=self.control("Camera picture"))
        self.assertEqual(heard, "copied")
        self.control("Plain Red")
        self.expect_colour(230, 0, 0)
        self.assertEqual([file.name for file in self.compositions()], ["Plain Red.fs"])

    def test_what_is_no_filter_is_told(self):
        heard = self.drag(self.file("Diary.fs", "Dear diary"), onto=self.control("Camera picture"))
        self.assertEqual(heard, "copied")
        self.control("Diary.fs: the file does not begin with a header in a comment")
        self.assertEqual(self.compositions(), [])

    def test_a_picture_that_is_dropped_on_its_well_is_taken(self):
        self.drag(self.file("Backdrop.fs", BACKDROP), onto=self.control("Camera picture"))
        well = self.control("Choose a picture: Background")
        output_of("convert", "-size", "90x50", "xc:rgb(20,160,220)", str(self.folder / "sky.png"))
        self.assertEqual(self.drag(self.folder / "sky.png", onto=well), "copied")
        self.expect_colour(20, 160, 220)
        self.assertEqual([file.name for file in self.compositions()], ["Backdrop.fs"], "it is no filter to add")
        self.control("Clear Background").click()
        self.expect_colour(0, 0, 0)


if __name__ == "__main__":
    BINARIES, DRAG_SOURCE = pathlib.Path(sys.argv.pop(1)).resolve(), pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
