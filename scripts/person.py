"""A person at the screen of $DISPLAY with Vorta Studio: what end-to-end tests share."""

import contextlib
import os
import pathlib
import re
import subprocess
import sys
import time

SCRIPTS = pathlib.Path(__file__).resolve().parent
PATIENCE = 120  # seconds for each step on a slow machine


def wait_for(what, condition):
    end = time.monotonic() + PATIENCE
    while not (found := condition()):
        if time.monotonic() > end:
            raise TimeoutError(f"waited in vain for {what}")
        time.sleep(0.1)
    return found


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], check=True, capture_output=True, text=True).stdout


def windows(title):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], capture_output=True, text=True,
                           check=False)
    return found.stdout.split()


class Studio:
    """The program on the screen."""

    def __init__(self, command, icons, home):
        self.icons = icons
        environment = dict(os.environ, HOME=str(home), XDG_CONFIG_HOME=str(home))
        self.process = subprocess.Popen(command, env=environment, cwd=home)

    def find(self, icon, *options):
        """Waits for a picture that is not grey and gives its centre."""
        found = subprocess.run([SCRIPTS / "find-icon", self.icons / icon, "--timeout", str(PATIENCE), *options],
                               check=True, capture_output=True, text=True)
        return tuple(int(number) for number in found.stdout.split())

    def click(self, icon):
        return self.find(icon, "--click")

    def windows(self):
        """Its windows on the screen; a list that a box drops down is one too."""
        return xdotool("search", "--onlyvisible", "--pid", self.process.pid).split()

    @staticmethod
    def accept(title):
        """Presses Return in a dialog; False while that is there: a list of names may have taken the key."""
        if windows(title):
            xdotool("key", "Return")
            time.sleep(1)
        return not windows(title)

    def save(self, path, unordered=False):
        """Saves the measurement in the format that the name ends in, which is an ordered PLY if not told otherwise."""
        self.click("disk.png")
        dialog = wait_for("the dialog for saving", lambda: windows("^Save Measurement$"))[0]
        xdotool("windowfocus", "--sync", dialog)
        self.choose_type(dialog, path.suffix, unordered)
        xdotool("key", "alt+n", "ctrl+a", "type", "--delay", "3", self.name(path))
        wait_for("the name in the dialog", screen_rests)
        grab_screen(path.with_suffix(path.suffix + ".png"))
        wait_for("the end of the dialog", lambda: self.accept("^Save Measurement$"))
        wait_for(path, lambda: path.exists() and not is_open(path))

    def choose_type(self, dialog, _, unordered):
        """Chooses a file's type where the name's ending does not tell it."""
        if not unordered:
            return
        # No key leads to the list of types: it lies at the lower edge. The type is its third.
        height = int(re.search(r"HEIGHT=(\d+)", xdotool("getwindowgeometry", "--shell", dialog))[1])
        before = len(self.windows())
        xdotool("mousemove", "--window", dialog, 250, height - 25, "click", 1)
        wait_for("the list of types", lambda: len(self.windows()) > before)
        xdotool("key", "--delay", "50", "Home", "Down", "Down", "Return")
        wait_for("the end of the list", lambda: len(self.windows()) <= before)

    @staticmethod
    def name(path):
        """What the user types to name the file."""
        return str(path)

    def close(self):
        """Closes the window as a person does, who presses the keys again when a busy window manager has missed them."""
        end = time.monotonic() + PATIENCE
        status = None
        while status is None and time.monotonic() < end:
            xdotool("key", "alt+F4")
            with contextlib.suppress(subprocess.TimeoutExpired):
                status = self.process.wait(10)
        check(status == 0, f"the studio ended with exit status {status}")


def is_open(path):
    """Whether any process has the file open."""
    for file in pathlib.Path("/proc").glob("[0-9]*/fd/*"):
        with contextlib.suppress(OSError):  # closed, or the process is gone, since it was listed
            if os.readlink(file) == str(path):
                return True
    return False


@contextlib.contextmanager
def running(studio, out):
    """The studio from its start until its window is closed; what the screen shows is saved when something fails."""
    try:
        wait_for("the main window", lambda: windows("^Vorta Studio"))
        yield studio
        studio.close()
    except BaseException:
        grab_screen(out / "failure.png")
        print(f"The screen is saved in {out}/failure.png", file=sys.stderr)
        raise
    finally:
        studio.process.kill()
        studio.process.wait()


def check(condition, message):
    if not condition:
        raise AssertionError(message)


def grab_screen(path):
    subprocess.run(["import", "-silent", "-window", "root", path], check=True)


def screen_rests():
    def look():
        return subprocess.run(["import", "-silent", "-window", "root", "rgb:-"], check=True, capture_output=True).stdout

    before = look()
    time.sleep(0.5)
    return before == look()
