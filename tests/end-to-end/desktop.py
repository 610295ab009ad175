"""What the demonstration and the end-to-end tests do with a desktop: start programs, find their windows and controls,
press them, look at the screen, and open the virtual camera as a stranger would.

Everything happens inside a private session (tests/session/private-session). Controls are found by their accessible
names, as a screen reader finds them, and pressed with the X server's own pointer and keyboard.
"""

import ctypes
import json
import operator
import os
import pathlib
import signal
import subprocess
import threading
import time
import zlib

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

TREE = pathlib.Path(__file__).resolve().parents[2]
EXTENSION_IDENTIFIER = "org.tovrin.tovrin.09.CMIOExtension"
FRAME_SIZE = (1280, 720)

PACE = 0.05  # seconds between two looks at something that is waited for


class Failed(Exception):
    """Something that should have happened did not; the text says what, for a person."""


def wait_for(what, condition, seconds, meanwhile=()):
    """Waits until `condition` gives something true and returns it.

    The functions in `meanwhile` are called at every look and raise when there is nothing left to wait for.
    """
    deadline = time.monotonic() + seconds
    while True:
        for look in meanwhile:
            look()
        result = condition()
        if result:
            return result
        if time.monotonic() >= deadline:
            raise Failed(f"{what} did not happen within {seconds:g} seconds")
        time.sleep(PACE)


def pass_time(seconds, meanwhile=()):
    """Lets that much time go by, as a user does who films something."""
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0:
        for look in meanwhile:
            look()
        time.sleep(min(PACE, left))


def output_of(*command, timeout=60):
    done = subprocess.run(command, capture_output=True, text=True, timeout=timeout)
    if done.returncode != 0:
        raise Failed(f"{command[0]} ended with status {done.returncode}: {done.stderr.strip() or done.stdout.strip()}")
    return done.stdout


def user_folder(kind):
    """The user's folder of that kind (PICTURES, VIDEOS) as the desktop defines it; a fresh account has none yet."""
    folder = pathlib.Path(output_of("xdg-user-dir", kind).strip())
    return folder if folder != pathlib.Path.home() else folder / kind.capitalize()


# -- processes -------------------------------------------------------------------------------------------------------


def ending(status):
    if status < 0:
        return f"signal {-status} ({signal.strsignal(-status)})"
    return f"status {status}"


def processes_of_session():
    """pid -> program name of every live process of this session."""
    mark = f"TOVRIN_SESSION={os.environ['TOVRIN_SESSION']}\0".encode()
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            if mark in (entry / "environ").read_bytes() and " Z " not in (entry / "stat").read_text():
                found[int(entry.name)] = os.path.basename(os.readlink(entry / "exe")).removesuffix(" (deleted)")
        except OSError:
            continue
    return found


def processes_named(name):
    return [pid for pid, program in processes_of_session().items() if program == name]


class Background:
    """Processes that nobody here started directly, and that must stay: they come with the first use of what they do."""

    def __init__(self, name, *programs):
        self.name = name
        self.pids = [pid for program in programs for pid in processes_named(program)]
        if not self.pids:
            raise Failed(f"{name} does not run")

    def check(self):
        for pid in self.pids:
            if not pathlib.Path(f"/proc/{pid}/exe").exists():
                raise Failed(f"{self.name} has ended")


def resident_memory(pid):
    """Resident memory in MiB."""
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) / 1024
    raise Failed(f"process {pid} has no memory")


def processor_time(pid):
    """Seconds of processor time that the process has used."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def wakeups(pid):
    """How often the process's threads have gone to sleep so far: what an idle program must not do."""
    count = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches:"):
                count += int(line.split()[1])
    return count


class Program:
    """A program that must stay alive until it is told to end; `check` raises when it has not."""

    def __init__(self, name, command, log):
        self.name = name
        self.log = pathlib.Path(log)
        environment = {**os.environ, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        with open(self.log, "wb") as out:
            self.started = time.monotonic()
            try:
                self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=out,
                                                env=environment)
            except OSError as error:
                raise Failed(f"{name} could not be started: {command[0]}: {error.strerror}") from None
        self.pid = self.process.pid

    def check(self):
        status = self.process.poll()
        if status is not None:
            words = "".join(f"\n    {line}" for line in self.log.read_text(errors="replace").splitlines()[-8:])
            raise Failed(f"{self.name} ended with {ending(status)}{words}")

    def wait_for_end(self, seconds):
        """Its exit status, negative for a signal."""
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failed(f"{self.name} did not end within {seconds:g} seconds") from None

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


# -- windows and controls --------------------------------------------------------------------------------------------


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 12)]


def close_window(window):
    """What a window manager does when the user presses a window's close button."""
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XInternAtom.restype = ctypes.c_ulong
    display = ctypes.c_void_p(x11.XOpenDisplay(None))
    atom = lambda name: x11.XInternAtom(display, name, 0)
    message = ClientMessage(type=33, window=window, message_type=atom(b"WM_PROTOCOLS"), format=32)
    message.data[0] = atom(b"WM_DELETE_WINDOW")
    x11.XSendEvent(display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(message))
    x11.XCloseDisplay(display)


