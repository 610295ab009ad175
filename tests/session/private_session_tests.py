#!/usr/bin/python3
"""Tests of private-session: private_session_tests.py CAMERA_FEED [unittest arguments]."""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(__file__).resolve().with_name("private-session")
CAMERA_FEED = None
PARTS = ("dbus-daemon", "pipewire", "wireplumber", "Xvfb")


def run(*command, options=(), timeout=60):
    return subprocess.run([PROGRAM, *options, "--", *command], capture_output=True, text=True, timeout=timeout)


def processes_of(session):
    """Every live process that carries the session's folder in its environment."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                if f"TOVRIN_SESSION={session}\0".encode() in (entry / "environ").read_bytes():
                    found.append(int(entry.name))
            except OSError:
                pass
    return found


def wait_until(condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.05)
    return True


class Running:
    """A session whose command prints its folder and parts, then waits to be ended."""

    def __init__(self, command="sleep 1000"):
        self.process = subprocess.Popen(
            [PROGRAM, "--", "bash", "-c", f'echo "$TOVRIN_SESSION" $PPID; {command}'],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.folder, inner = self.process.stdout.readline().split()
        self.inner = int(inner)

    def part(self, name):
        for pid in processes_of(self.folder):
            try:
                if pathlib.Path(f"/proc/{pid}/comm").read_text().strip() == name:
                    return pid
            except OSError:
                pass
        raise AssertionError(f"{name} does not run")

    def finish(self):
        _, errors = self.process.communicate(timeout=40)
        return self.process.returncode, errors


class PrivateSession(unittest.TestCase):
    def assertNothingLeft(self, folder):
        self.assertTrue(wait_until(lambda: not processes_of(folder)), f"left: {processes_of(folder)}")
        self.assertTrue(wait_until(lambda: not os.path.exists(folder)), f"{folder} is still there")

    def test_the_command_finds_every_part_and_its_status_is_returned(self):
        done = run("bash", "-c", "wpctl status && xdpyinfo >/dev/null && dbus-send --session --print-reply "
                                 "--dest=org.freedesktop.DBus / org.freedesktop.DBus.ListNames && exit 7")
        self.assertEqual(done.returncode, 7, done.stderr)
        self.assertIn("WirePlumber", done.stdout)

    def test_the_home_and_the_runtime_folder_are_fresh_and_private(self):
        done = run("bash", "-c", 'stat -c %a "$XDG_RUNTIME_DIR"; echo $HOME; ls -A "$XDG_CONFIG_HOME"',
                   options=["--no-display"])
        mode, home = done.stdout.split()[:2]
        self.assertEqual(mode, "700")
        self.assertNotEqual(home, os.environ.get("HOME"))

    def test_each_part_that_dies_ends_the_command_and_is_named(self):
        for name in PARTS:
            with self.subTest(part=name):
                session = Running()
                os.kill(session.part(name), signal.SIGKILL)
                status, errors = session.finish()
                self.assertEqual(status, 70)
                self.assertIn(f"{name} ended with signal 9 (Killed)", errors)
                self.assertNothingLeft(session.folder)

    def test_a_part_that_cannot_start_is_named(self):
        with tempfile.TemporaryDirectory() as folder:
            fake = pathlib.Path(folder, "wireplumber")
            fake.write_text("#!/bin/sh\necho no policy today\nexit 3\n")
            fake.chmod(0o755)
            done = subprocess.run([PROGRAM, "--", "true"], capture_output=True, text=True, timeout=60,
                                  env={**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"})
        self.assertEqual(done.returncode, 70)
        self.assertIn("wireplumber ended with status 3", done.stderr)
        self.assertIn("no policy today", done.stderr)

    def test_a_daemon_that_the_command_leaves_behind_is_ended(self):
        session = Running("setsid -f sleep 1000")
        self.assertEqual(session.finish()[0], 0)
        self.assertNothingLeft(session.folder)

    def test_a_signal_ends_everything(self):
        session = Running("setsid -f sleep 1000; sleep 1000")
        session.process.send_signal(signal.SIGTERM)
        self.assertEqual(session.finish()[0], 128 + signal.SIGTERM)
        self.assertNothingLeft(session.folder)

    def test_killing_the_keeper_ends_everything(self):
        session = Running("setsid -f sleep 1000; sleep 1000")
        session.process.kill()
        self.assertNothingLeft(session.folder)
        session.finish()

    def test_killing_the_session_ends_everything(self):
        session = Running("setsid -f sleep 1000; sleep 1000")
        os.kill(session.inner, signal.SIGKILL)
        self.assertEqual(session.finish()[0], 70)
        self.assertNothingLeft(session.folder)

    def test_the_command_is_ended_at_its_time_limit(self):
        done = run("sleep", "1000", options=["--no-display", "--timeout", "1"])
        self.assertEqual(done.returncode, 124)
        self.assertIn("did not end within 1 seconds", done.stderr)

    def test_two_sessions_at_once_do_not_meet(self):
        first, second = Running(), Running()
        self.assertNotEqual(first.folder, second.folder)
        first.process.terminate()
        first.finish()
        self.assertTrue(processes_of(second.folder))
        second.process.terminate()
        second.finish()
        self.assertNothingLeft(second.folder)

    def test_the_camera_delivers_its_footage_at_the_rate_asked_for(self):
        reader = ("timeout -s INT 30 gst-launch-1.0 -q pipewiresrc client-name=reader num-buffers=61 do-timestamp=true "
                  "! video/x-raw,format=I420,width=640,height=480,framerate=30/1 ! filesink location=$HOME/frames && "
                  "stat -c %s $HOME/frames")
        done = run("bash", "-c", f"date +%s.%N; {reader}; date +%s.%N",
                   options=["--camera", "pattern:testsrc2", "--camera-size", "640x480", "--camera-rate", "30",
                            "--camera-feed", CAMERA_FEED, "--no-display"])
        self.assertEqual(done.returncode, 0, done.stderr)
        began, size, ended = done.stdout.split()
        self.assertEqual(int(size), 61 * 640 * 480 * 3 // 2)
        self.assertGreater(float(ended) - float(began), 60 / 30 * 0.95)
        self.assertLess(float(ended) - float(began), 60 / 30 + 3)

    def test_a_camera_without_footage_is_named(self):
        done = run("true", options=["--camera", "/nowhere.avi", "--camera-feed", CAMERA_FEED, "--no-display"])
        self.assertEqual(done.returncode, 70)
        self.assertRegex(done.stderr, "(footage|camera) ended with")


if __name__ == "__main__":
    CAMERA_FEED = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
