#!/usr/bin/python3
"""The built program on real input, end to end: end_to_end_tests.py BINARIES [--long|--soak] [unittest arguments].

Runs inside tests/session/private-session with a camera of 30 frames a second. Keys and clicks are the X server's own,
the virtual camera is read by GStreamer in another process, movies are read by ffprobe, pictures by ImageMagick.
"""

import os
import pathlib
import signal
import sys
import tempfile
import time
import unittest

from desktop import (FRAME_SIZE, Failed, PictureInWindow, Program, Watcher, accessibles, camera_frames, camera_node,
                     difference, find_control, find_window, finished_movie, freeze_camera, output_of, pass_time, pixels, processes_named,
                     resident_memory, user_folder, wait_for, wakeups)

BINARIES = None
LONG = False

CAMERA_RATE = 30
POLL_SECONDS = 3  # how often the application asks the extension who watches
MEMORY_LIMIT = 250  # MiB
LIKENESS = 12  # mean difference of two looks at the same moving picture, of 255


def mean_of(picture):
    return sum(picture) / len(picture)


class EndToEnd(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.watchers = []
        self.starts = 0
        self.application = None
        for kind in ("VIDEOS", "PICTURES"):
            for path in user_folder(kind).glob("Tovrin*"):
                path.unlink()

    def tearDown(self):
        for watcher in self.watchers:
            watcher.stop()
        if self.application:
            self.application.kill()
            words = self.application.log.read_text(errors="replace").splitlines()
            if any(problem for problem in self._outcome.result.failures + self._outcome.result.errors
                   if problem[0] is self):
                reports = [line for line, text in enumerate(words) if "Sanitizer" in text or "runtime error" in text]
                first = min([len(words) - 25, *reports])
                print("\n".join(["-- the program's last words:", *words[max(first, 0):]]), file=sys.stderr)
        for pid in processes_named("tovrin-camera-extension"):
            try:
                os.kill(pid, signal.SIGTERM)
            except ProcessLookupError:
                pass  # it went with the one that watches over it
        wait_for("the end of the extension", lambda: not processes_named("tovrin-camera-extension"), 10)

    # -- what a user does --

    def start(self):
        self.starts += 1
        shown = camera_frames()
        self.application = Program("tovrin", [BINARIES / "tovrin"], self.folder / f"tovrin-{self.starts}.log")
        self.main = self.wait("the main window", lambda: find_window(self.application.pid, "Tovrin"), 20)
        self.main.move(0, 0)
        self.picture = PictureInWindow(self.main, self.control("Camera picture"), self.folder)
        self.wait("the camera's first picture", lambda: camera_frames() > shown, 20)

    def wait(self, what, condition, seconds):
        return wait_for(what, condition, seconds, [self.application.check])

    def film(self, seconds):
        pass_time(seconds, [self.application.check, *(watcher.check for watcher in self.watchers)])

    def control(self, name):
        return self.wait(f"the control '{name}'", lambda: find_control(self.application.pid, name), 15)

    def look(self, size=(320, 180)):
        """The live picture as it is on the screen."""
        return self.picture.look(size)

    def open_output_window(self):
        self.main.press("ctrl+shift+o")
        title = "Virtual Camera Output"
        output = self.wait("the output window", lambda: find_window(self.application.pid, title), 10)
        output.move(self.main.geometry()[2] + 20, 0)
        return output

    def install_camera(self):
        self.open_output_window()
        self.control("Install the virtual camera").click()
        return self.wait("the virtual camera", camera_node, 20)

    def watch(self, node):
        watcher = Watcher(node, self.folder / f"watcher-{len(self.watchers)}.log", f"watcher {len(self.watchers) + 1}")
        self.watchers.append(watcher)
        return watcher

    def wait_for_live_frames(self, watcher):
        """Waits until the watcher gets what the window shows, and no stand-by picture."""
        def live():
            return watcher.last and difference(watcher.picture((64, 36)), self.look((64, 36))) < LIKENESS
        self.wait("live frames on the virtual camera", live, POLL_SECONDS + 7)

    def movies(self):
        return sorted(user_folder("VIDEOS").glob("Tovrin Movie *.mov"))

    def start_recording(self):
        self.main.press("ctrl+r")
        began = time.monotonic()
        self.wait("the movie's file", self.movies, 10)
        return began

    def stop_recording(self, began):
        """The seconds for which it recorded."""
        self.main.press("ctrl+r")
        seconds = time.monotonic() - began
        self.wait("the finished movie", self.finished_movie, 15)
        return seconds

    def finished_movie(self):
        return finished_movie(self.movies()[-1])

    # -- what is promised --

    def test_the_cameras_picture_is_shown_and_moves(self):
        self.start()
        first = self.wait("a picture in the window", lambda: (look := self.look()) and max(look) > 60 and look, 15)
        seconds = time.monotonic() - self.application.started
        self.assertGreater(mean_of(first), 5, "the picture is black")
        self.wait("another picture", lambda: difference(first, self.look()) > 0.5, 10)
        print(f"first picture seen after {seconds:.2f} s", file=sys.stderr)

    def test_watchers_get_every_frame_and_only_they_start_publication(self):
        self.start()
        node = self.install_camera()
        self.assertNothingPublished()

        first = self.watch(node)
        self.wait_for_live_frames(first)
        second = self.watch(node)
        self.wait_for_live_frames(second)
        begin, shown = time.monotonic(), camera_frames()
        self.film(60 if LONG else 8)
        end, shown = time.monotonic(), camera_frames() - shown
        for watcher in (first, second):
            self.assertAlmostEqual(watcher.rate(begin, end), CAMERA_RATE, delta=0.1 * CAMERA_RATE)
            self.assertGreater(watcher.fresh(begin, end), 0.97 * shown)

        for watcher in self.watchers:
            watcher.stop()
        self.watchers.clear()
        pass_time(POLL_SECONDS + 1, [self.application.check])
        self.assertNothingPublished()

    def assertNothingPublished(self):
        extension = processes_named("tovrin-camera-extension")
        self.assertTrue(extension, "the extension does not run")
        before = sum(map(wakeups, extension))
        pass_time(2, [self.application.check])
        self.assertLess(sum(map(wakeups, extension)) - before, 20, "the extension gets frames that nobody watches")

    def test_a_recording_holds_what_was_filmed(self):
        self.start()
        self.film(2)
        began, shown = self.start_recording(), camera_frames()
        filming = time.monotonic()
        self.film(10)
        filming, shown = time.monotonic() - filming, camera_frames() - shown
        seconds = self.stop_recording(began)
        movie = self.finished_movie()
        picture = movie.video
        self.assertEqual((picture["codec_name"], picture["width"], picture["height"]), ("h264", *FRAME_SIZE))
        self.assertEqual(movie.audio["codec_name"], "pcm_s16le")
        self.assertAlmostEqual(movie.duration, seconds, delta=0.3)
        self.assertGreaterEqual(movie.rate(), 0.97 * shown / filming)
        self.assertGreaterEqual(len(movie.packets()), shown - 3, "frames are missing")
        self.assertLess(abs(float(picture["start_time"]) - float(movie.audio["start_time"])), 0.04)
        self.assertLessEqual(movie.longest_group(), 30)
        self.assertEqual(output_of("ffmpeg", "-v", "error", "-i", str(movie.path), "-enc_time_base", "-1", "-f", "null", "-"), "")

    def test_a_snapshot_holds_the_pixels_of_the_window(self):
        self.start()
        pictures = user_folder("PICTURES")
        pictures.mkdir(exist_ok=True)
        for taken in ("Tovrin-001.png", "Tovrin-003.png"):
            (pictures / taken).write_text("taken")
        self.show_every_pixel()
        moving = self.look(FRAME_SIZE)
        self.film(2)
        freeze_camera()
        try:
            self.wait("the frozen picture", lambda: self.look(FRAME_SIZE) == self.look(FRAME_SIZE), 10)
            self.main.press("ctrl+s")
            size = self.wait("the snapshot", lambda: self.picture_size(pictures / "Tovrin-002.png"), 10)
            seen = self.look(FRAME_SIZE)
        finally:
            freeze_camera()
        self.assertEqual(size, FRAME_SIZE)
        snapshot = pixels(pictures / "Tovrin-002.png", FRAME_SIZE)
        self.assertLess(difference(snapshot, seen), 0.1)
        self.assertGreater(difference(snapshot, moving), 1, "the comparison does not see another picture")
        self.main.press("ctrl+s")
        self.wait("the next free name", lambda: (pictures / "Tovrin-004.png").exists(), 10)

    def show_every_pixel(self):
        """Makes the window so large that the picture is shown in its own size."""
        _, _, width, height = self.main.geometry()
        _, _, shown_width, shown_height = self.picture.control.extents()
        self.main.resize(width - shown_width + FRAME_SIZE[0], height - shown_height + FRAME_SIZE[1])
        self.wait("the picture in its own size", lambda: self.picture.area()[2:] == FRAME_SIZE, 10)

    def picture_size(self, path):
        try:
            width, height = output_of("identify", "-regard-warnings", "-format", "%w %h", str(path)).split()
            return int(width), int(height)
        except Failed:
            return None

    def test_view_recording_and_a_watcher_together_stay_small(self):
        self.start()
        watcher = self.watch(self.install_camera())
        self.wait_for_live_frames(watcher)
        began = self.start_recording()
        self.film(10)
        early = resident_memory(self.application.pid)
        begin, shown = time.monotonic(), camera_frames()
        self.film(50 if LONG else 6)
        end, shown = time.monotonic(), camera_frames() - shown
        late = resident_memory(self.application.pid)
        self.stop_recording(began)
        self.assertLess(late, MEMORY_LIMIT)
        self.assertLess(late - early, 8, "the memory grows")
        self.assertAlmostEqual(watcher.rate(begin, end), CAMERA_RATE, delta=0.1 * CAMERA_RATE)
        self.assertGreater(watcher.fresh(begin, end), 0.97 * shown)

    def quit_while_recording(self, quit_by):
        self.start()
        self.install_camera()
        began = self.start_recording()
        self.film(3)
        quit_by()
        self.assertEqual(self.application.wait_for_end(15), 0)
        movie = self.finished_movie()
        self.assertIsNotNone(movie, "the movie is not finished")
        self.assertAlmostEqual(movie.duration, time.monotonic() - began, delta=1.5)
        self.assertEqual(processes_named("tovrin"), [])
        self.assertTrue(processes_named("tovrin-camera-extension"), "the installed extension is gone")

    def test_quitting_by_the_menu_finishes_the_recording(self):
        self.quit_while_recording(lambda: self.main.press("ctrl+q"))

    def test_closing_the_main_window_finishes_the_recording(self):
        self.quit_while_recording(lambda: self.main.close())

    def test_sigterm_finishes_the_recording(self):
        self.quit_while_recording(lambda: os.kill(self.application.pid, signal.SIGTERM))

    def test_closing_the_output_window_ends_nothing(self):
        self.start()
        output = self.open_output_window()
        output.close()
        self.wait("the closed window", lambda: find_window(self.application.pid, "Virtual Camera Output") is None, 10)
        before = self.look()
        self.wait("a living picture", lambda: difference(before, self.look()) > 0.5, 10)
        self.open_output_window()

    def test_removing_the_camera_leaves_no_trace(self):
        self.start()
        self.install_camera()
        self.control("Remove the virtual camera").click()
        self.wait("the end of the node", lambda: camera_node() is None, 20)
        self.wait("the end of the extension", lambda: not processes_named("tovrin-camera-extension"), 10)

    def test_watchers_outlive_the_application(self):
        self.start()
        node = self.install_camera()
        watcher = self.watch(node)
        self.wait_for_live_frames(watcher)
        self.application.kill()
        killed = time.monotonic()
        pass_time(3, [watcher.check])
        self.assertGreater(watcher.rate(killed, time.monotonic()), 0.9 * CAMERA_RATE)
        self.start()
        self.wait_for_live_frames(watcher)

    @unittest.skipUnless("--soak" in sys.argv, "takes five minutes")
    def test_five_minutes(self):
        self.start()
        watcher = self.watch(self.install_camera())
        self.wait_for_live_frames(watcher)
        began = self.start_recording()
        self.film(300)
        self.stop_recording(began)
        self.main.press("ctrl+q")
        self.assertEqual(self.application.wait_for_end(30), 0)

    def test_a_filter_is_found_and_chosen_with_the_keyboard(self):
        self.start()
        self.main.press("ctrl+f")
        for letter in "thermal":
            self.main.press(letter)
        self.wait("the one that was found", lambda: self.tiles() == ["Thermal"], 10)
        self.main.press("Return")
        self.wait("its settings", lambda: find_control(self.application.pid, "Show the scale"), 10)
        self.main.press("ctrl+f")
        self.main.press("Escape")
        self.wait("all filters again", lambda: len(self.tiles()) > 1, 10)

    def tiles(self):
        """The names of the filters that are offered."""
        return [one.get_name() for one in accessibles(self.application.pid) if one.get_role_name() == "list item"]

    def test_starting_and_quitting_again_and_again(self):
        for _ in range(10 if LONG else 2):
            self.start()
            self.main.press("ctrl+q")
            self.assertEqual(self.application.wait_for_end(15), 0)
            self.assertEqual(processes_named("tovrin"), [])


if __name__ == "__main__":
    BINARIES = pathlib.Path(sys.argv.pop(1)).resolve()
    for option in ("--long", "--soak"):
        if option in sys.argv:
            sys.argv.remove(option)
            LONG = True
    unittest.main(verbosity=2)
