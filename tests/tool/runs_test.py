"""Whole runs of the tool against a server: what is sent, what is printed, how it ends."""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

from server import Server

TOOL = os.path.abspath(sys.argv.pop(1))
TIMEOUT = 30


class RunsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = Server()
        cls.base = f"http://127.0.0.1:{cls.server.port}"

    @classmethod
    def tearDownClass(cls):
        cls.server.stop()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.server.take()

    def run_tool(self, *arguments, stdin=b""):
        environment = {k: v for k, v in os.environ.items() if not k.lower().endswith("_proxy")}
        return subprocess.run([TOOL, *arguments], input=stdin, capture_output=True, timeout=TIMEOUT,
                              cwd=self.folder, env=environment)

    def url(self, path):
        return self.base + path

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    # What is sent.

    def test_requests(self):
        self.write("data", b"a b\r\nc\n")
        self.write("fields", b"X-A: 1\nX-B: 2\n")
        octets = "Content-Type: application/octet-stream"
        form = "Content-Type: application/x-www-form-urlencoded"
        as_json = "Content-Type: application/json"
        # arguments, method and target, fields that must stand, body
        cases = [
            ([], "GET /echo", ["Accept: */*"], b""),
            (["-d", "a=1", "-d", "@data"], "POST /echo", [form], b"a=1&a bc"),
            (["--data-binary", "@data"], "POST /echo", [form], b"a b\r\nc\n"),
            (["--data-raw", "@data"], "POST /echo", [form], b"@data"),
            (["--data-urlencode", "n=a b&c"], "POST /echo", [form], b"n=a+b%26c"),
            (["-d", ""], "POST /echo", ["Content-Length: 0"], b""),
            (["-d", "@-"], "POST /echo", ["Content-Length: 5"], b"stdin"),
            (["-d", "x", "-H", "content-type: t/u"], "POST /echo", ["content-type: t/u"], b"x"),
            (["-G", "-d", "a=1", "-d", "b"], "GET /echo?a=1&b", [], b""),
            (["--json", "{}"], "POST /echo", [as_json, "Accept: application/json"], b"{}"),
            (["-X", "DELETE"], "DELETE /echo", [], b""),
            (["-XPATCH", "-d", "x"], "PATCH /echo", [form], b"x"),
            (["-I"], "HEAD /echo", [], b""),
            (["-T", "data"], "PUT /echo", [octets, "Content-Length: 7"], b"a b\r\nc\n"),
            (["-T", "-"], "PUT /echo", ["Transfer-Encoding: chunked"], b"stdin"),
            (["-A", "me"], "GET /echo", ["User-Agent: me"], b""),
            (["-e", "there"], "GET /echo", ["Referer: there"], b""),
            (["-b", "b=2; a=1", "-b", "c="], "GET /echo", ["Cookie: a=1; b=2; c="], b""),
            (["-H", "@fields"], "GET /echo", ["X-A: 1", "X-B: 2"], b""),
            (["-H", "X-Empty;"], "GET /echo", ["X-Empty:"], b""),
            (["-r", "0-4,-2"], "GET /echo", ["Range: bytes=0-4,-2"], b""),
            (["-r", "5-"], "GET /echo", ["Range: bytes=5-"], b""),
            (["-u", "me:a:b"], "GET /echo", ["Authorization: Basic bWU6YTpi"], b""),
            (["--oauth2-bearer", "tok"], "GET /echo", ["Authorization: Bearer tok"], b""),
            (["--url-query", "q=a b"], "GET /echo?q=a+b", [], b""),
        ]
        for arguments, line, fields, body in cases:
            with self.subTest(arguments):
                result = self.run_tool("-s", *arguments, self.url("/echo"), stdin=b"stdin")
                self.assertEqual(result.returncode, 0, result.stderr)
                (request,) = self.server.take()
                self.assertEqual(request.line, line + " HTTP/1.1")
                for field in fields:
                    self.assertIn(field, request.fields)
                self.assertEqual(request.body, body)
                names = [field.partition(":")[0].lower() for field in request.fields]
                self.assertEqual(len(names), len(set(names)), request.fields)
                if line.startswith("GET"):
                    self.assertNotIn("content-type", names)

    def test_compression_is_asked_for_only_on_request(self):
        packed = self.run_tool("-s", self.url("/gzip"))
        plain = self.run_tool("-s", "--compressed", self.url("/gzip"))
        requests = self.server.take()
        self.assertNotIn("gzip", requests[0].field("accept-encoding") or "")
        self.assertIn("gzip", requests[1].field("accept-encoding"))
        self.assertTrue(packed.stdout.startswith(b"\x1f\x8b"))
        self.assertEqual(plain.stdout, b"unpacked\n")

    def test_forms(self):
        self.write("f.txt", b"file\n")
        long_name = "n" * 130  # longer than a path of the interface
        self.write(long_name, b"long")
        result = self.run_tool("-s", "-F", "t=text", "-F", "f=@f.txt", "-F", "g=@f.txt;type=a/b;filename=x y",
                               "-F", "r=<f.txt", "-F", "typed=v;type=a/c", "-F", f"l=@{long_name};filename=l",
                               "--form-string", "s=@;type=x", self.url("/echo"))
        self.assertEqual(result.returncode, 0, result.stderr)
        (request,) = self.server.take()
        boundary = re.fullmatch("multipart/form-data; boundary=(.+)", request.field("content-type"))
        first, *parts, last = request.body.split(b"--" + boundary[1].encode())
        self.assertEqual((first, last), (b"", b"--\r\n"))
        found = {}
        for part in parts:
            head, _, content = part.removeprefix(b"\r\n").removesuffix(b"\r\n").partition(b"\r\n\r\n")
            name = re.search(rb'name="([^"]*)"', head)[1]
            found[name] = (sorted(head.split(b"\r\n")), content)
        disposition = b"Content-Disposition: form-data; name="
        octets = b"Content-Type: application/octet-stream"
        self.assertEqual(found, {
            b"t": ([disposition + b'"t"'], b"text"),
            b"f": ([disposition + b'"f"; filename="f.txt"', b"Content-Type: text/plain"], b"file\n"),
            b"g": ([disposition + b'"g"; filename="x y"', b"Content-Type: a/b"], b"file\n"),
            b"r": ([disposition + b'"r"'], b"file\n"),
            b"typed": ([disposition + b'"typed"', b"Content-Type: a/c"], b"v"),
            b"l": ([disposition + b'"l"; filename="l"', octets], b"long"),
            b"s": ([disposition + b'"s"'], b"@;type=x"),
        })

    def test_upload_of_a_big_file_streams(self):
        content = os.urandom(3 << 20)
        self.write("big", content)
        result = self.run_tool("-s", "-T", "big", "-o", "back", self.url("/echo"))
        self.assertEqual(result.returncode, 0, result.stderr)
        (request,) = self.server.take()
        self.assertEqual(request.field("content-length"), str(len(content)))
        self.assertEqual(request.body, content)
        self.assertEqual(self.read("back"), content)

    # What is printed.

    def test_output(self):
        head = b"HTTP/1.1 200 OK\r\nContent-Length: 6\r\nX-One: 1\r\n\r\n"
        moved = b"HTTP/1.1 302 Found\r\nContent-Length: 6\r\nLocation: /x\r\n\r\n"
        # arguments, path, standard output
        cases = [
            ([], "/", b"hello\n"),
            (["-o", "-"], "/", b"hello\n"),
            (["-i"], "/", head + b"hello\n"),
            (["-I"], "/", head),
            (["-D", "-"], "/", head + b"hello\n"),
            ([], "/to/x", b"moved\n"),
            (["-L"], "/to/x", b"hello\n"),
            (["-iL"], "/to/x", moved + head + b"hello\n"),
            ([], "/chunked", b"abcde"),
            ([], "/big", bytes(range(256)) * 4096 * 3),
            (["-w", "%{http_code} %{size_download} %{num_redirects}\\n"], "/to/x", b"moved\n302 6 0\n"),
            (["-Lw", "%{url_effective} %{num_redirects}"], "/to/x", b"hello\n" + self.url("/x 1").encode()),
            (["-w", "%{redirect_url}"], "/to/x", b"moved\n" + self.url("/x").encode()),
            (["-w", "%{stderr}oops"], "/", b"hello\n"),
        ]
        for arguments, path, output in cases:
            with self.subTest(arguments=arguments, path=path):
                result = self.run_tool(*arguments, self.url(path))
                self.assertEqual(result.stdout, output)
                self.assertEqual(result.returncode, 0)
                self.assertEqual(result.stderr, b"oops" if "%{stderr}oops" in arguments else b"")

    def test_files(self):
        self.run_tool("-O", "-o", "second", self.url("/a/first?q"), self.url("/b"), "-D", "heads")
        self.assertEqual(self.read("first"), b"hello\n")
        self.assertEqual(self.read("second"), b"hello\n")
        self.assertEqual(self.read("heads").count(b"HTTP/1.1 200 OK"), 2)
        self.run_tool("--create-dirs", "--output-dir", "x/y", "-i", "-o", "z", self.url("/"))
        self.assertTrue(self.read("x/y/z").endswith(b"\r\n\r\nhello\n"))
        nowhere = self.run_tool("-o", "no/such/folder", self.url("/"))
        self.assertEqual((nowhere.returncode, nowhere.stdout), (23, b""))
        self.assertEqual(self.run_tool("-O", self.url("/")).returncode, 23)

    def test_resumed_downloads(self):
        # what is there, exit status, what is there then
        for before, status, after in [(b"0123", 0, b"0123456789"), (b"", 0, b"0123456789"),
                                      (b"0123456789", 0, b"0123456789")]:
            with self.subTest(before):
                self.write("f", before)
                result = self.run_tool("-s", "-C", "-", "-o", "f", self.url("/range"))
                self.assertEqual((result.returncode, self.read("f")), (status, after), result.stderr)
        self.write("f", b"0123")
        result = self.run_tool("-C", "-", "-o", "f", self.url("/"))  # a server without ranges
        self.assertEqual((result.returncode, self.read("f")), (33, b"0123"), result.stderr)

    def test_verbose(self):
        result = self.run_tool("-v", self.url("/"))
        self.assertEqual(result.stdout, b"hello\n")
        lines = result.stderr.decode().split("\n")
        for line in ["> GET / HTTP/1.1", f"> Host: 127.0.0.1:{self.server.port}", "> ",
                     "< HTTP/1.1 200 OK", "< X-One: 1", "< "]:
            self.assertIn(line, lines)
        self.assertTrue(any(line.startswith("* ") for line in lines))
        self.run_tool("-s", "--trace-ascii", "trace", "-d", "ab", self.url("/"))
        trace = self.read("trace")
        for piece in [b"=> Send data, 2 bytes (0x2)\n0000: ab\n", b"<= Recv data, 6 bytes (0x6)\n0000: hello.\n"]:
            self.assertIn(piece, trace)

    def test_parallel_bodies_stay_whole_and_in_order(self):
        urls = [self.url(f"/echo?{n}") for n in range(20)]
        result = self.run_tool("-sZ", "-d", "x" * 100, "-w", "%{urlnum}\\n", *urls)
        self.assertEqual(result.stdout.decode(), "".join("x" * 100 + f"{n}\n" for n in range(20)))
        self.assertEqual(len(self.server.take()), 20)

    def test_json(self):
        result = self.run_tool("--as-json", self.url("/cookies"), self.url("/"))
        first, second = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual(list(first), ["status", "errorCode", "effectiveUrl", "headers", "bodyLength",
                                       "cookies", "times", "debug"])
        self.assertEqual(first["cookies"], [
            {"name": "a", "value": "1", "domain": None, "path": "/", "expires": None, "maxAge": 60,
             "secure": False, "httpOnly": True, "sameSite": None,
             "attributes": {"path": "/", "max-age": "60", "httponly": "", "fancy": ""}},
            {"name": "b", "value": '"x y"', "domain": "127.0.0.1", "path": None, "expires": None,
             "maxAge": None, "secure": True, "httpOnly": False, "sameSite": "Lax",
             "attributes": {"samesite": "Lax", "secure": "", "domain": "127.0.0.1"}}])
        self.assertEqual(second["status"], 200)
        self.assertEqual(second["bodyLength"], 6)
        self.assertEqual(second["effectiveUrl"], self.url("/"))
        self.assertEqual(second["headers"], {"content-length": ["6"], "x-one": ["1"]})
        self.assertGreater(second["times"]["total"], 0)
        failed = self.run_tool("--as-json", self.url("/drop"))
        self.assertEqual(json.loads(failed.stdout)["errorCode"], 1007900052)
        self.assertEqual(json.loads(failed.stdout)["status"], 0)

    def test_archive(self):
        self.run_tool("-sL", "--har", "har", "-u", "me:word", self.url("/to/x?a=b%20c"))
        text = self.read("har")
        first, second = json.loads(text)["log"]["entries"]
        self.assertEqual(first["request"]["queryString"], [{"name": "a", "value": "b c"}])
        self.assertEqual(first["response"]["redirectURL"], "/x")
        self.assertEqual(second["request"]["url"], self.url("/x"))
        self.assertEqual(second["response"]["content"]["size"], 6)
        for entry in (first, second):
            self.assertAlmostEqual(entry["time"], sum(max(0, t) for name, t in entry["timings"].items()
                                                      if name != "ssl"), places=2)
            self.assertGreater(entry["time"], 0)
        self.assertNotIn(b"bWU6d29yZA", text)
        self.run_tool("-s", "--har", "har", "--har-secrets", "-u", "me:word", self.url("/"))
        self.assertIn(b"bWU6d29yZA", self.read("har"))

    def test_timing_and_explanation(self):
        result = self.run_tool("-s", "--timing", "--explain", self.url("/"))
        text = result.stderr.decode()
        for piece in ["connect", "wait", "receive", "total", "127.0.0.1 port", "answer    200 over HTTP/1.1"]:
            self.assertIn(piece, text)
        refused = self.run_tool("-s", "--explain", "http://127.0.0.1:1/")
        self.assertEqual(refused.returncode, 7)
        self.assertIn("127.0.0.1 port 1: Connection refused", refused.stderr.decode())

    # How it ends.

    def test_failures(self):
        # arguments, exit status, a piece of standard error, standard output
        cases = [
            (["-f", self.url("/status/404")], 22, b"tnx: (22) The requested URL returned error: 404", b""),
            (["-fs", self.url("/status/500")], 22, b"", b""),
            (["-fsS", self.url("/status/500")], 22, b"tnx: (22)", b""),
            (["--fail-with-body", self.url("/status/500")], 22, b"(22)", b"status body\n"),
            ([self.url("/status/500")], 0, b"", b"status body\n"),
            (["http://127.0.0.1:1/"], 7, b"tnx: (7) ", b""),
            (["http://name.invalid/"], 6, b"tnx: (6) ", b""),
            (["ftp://host/"], 1, b"tnx: (1) ", b""),
            (["http://:0/"], 3, b"tnx: (3) ", b""),
            ([self.url("/drop")], 52, b"tnx: (52) ", b""),
            ([self.url("/cut")], 18, b"tnx: (18) ", b"short"),
            (["-m", "0.3", self.url("/stall")], 28, b"tnx: (28) ", b""),
            (["-L", "-X", "PUT", "-T", "-", self.url("/status/200")], 0, b"", b"status body\n"),
            ([self.url("/drop"), self.url("/")], 52, b"tnx: (52) ", b"hello\n"),
            (["--fail-early", self.url("/drop"), self.url("/")], 52, b"tnx: (52) ", b""),
            (["--frob", self.url("/")], 2, b"tnx: option --frob: is unknown\ntnx: try", b""),
            (["-H", "Accept:", self.url("/")], 2, b"cannot be dropped", b""),
            (["-b", "cookies.txt", self.url("/")], 2, b"cookie files are not read", b""),
            (["-r", "x", self.url("/")], 2, b"option -r: expected a-b", b""),
            (["-T", "nowhere", self.url("/")], 26, b"tnx: (26) cannot open 'nowhere'", b""),
            (["-H", "Bad Name: x", self.url("/")], 43, b"tnx: (43) ", b""),
        ]
        for arguments, status, error, output in cases:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertEqual((result.returncode, result.stdout), (status, output), result.stderr)
                self.assertIn(error, result.stderr)
                if not error:
                    self.assertEqual(result.stderr, b"")

    def test_nothing_is_sent_when_a_later_url_cannot_be_fetched(self):
        self.assertEqual(self.run_tool("-T", "a", "-T", "b", self.url("/"), self.url("/")).returncode, 26)
        self.assertEqual(self.server.take(), [])

    def test_retries(self):
        result = self.run_tool("-s", "--retry", "2", "--retry-delay", "0", self.url("/flaky"))
        self.assertEqual((result.returncode, result.stdout), (0, b"at last\n"))
        self.assertEqual(len(self.server.take()), 2)
        result = self.run_tool("--retry", "2", "--retry-delay", "0", "-w", "%{num_retries}", self.url("/status/503/0"))
        self.assertEqual(result.stdout, b"status body\n2")
        self.assertIn(b"HTTP status 503; trying again in 0 s, 2 tries left", result.stderr)
        self.assertEqual(len(self.server.take()), 3)

    def test_help_and_version(self):
        everything = self.run_tool("-h", "all").stdout.decode()
        self.assertIn(" -X, --request <method>", everything)
        self.assertNotIn("--cacert", self.run_tool("-h").stdout.decode())
        self.assertIn("--cacert", self.run_tool("-h", "tls").stdout.decode())
        self.assertEqual(self.run_tool("-h", "nothing").returncode, 2)
        self.assertRegex(self.run_tool("-V").stdout, rb"tnx \d+\.\d+\.\d+\n.*libcurl/")


if __name__ == "__main__":
    unittest.main()
