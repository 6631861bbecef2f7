"""What the tool sends, byte for byte."""

import os
import re
import shutil
import unittest

from server import OLD
from tool_case import ToolCase


CURL = shutil.which("curl")


def comparable(request):
    """The fields as both tools must send them, without what is each one's own."""
    fields = {}
    for field in request.fields:
        name, _, value = field.partition(":")
        # The library names the type of each body, and does not wait to be told to go on.
        own = name.lower() == "expect" or value.strip() == "application/octet-stream"
        if not own and not value.strip().startswith(("curl/", "tnx/")):
            fields[name.lower()] = sorted(piece.strip() for piece in value.split(";"))
    return fields


class SentTest(ToolCase):
    def test_requests(self):
        self.write("data", b"a b\r\nc\n")
        self.write("fields", b"X-A: 1\nX-B: 2\n")
        cookie = "127.0.0.1\tFALSE\t/\tFALSE\t%d\t%s\n"
        jar = "# Netscape HTTP Cookie File\n" + cookie % (1 << 32, "p\t1") + cookie % (0, "s\t2")
        self.write("jar", jar.encode())
        self.write(".netrc", b"machine 127.0.0.1 login me password a:b")
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
            (["-A", ""], "GET /echo", [], b""),
            (["-H", "Accept:", "-H", "X:"], "GET /echo", [], b""),
            (["-z", "Sun, 06 Nov 1994 08:49:37 GMT"], "GET /echo", ["If-Modified-Since: " + OLD], b""),
            (["-z", "-6 Nov 1994 08:49:37"], "GET /echo", ["If-Unmodified-Since: " + OLD], b""),
            (["-n"], "GET /echo", ["Authorization: Basic bWU6YTpi"], b""),
            (["--netrc-optional"], "GET /echo", ["Authorization: Basic bWU6YTpi"], b""),
            (["--netrc-file", "fields"], "GET /echo", [], b""),
            (["-e", "there"], "GET /echo", ["Referer: there"], b""),
            (["-b", "b=2; a=1", "-b", "c="], "GET /echo", ["Cookie: a=1; b=2; c="], b""),
            (["-b", "jar"], "GET /echo", ["Cookie: p=1; s=2"], b""),
            (["-j", "-b", "jar", "-b", "a=b"], "GET /echo", ["Cookie: a=b; p=1"], b""),
            (["-4", "--interface", "127.0.0.1"], "GET /echo", [], b""),
            (["--connect-to", "::127.0.0.1:"], "GET /echo", [], b""),
            (["--limit-rate", "10M", "--max-filesize", "1K"], "GET /echo", [], b""),
            (["--request-target", "/a/../b?c"], "GET /a/../b?c", [], b""),
            (["--path-as-is"], "GET /echo", [], b""),
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
                if CURL:
                    self.run_tool("-s", *arguments, self.url("/echo"), stdin=b"stdin", tool=CURL)
                    (curls,) = self.server.take()
                    self.assertEqual(request.line, curls.line)
                    self.assertEqual(request.body, curls.body)
                    self.assertEqual(comparable(request), comparable(curls))
                names = [field.partition(":")[0].lower() for field in request.fields]
                self.assertEqual(len(names), len(set(names)), request.fields)
                if line.startswith("GET"):
                    self.assertNotIn("content-type", names)

    def test_a_path_as_it_is(self):
        for path, target in [("/a/./../echo?x#y", "/a/./../echo?x"), ("?x", "/?x"), ("", "/")]:
            for tool in [None, CURL] if CURL else [None]:
                more = {"tool": tool} if tool else {}
                self.run_tool("-s", "--path-as-is", self.url(path), **more)
                self.assertEqual(self.server.take()[0].line, f"GET {target} HTTP/1.1")

    def test_requests_without_what_is_usual(self):
        gone = ["Host", "Accept", "User-Agent", "Content-Type"]
        result = self.run_tool(
            "-s", "-d", "x", *(part for n in gone for part in ("-H", n + ":")), self.url("/echo")
        )
        self.assertEqual(result.stdout, b"x", result.stderr)
        self.assertEqual(self.server.take()[0].fields, ["Content-Length: 1"])

    def test_compression_is_asked_for_only_on_request(self):
        packed = self.run_tool("-s", self.url("/gzip"))
        plain = self.run_tool("-s", "--compressed", self.url("/gzip"))
        requests = self.server.take()
        self.assertIsNone(requests[0].field("accept-encoding"))
        self.assertIn("gzip", requests[1].field("accept-encoding"))
        self.assertTrue(packed.stdout.startswith(b"\x1f\x8b"))
        self.assertEqual(plain.stdout, b"unpacked\n")

    def test_forms(self):
        self.write("f.txt", b"file\n")
        long_name = "n" * 130  # longer than a path of the interface
        self.write(long_name, b"long")
        result = self.run_tool(
            "-s",
            "-F",
            "t=text",
            "-F",
            "f=@f.txt",
            "-F",
            "g=@f.txt;type=a/b;filename=x y",
            "-F",
            "r=<f.txt",
            "-F",
            "typed=v;type=a/c",
            "-F",
            f"l=@{long_name};filename=l",
            "--form-string",
            "s=@;type=x",
            self.url("/echo"),
        )
        self.assertEqual(result.returncode, 0, result.stderr)
        (request,) = self.server.take()
        boundary = re.fullmatch("multipart/form-data; boundary=(.+)", request.field("content-type"))
        first, *parts, last = request.body.split(b"--" + boundary[1].encode())
        self.assertEqual((first, last), (b"", b"--\r\n"))
        found = {}
        for part in parts:
            head, _, content = (
                part.removeprefix(b"\r\n").removesuffix(b"\r\n").partition(b"\r\n\r\n")
            )
            name = re.search(rb'name="([^"]*)"', head)[1]
            found[name] = (sorted(head.split(b"\r\n")), content)
        disposition = b"Content-Disposition: form-data; name="
        octets = b"Content-Type: application/octet-stream"
        self.assertEqual(
            found,
            {
                b"t": ([disposition + b'"t"'], b"text"),
                b"f": (
                    [disposition + b'"f"; filename="f.txt"', b"Content-Type: text/plain"],
                    b"file\n",
                ),
                b"g": ([disposition + b'"g"; filename="x y"', b"Content-Type: a/b"], b"file\n"),
                b"r": ([disposition + b'"r"'], b"file\n"),
                b"typed": ([disposition + b'"typed"', b"Content-Type: a/c"], b"v"),
                b"l": ([disposition + b'"l"; filename="l"', octets], b"long"),
                b"s": ([disposition + b'"s"'], b"@;type=x"),
            },
        )

    def test_upload_of_a_big_file_streams(self):
        content = os.urandom(3 << 20)
        self.write("big", content)
        result = self.run_tool("-s", "-T", "big", "-o", "back", self.url("/echo"))
        self.assertEqual(result.returncode, 0, result.stderr)
        (request,) = self.server.take()
        self.assertEqual(request.field("content-length"), str(len(content)))
        self.assertEqual(request.body, content)
        self.assertEqual(self.read("back"), content)

    def test_redirects_get_small_files_again(self):
        self.write("small", b"again")
        self.write("big", b"x" * (2 << 20))
        result = self.run_tool("-sL", "-T", "small", self.url("/again"))
        self.assertEqual((result.returncode, result.stdout), (0, b"again"))
        self.assertEqual([request.body for request in self.server.take()], [b"again"] * 2)
        result = self.run_tool("-L", "-T", "big", self.url("/again"))
        self.assertEqual(result.returncode, 65, result.stderr)
        self.assertEqual(len(self.server.take()), 1)


if __name__ == "__main__":
    unittest.main()
