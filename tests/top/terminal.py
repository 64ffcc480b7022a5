# SPDX-License-Identifier: GPL-2.0
"""A terminal of its own for a program: a server of tmux without the user's settings."""
import os
import subprocess
import tempfile
import time

PATIENCE = 120  # seconds, for a machine that does much else


class Terminal:
    """Runs a script of the shell in a terminal with columns and rows."""

    def __init__(self, script, columns=80, rows=24, folder=".", environment=()):
        self.private = tempfile.TemporaryDirectory()
        # A program that the end of the terminal interrupts while the sanitizer looks for leaks would run for ever.
        self.environment = {**os.environ, "LC_ALL": "C.UTF-8", "ASAN_OPTIONS": "detect_leaks=0"}
        for name in ("NO_COLOR", "TMUX", "COLORTERM"):
            self.environment.pop(name, None)
        self.environment.update(environment)
        # The pane remains after the script, so that what it leaves behind can be read.
        self.tmux("new-session", "-d", "-x", str(columns), "-y", str(rows), "-c", folder,
                  f"trap : INT; sh -c '{script}'; printf \"%s\\n\" \"the end\"; exec sleep 1000")

    def tmux(self, *arguments):
        command = ["tmux", "-u", "-S", f"{self.private.name}/socket", "-f", "/dev/null", *arguments]
        return subprocess.run(command, env=self.environment, check=True, capture_output=True,
                              encoding="utf-8").stdout

    def rows(self, *options):
        return self.tmux("capture-pane", "-p", *options).split("\n")[:-1]

    def wait(self, condition):
        """Waits until the rows meet a condition, and returns them."""
        end = time.monotonic() + PATIENCE
        while not condition(rows := self.rows()):
            if time.monotonic() > end:
                raise AssertionError("never seen; the screen is\n" + "\n".join(rows))
            time.sleep(0.05)
        return rows

    def wait_for(self, text):
        return self.wait(lambda rows: any(text in row for row in rows))

    def press(self, *keys):
        self.tmux("send-keys", *keys)

    def type(self, text):
        self.tmux("send-keys", "-l", text)

    def resize(self, columns, rows):
        self.tmux("resize-window", "-x", str(columns), "-y", str(rows))

    def close(self):
        self.tmux("kill-server")
        self.private.cleanup()
