#!/usr/bin/python3
"""The built program with microphones whose sound a filter shows: sound_tests.py BINARIES MICROPHONE [unittest arguments].

Runs inside tests/session/private-session with a camera and without a microphone. Each microphone hears one tone.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

from desktop import PictureInWindow, Program, find_control, find_window, output_of, wait_for

BINARIES = None
MICROPHONE = None
COLUMNS = 256
SHOWN_HERTZ = 6000  # of the 24,000 that there are, the lowest, from the left to the right

PITCHES = f"""/*{{ "LABEL": "Pitches", "INPUTS": [ {{ "NAME": "inputImage", "TYPE": "image" }},
    {{ "NAME": "sound", "TYPE": "audioFFT" }} ] }}*/
void main()
{{
    float pitch = IMG_NORM_PIXEL(sound, vec2(isf_FragNormCoord.x * {SHOWN_HERTZ / 24000}, 0.5)).r;
    gl_FragColor = vec4(vec3(pitch * pitch * pitch), 1.0);
}}
"""


class Microphone:
    """A microphone of any form that hears a tone, until it is pulled out."""

    def __init__(self, name, hertz, rate, channels):
        self.process = subprocess.Popen([MICROPHONE, name, str(hertz), str(rate), str(channels)],
                                        stdin=subprocess.DEVNULL)

    def pull_out(self):
        self.process.kill()
        self.process.wait()


class Sound(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        home = pathlib.Path(os.environ.get("XDG_DATA_HOME") or pathlib.Path.home() / ".local/share")
        filters = home / "tovrin" / "compositions"
        filters.mkdir(parents=True, exist_ok=True)
        (filters / "Pitches.fs").write_text(PITCHES)
        self.microphone = None
        self.application = Program("tovrin", [BINARIES / "tovrin"], self.folder / "tovrin.log")
        self.main = self.wait("the main window", lambda: find_window(self.application.pid, "Tovrin"), 20)
        self.main.move(0, 0)
        self.picture = PictureInWindow(self.main, self.control("Camera picture"), self.folder)
        self.main.press("ctrl+f")
        output_of("xdotool", "type", "Pitches")
        self.control("Pitches").click()

    def tearDown(self):
        self.application.kill()
        if self.microphone:
            self.microphone.pull_out()

    def wait(self, what, condition, seconds=20):
        return wait_for(what, condition, seconds, [self.application.check])

    def control(self, name):
        return self.wait(f"the control '{name}'", lambda: find_control(self.application.pid, name))

    def plug_in(self, *microphone):
        if self.microphone:
            self.microphone.pull_out()
        self.microphone = Microphone(*microphone)

    def loudest_hertz(self):
        """The pitch of the brightest column; 0 when all is dark."""
        row = self.picture.look((COLUMNS, 1))[::3]
        return (row.index(max(row)) + 0.5) * SHOWN_HERTZ / COLUMNS if max(row) > 100 else 0

    def expect(self, hertz):
        self.wait(f"a tone of {hertz} Hz", lambda: abs(self.loudest_hertz() - hertz) < 60)

    def test_a_filter_shows_what_each_microphone_hears(self):
        self.wait("silence", lambda: self.loudest_hertz() == 0)
        self.plug_in("Mono", 3000, 44100, 1)
        self.expect(3000)
        self.plug_in("Stereo", 1500, 48000, 2)
        self.expect(1500)
        self.plug_in("Room", 4500, 48000, 6)
        self.expect(4500)
        self.microphone.pull_out()
        self.wait("silence", lambda: self.loudest_hertz() == 0)


if __name__ == "__main__":
    BINARIES, MICROPHONE = pathlib.Path(sys.argv.pop(1)).resolve(), pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
