#!/usr/bin/python3
"""The built program with cameras that come and go: hot_plug_tests.py BINARIES CAMERA_FEED [--long] [unittest arguments].

Runs inside tests/session/private-session without a camera. Each camera shows one colour, which is its name.
"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from desktop import (Control, PictureInWindow, Program, accessibles, find_control, find_window, finished_movie,
                     output_of, pass_time, processes_named, user_folder, wait_for)

BINARIES = None
CAMERA_FEED = None
LONG = False


class Camera:
    """A camera that is plugged in, until it is pulled out."""

    def __init__(self, colour):
        source = f"color=c={colour}:size=640x360:rate=30"
        self.footage = subprocess.Popen(
            ["ffmpeg", "-nostdin", "-v", "quiet", "-f", "lavfi", "-i", source, "-pix_fmt", "yuv420p",
             "-f", "yuv4mpegpipe", "-"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)
        self.feed = subprocess.Popen([CAMERA_FEED, "--name", colour], stdin=self.footage.stdout,
                                     stderr=subprocess.DEVNULL)
        self.footage.stdout.close()

    def pull_out(self):
        for process in (self.feed, self.footage):
            process.kill()
            process.wait()


class HotPlug(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.cameras = {}
        self.application = None
        for path in user_folder("VIDEOS").glob("Tovrin*"):
            path.unlink()

    def tearDown(self):
        if self.application:
            self.application.kill()
            if any(problem for problem in self._outcome.result.failures + self._outcome.result.errors
                   if problem[0] is self):
                words = self.application.log.read_text(errors="replace").splitlines()
                print("\n".join(["-- the program's last words:", *words[-25:]]), file=sys.stderr)
        for name in list(self.cameras):
            self.pull_out(name)

    def plug_in(self, name):
        self.cameras[name] = Camera(name)

    def pull_out(self, name):
        self.cameras.pop(name).pull_out()

    def start(self):
        self.application = Program("tovrin", [BINARIES / "tovrin"], self.folder / "tovrin.log")
        self.main = self.wait("the main window", lambda: find_window(self.application.pid, "Tovrin"), 20)
        self.main.move(0, 0)
        self.picture = PictureInWindow(self.main, self.control("Camera picture"), self.folder)
        self.pop_up = self.control("Camera")
        self.control("Retro").click()  # a filter that leaves the colours as they are, nearly

    def wait(self, what, condition, seconds=15):
        return wait_for(what, condition, seconds, [self.application.check])

    def control(self, name):
        return self.wait(f"the control '{name}'", lambda: find_control(self.application.pid, name))

    def shown(self):
        """The colour of the picture in the window: "Red", "Green", "Blue", or "" for a picture of several."""
        picture = self.picture.look((8, 4))
        pixels = [picture[index:index + 3] for index in range(0, len(picture), 3)]
        names = {("Red", "Green", "Blue")[pixel.index(max(pixel))] for pixel in pixels}
        is_plain = all(max(pixel) > sum(pixel) / 2 for pixel in pixels)
        return names.pop() if is_plain and len(names) == 1 else ""

    def chosen(self):
        """What the pop-up shows."""
        return self.pop_up.accessible.get_description()

    def expect(self, camera, shown=None):
        """The camera is in use: the pop-up shows its name and the window its picture, or the one that stands in."""
        self.wait(f"{camera} in the pop-up", lambda: self.chosen() == camera)
        colour = shown if shown is not None else camera if camera in self.cameras else ""
        self.wait(f"the picture of {camera}", lambda: self.shown() == colour)

    def entries(self):
        """name -> control of every entry of the open pop-up."""
        cameras = ("Test Picture", "Red", "Green", "Blue")
        return {one.get_name(): Control(one) for one in accessibles(self.application.pid)
                if one.get_role_name() == "list item" and one.get_name() in cameras}

    def choices(self):
        """The names in the pop-up, which is opened for that and closed again."""
        self.pop_up.click()
        names = sorted(self.wait("the list of cameras", self.entries))
        self.main.press("Escape")
        return names

    def choose(self, camera):
        self.pop_up.click()
        self.wait(f"{camera} in the list", lambda: self.entries().get(camera)).click()

    def record(self):
        self.main.press("ctrl+r")
        began = time.monotonic()
        self.wait("the movie's file", self.movies)
        return began

    def movies(self):
        return sorted(user_folder("VIDEOS").glob("Tovrin Movie *.mov"))

    def expect_movie(self, seconds):
        """One playable movie of that length."""
        self.assertEqual(len(self.movies()), 1)
        movie = wait_for("the finished movie", lambda: finished_movie(self.movies()[0]), 15)
        self.assertAlmostEqual(movie.duration, seconds, delta=1)
        self.assertAlmostEqual(float(movie.video["duration"]), float(movie.audio["duration"]), delta=0.3)
        self.assertEqual(output_of("ffmpeg", "-v", "error", "-i", str(movie.path), "-vsync", "passthrough",
                                   "-enc_time_base", "-1", "-f", "null", "-"), "")

    # -- what is promised --

    def test_starting_with_no_camera_and_plugging_one_in(self):
        self.start()
        self.expect("Test Picture")
        self.assertEqual(self.control("Camera format 1280 × 720, 30 fps").accessible.get_role_name(), "label")
        self.plug_in("Red")
        self.expect("Red")
        self.control("Camera format 640 × 360, 30 fps")
        self.assertEqual(self.choices(), ["Red"])
        self.pull_out("Red")
        self.expect("Test Picture")
        self.assertEqual(self.choices(), ["Test Picture"])

    def test_the_camera_in_use_is_pulled_out_and_plugged_in_again(self):
        for name in ("Red", "Green"):
            self.plug_in(name)
        self.start()
        self.wait("both cameras", lambda: self.choices() == ["Green", "Red"])
        self.choose("Green")
        self.expect("Green")
        self.pull_out("Green")
        self.expect("Red")
        self.assertEqual(self.choices(), ["Red"])
        self.plug_in("Green")
        self.expect("Green")
        self.assertEqual(self.choices(), ["Green", "Red"])

    def test_changing_among_three_cameras_while_recording(self):
        names = ["Red", "Green", "Blue"]
        for name in names:
            self.plug_in(name)
        self.start()
        self.wait("the cameras", lambda: self.choices() == sorted(names))
        began = self.record()
        for index in range(50 if LONG else 8):
            self.choose(names[index % 3])
            self.expect(names[index % 3])
        self.main.press("ctrl+r")
        self.expect_movie(time.monotonic() - began)

    def test_losing_the_camera_while_recording_and_quitting(self):
        self.plug_in("Red")
        self.start()
        self.expect("Red")
        began = self.record()
        pass_time(1, [self.application.check])
        self.pull_out("Red")
        self.expect("Test Picture")
        pass_time(1, [self.application.check])
        os.kill(self.application.pid, signal.SIGTERM)
        seconds = time.monotonic() - began
        self.assertEqual(self.application.wait_for_end(15), 0)
        self.expect_movie(seconds)
        self.assertEqual(processes_named("tovrin"), [])

    def test_quitting_while_another_program_holds_the_camera(self):
        self.plug_in("Red")
        wait_for("the camera's node", lambda: "session-camera.Red" in output_of("pw-cli", "ls", "Node"), 15)
        caps = "video/x-raw,format=I420,width=640,height=360"
        holder = subprocess.Popen(
            ["gst-launch-1.0", "-q", "pipewiresrc", "target-object=session-camera.Red", "do-timestamp=true",
             "stream-properties=p,node.exclusive=true", "!", caps, "!", "fakesink", "sync=false"],
            stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            wait_for("the holder", lambda: "link.input.node" in output_of("pw-cli", "ls", "Link"), 15)
            self.start()
            self.expect("Red", shown="")
            os.kill(self.application.pid, signal.SIGTERM)
            self.assertEqual(self.application.wait_for_end(4), 0)
        finally:
            holder.kill()
            holder.wait()


if __name__ == "__main__":
    BINARIES = pathlib.Path(sys.argv.pop(1)).resolve()
    CAMERA_FEED = sys.argv.pop(1)
    if "--long" in sys.argv:
        sys.argv.remove("--long")
        LONG = True
    unittest.main(verbosity=2)