class Window:
    def __init__(self, number):
        self.number = int(number)

    def geometry(self):
        """x, y, width, height on the screen."""
        lines = output_of("xdotool", "getwindowgeometry", "--shell", str(self.number)).splitlines()
        values = dict(line.split("=") for line in lines)
        return tuple(int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))

    def is_shown(self):
        return "IsViewable" in output_of("xwininfo", "-id", str(self.number))

    def move(self, x, y):
        output_of("xdotool", "windowmove", "--sync", str(self.number), str(x), str(y))

    def resize(self, width, height):
        output_of("xdotool", "windowsize", "--sync", str(self.number), str(width), str(height))

    def press(self, keys):
        """Presses a key combination in this window, such as "ctrl+s"."""
        output_of("xdotool", "windowfocus", "--sync", str(self.number), "key", "--clearmodifiers", keys)

    def close(self):
        close_window(self.number)

    def screenshot(self, path):
        output_of("import", "-silent", "-window", str(self.number), str(path))


def find_window(pid, title):
    """The visible window of that process with exactly this title, or None."""
    search = ["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"]
    done = subprocess.run(search, capture_output=True, text=True)
    for number in done.stdout.split():
        owner = subprocess.run(["xdotool", "getwindowpid", number], capture_output=True, text=True).stdout.strip()
        if owner == str(pid):
            return Window(number)
    return None


def accessibles(pid):
    """Every accessible object of the program, nearest to the root first."""
    try:
        desktop = Atspi.get_desktop(0)
        queue = [desktop.get_child_at_index(index) for index in range(desktop.get_child_count())]
        queue = [application for application in queue if application and application.get_process_id() == pid]
        while queue:
            one = queue.pop(0)
            yield one
            for index in range(one.get_child_count()):
                child = one.get_child_at_index(index)
                if child:
                    queue.append(child)
    except GLib.Error:
        return  # the program is going, or has not come yet; whoever waits looks again


