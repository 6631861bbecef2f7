"""What the tests of whole runs share: the tool, a server, a folder of their own."""

import os
import pathlib
import pty
import subprocess
import sys
import tempfile
import unittest

from server import Server

TOOL = os.path.abspath(sys.argv.pop(1))
TIMEOUT = 30


class ToolCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = cls.start()
        cls.base = f"http://127.0.0.1:{cls.server.port}"

    @classmethod
    def start(cls, tls=None):
        server = Server(tls)
        cls.addClassCleanup(server.stop)
        return server

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.server.take()

    def run_tool(self, *arguments, stdin=b"", environment=(), tool=TOOL):
        """Runs the tool in the folder of the test, without the proxies of the machine."""
        variables = {k: v for k, v in os.environ.items() if not k.lower().endswith("_proxy")}
        variables["XDG_CONFIG_HOME"] = variables["HOME"] = str(self.folder)
        variables.update(environment)
        return subprocess.run(
            [tool, *arguments],
            input=stdin,
            capture_output=True,
            timeout=TIMEOUT,
            cwd=self.folder,
            env=variables,
        )

    def run_on_terminal(self, *arguments, **environment):
        """Runs the tool with a terminal for its output and its errors; gives what stands on it."""
        ours, its = pty.openpty()
        variables = {**os.environ, "TERM": "xterm", "NO_COLOR": "", **environment}
        tool = subprocess.Popen([TOOL, *arguments], stdout=its, stderr=its, env=variables)
        os.close(its)
        shown = b""
        try:
            while piece := os.read(ours, 65536):
                shown += piece
        except OSError:
            pass  # the other side is closed
        os.close(ours)
        self.assertEqual(tool.wait(TIMEOUT), 0, shown)
        return shown.replace(b"\r", b"")

    def url(self, path):
        return self.base + path

    def write(self, name, content):
        (self.folder / name).write_bytes(content)

    def read(self, name):
        return (self.folder / name).read_bytes()