class Control:
    def __init__(self, accessible):
        self.accessible = accessible

    def name(self):
        return self.accessible.get_name()

    def extents(self):
        """x, y, width, height on the screen."""
        area = self.accessible.get_extents(Atspi.CoordType.SCREEN)
        return area.x, area.y, area.width, area.height

    def click(self):
        x, y, width, height = self.extents()
        output_of("xdotool", "mousemove", "--sync", str(x + width // 2), str(y + height // 2), "click", "1")


def find_control(pid, name, role=None):
    for one in accessibles(pid):
        try:
            if one.get_name() == name and (role is None or one.get_role_name() == role):
                return Control(one)
        except GLib.Error:
            continue
    return None


def pixels(path, size, area=None):
    """The RGB bytes of a picture file, cropped to `area` (x, y, width, height) and scaled to `size`."""
    crop = ["-crop", "{2}x{3}+{0}+{1}".format(*area), "+repage"] if area else []
    scale = ["-alpha", "off", "-resize", f"{size[0]}x{size[1]}!", "-depth", "8"]
    done = subprocess.run(["convert", str(path), *crop, *scale, "rgb:-"], capture_output=True)
    if done.returncode != 0:
        raise Failed(f"{path} is no picture: {done.stderr.decode().strip()}")
    return done.stdout


def difference(first, second):
    """Mean absolute difference of two pictures' bytes, 0 to 255."""
    if len(first) != len(second) or not first:
        raise Failed("the pictures have different sizes")
    return sum(map(abs, map(operator.sub, first, second))) / len(first)


# -- the virtual camera ----------------------------------------------------------------------------------------------


def camera_node():
    """The PipeWire node of the virtual camera, or None."""
    try:
        objects = json.loads(output_of("pw-dump"))
    except json.JSONDecodeError:
        return None
    for one in objects:
        properties = (one.get("info") or {}).get("props") or {}
        if one.get("type") == "PipeWire:Interface:Node" and properties.get("media.class") == "Video/Source" \
                and properties.get("node.name", "").startswith(EXTENSION_IDENTIFIER):
            return one["id"]
    return None


class Watcher:
    """An independent reader of the virtual camera: GStreamer's pipewiresrc in a process of its own.

    Each frame is taken from the pipe as it comes, so its time is the consumer's and not a time stamp's.
    """

    FRAME_BYTES = FRAME_SIZE[0] * FRAME_SIZE[1] * 3 // 2

    def __init__(self, node, log, name="watcher"):
        reader, writer = os.pipe()
        caps = f"video/x-raw,format=I420,width={FRAME_SIZE[0]},height={FRAME_SIZE[1]}"
        self.log = pathlib.Path(log)
        self.name = name
        with open(self.log, "wb") as out:
            self.process = subprocess.Popen(
                ["gst-launch-1.0", "-q", "pipewiresrc", f"path={node}", "do-timestamp=true", "!", caps, "!",
                 "queue", "max-size-buffers=4", "leaky=no", "!", "fdsink", f"fd={writer}", "sync=false"],
                stdin=subprocess.DEVNULL, stdout=out, stderr=out, pass_fds=(writer,))
        os.close(writer)
        self.arrivals = []  # (time of arrival, checksum of its pixels)
        self.last = None
        self._file = os.fdopen(reader, "rb", buffering=self.FRAME_BYTES)
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        while len(frame := self._file.read(self.FRAME_BYTES)) == self.FRAME_BYTES:
            self.last = frame
            self.arrivals.append((time.monotonic(), zlib.crc32(frame)))

    def check(self):
        status = self.process.poll()
        if status is not None:
            raise Failed(f"{self.name} ended with {ending(status)}: {self.log.read_text(errors='replace').strip()}")

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._thread.join(10)
        self._file.close()

    def picture(self, size):
        """The RGB bytes of the newest frame, scaled to `size`."""
        done = subprocess.run(["ffmpeg", "-v", "error", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-video_size",
                               "x".join(map(str, FRAME_SIZE)), "-i", "-", "-vf",
                               f"scale={size[0]}:{size[1]}:flags=area:in_color_matrix=bt601", "-pix_fmt", "rgb24",
                               "-f", "rawvideo", "-"], input=self.last, capture_output=True)
        if done.returncode != 0:
            raise Failed(f"a frame of {self.name} is no picture: {done.stderr.decode().strip()}")
        return done.stdout

    def between(self, begin, end):
        return [arrival for arrival in self.arrivals if begin <= arrival[0] < end]

    def rate(self, begin, end):
        """Frames a second that arrived in that time."""
        return len(self.between(begin, end)) / (end - begin)

    def fresh(self, begin, end):
        """How many of them differ from the one before."""
        frames = self.between(begin, end)
        return sum(1 for before, after in zip(frames, frames[1:]) if before[1] != after[1])


class PictureInWindow:
    """The live picture of the main window, as it is on the screen."""

    def __init__(self, window, control, folder):
        self.window, self.control, self.path = window, control, pathlib.Path(folder) / "look.png"

    def area(self):
        """The part of the window with the picture, without the bars that keep its proportions."""
        left, top, _, _ = self.window.geometry()
        x, y, width, height = self.control.extents()
        scale = min(width / FRAME_SIZE[0], height / FRAME_SIZE[1])
        shown = round(FRAME_SIZE[0] * scale), round(FRAME_SIZE[1] * scale)
        return x - left + (width - shown[0]) // 2, y - top + (height - shown[1]) // 2, *shown

    def look(self, size=(320, 180)):
        self.window.screenshot(self.path)
        return pixels(self.path, size, self.area())


def camera_frames():
    """How many frames the session's camera has shown so far."""
    try:
        return int(pathlib.Path(os.environ["TOVRIN_SESSION_CAMERA_FRAMES"]).read_text() or 0)
    except FileNotFoundError:
        return 0


def freeze_camera():
    """Freezes the picture of the session's camera, or lets it go on."""
    os.kill(int(os.environ["TOVRIN_SESSION_CAMERA"]), signal.SIGUSR1)


# -- movies ----------------------------------------------------------------------------------------------------------


def finished_movie(path):
    """The movie once its file is an ordinary one, no longer one that grows in fragments; else None."""
    try:
        movie = Movie(path)
        return movie if b"moof" not in movie.boxes() else None
    except Failed:
        return None


class Movie:
    def __init__(self, path):
        self.path = pathlib.Path(path)
        report = self._probe("-show_format", "-show_streams")
        self.format = report["format"]
        self.video = next((one for one in report["streams"] if one["codec_type"] == "video"), None)
        self.audio = next((one for one in report["streams"] if one["codec_type"] == "audio"), None)
        if not self.video:
            raise Failed(f"{path} has no picture")

    def _probe(self, *questions):
        return json.loads(output_of("ffprobe", "-v", "error", *questions, "-of", "json", str(self.path)))

    @property
    def duration(self):
        return float(self.format["duration"])

    def boxes(self):
        """The names of the file's top-level boxes, in their order."""
        names, size = [], self.path.stat().st_size
        with open(self.path, "rb") as file:
            while file.tell() + 8 <= size:
                begin = file.tell()
                length, name = int.from_bytes(file.read(4), "big"), file.read(4)
                if length == 1:
                    length = int.from_bytes(file.read(8), "big")
                if length == 0:
                    length = size - begin
                names.append(name)
                file.seek(begin + max(length, 8))
        return names

    def packets(self):
        """(presentation time, is a key frame) of every picture, in order of presentation."""
        report = self._probe("-select_streams", "v", "-show_packets", "-show_entries", "packet=pts_time,flags")
        return sorted((float(one["pts_time"]), "K" in one["flags"]) for one in report["packets"])

    def rate(self):
        times = [time for time, _ in self.packets()]
        return (len(times) - 1) / (times[-1] - times[0])

    def longest_group(self):
        """The most pictures from one key frame to the next."""
        keys = [index for index, (_, key) in enumerate(self.packets()) if key]
        ends = [*keys[1:], len(self.packets())]
        if not keys or keys[0] != 0:
            raise Failed(f"{self.path} does not begin with a key frame")
        return max(end - begin for begin, end in zip(keys, ends))
