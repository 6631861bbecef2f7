"""How the tool carries requests: trust, client certificates, proxies, names, versions."""

import json
import os
import pathlib
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest

from server import Server
from tool_case import TIMEOUT, ToolCase

MAKE_CERTIFICATES = os.path.abspath(sys.argv.pop(1))


class RoadTest(ToolCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.certificates = pathlib.Path(folder.name)
        subprocess.run(["bash", MAKE_CERTIFICATES, cls.certificates], check=True, timeout=TIMEOUT)
        cls.servers = {
            name: cls.start(cls.tls(name))
            for name in ("good", "expired", "wrong-name", "self-signed")
        }
        asking = cls.tls("good")
        asking.verify_mode = ssl.CERT_REQUIRED
        asking.load_verify_locations(cls.certificates / "ca.pem")
        asking.maximum_version = ssl.TLSVersion.TLSv1_2  # refuses within the handshake
        cls.servers["asking"] = cls.start(asking)

    def setUp(self):
        super().setUp()
        self.folder = self.certificates

    def run_tool(self, *arguments, **options):
        return super().run_tool("-sS", *arguments, **options)

    @classmethod
    def tls(cls, name):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(cls.certificates / f"{name}.pem", cls.certificates / f"{name}.key")
        return context

    def check(self, cases):
        """Each case: arguments, exit status, a piece of standard error or the answer."""
        for arguments, status, piece in cases:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(piece, result.stdout if status == 0 else result.stderr)

    def test_versions_and_ciphers_of_tls(self):
        url = f"https://localhost:{self.servers['good'].port}/"
        chacha = "CHACHA20-POLY1305"
        tls12, tls13 = f"ECDHE-RSA-{chacha}:ECDHE-ECDSA-{chacha}", "TLS_AES_128_GCM_SHA256"
        for arguments, version, cipher in [
            (["--tls-max", "1.2"], "TLSv1.2", ""),
            (["--tlsv1.3", "--tls13-ciphers", tls13], "TLSv1.3", tls13),
            (["--tls-max", "1.2", "--ciphers", tls12], "TLSv1.2", chacha),
        ]:
            with self.subTest(arguments):
                told = self.run_tool("--cacert", "ca.pem", "--as-json", *arguments, url).stdout
                connection = json.loads(told)["connection"]
                self.assertEqual(connection["tlsVersion"], version)
                self.assertIn(cipher, connection["cipher"])
        older = f"https://localhost:{self.servers['asking'].port}/"
        self.check([(["--cacert", "ca.pem", "--tlsv1.3", older], 35, b"tnx: (35) ")])

    def test_other_ways_to_the_server(self):
        server = Server(path=str(self.folder / "socket"))
        self.addCleanup(server.stop)
        self.check(
            [
                (["--unix-socket", "socket", "http://far.invalid/"], 0, b"hello\n"),
                (
                    ["--connect-to", f"far.invalid:80:127.0.0.1:{self.server.port}"]
                    + ["http://far.invalid/"],
                    0,
                    b"hello\n",
                ),
            ]
        )
        self.assertEqual(server.take()[0].field("host"), "far.invalid")

    def test_trust(self):
        url = {name: f"https://localhost:{server.port}/" for name, server in self.servers.items()}
        pin = (self.folder / "good.pin").read_text().strip()
        other = (self.folder / "self-signed.pin").read_text().strip()
        ca = ["--cacert", "ca.pem"]
        far = "http://far.invalid/"
        self.check(
            [
                ([url["good"]], 60, b"tnx: (60) "),
                ([*ca, url["good"]], 0, b"hello\n"),
                (["--capath", "ca-dir", url["good"]], 0, b"hello\n"),
                (["-k", url["self-signed"]], 0, b"hello\n"),
                ([*ca, url["expired"]], 60, b"expired"),
                ([*ca, url["wrong-name"]], 60, b"localhost"),
                ([*ca, url["self-signed"]], 60, b"self-signed"),
                (["--cacert", "self-signed.pem", url["self-signed"]], 0, b"hello\n"),
                ([*ca, "--pinnedpubkey", pin, url["good"]], 0, b"hello\n"),
                ([*ca, "--pinnedpubkey", f"{other};{pin}", url["good"]], 0, b"hello\n"),
                ([*ca, "--pinnedpubkey", other, url["good"]], 90, b"tnx: (90) "),
                (["--cacert", "nowhere.pem", url["good"]], 77, b"tnx: (77) "),
                (["-x", url["good"], "--proxy-cacert", "ca.pem", far], 0, b"hello\n"),
                (["-x", url["good"], "--proxy-cacert", "self-signed.pem", far], 60, b"issuer"),
                (["-x", url["good"], "--proxy-insecure", far], 0, b"hello\n"),
            ]
        )

    def test_client_certificates(self):
        url = f"https://localhost:{self.servers['asking'].port}/"
        ca = ["--cacert", "ca.pem"]
        self.check(
            [
                ([*ca, "-E", "client.pem", "--key", "client.key", url], 0, b"hello\n"),
                (
                    [*ca, "-E", "client.pem:secret", "--key", "client-locked.key", url],
                    0,
                    b"hello\n",
                ),
                (
                    [
                        *ca,
                        "-E",
                        "client.pem",
                        "--key",
                        "client-locked.key",
                        "--pass",
                        "secret",
                        url,
                    ],
                    0,
                    b"hello\n",
                ),
                ([*ca, "-E", "client.p12:secret", "--cert-type", "P12", url], 0, b"hello\n"),
                (
                    [*ca, "-E", "client.der", "--key", "client-key.der", "--cert-type", "der", url],
                    0,
                    b"hello\n",
                ),
                (
                    [*ca, "-E", "client.pem:wrong", "--key", "client-locked.key", url],
                    58,
                    b"tnx: (58) ",
                ),
                (["--key", "client.key", url], 2, b"need a client certificate"),
            ]
        )
        refused = self.run_tool(*ca, url)
        self.assertIn(refused.returncode, (35, 56), refused.stderr)

    def test_explanation_of_a_refused_chain(self):
        port = self.servers["expired"].port
        result = self.run_tool("--explain", "--cacert", "ca.pem", f"https://localhost:{port}/")
        text = result.stderr.decode()
        for piece in [
            f"127.0.0.1 port {port}: connected",
            "0 CN = expired",
            "issued by CN = Tests CA",
            "refused here: certificate has expired",
        ]:
            self.assertIn(piece, text)
        self.assertRegex(text, r"code 1007900060 in (connect\+)?TLS")
        good, wrong = self.servers["good"].port, self.servers["wrong-name"].port
        names = "localhost, tnx.test, *.tnx.test, 127.0.0.1, ::1"
        for host, port, pieces in [
            ("other.test", good, ["refused here: hostname mismatch", f"it is for {names}\n"]),
            ("127.0.0.1", wrong, ["IP address mismatch", "it is for elsewhere.test\n"]),
            ("127.0.0.1", self.server.port, ["this port speaks plain HTTP", "code 1007900035"]),
        ]:
            with self.subTest((host, port)):
                text = self.run_tool(
                    "--explain",
                    "--cacert",
                    "ca.pem",
                    "--resolve",
                    f"other.test:{port}:127.0.0.1",
                    f"https://{host}:{port}/",
                ).stderr.decode()
                for piece in pieces:
                    self.assertIn(piece, text)
        pin = (self.folder / "good.pin").read_text().strip()
        port = good
        for host in ("localhost", "tnx.test"):
            shown = self.run_tool(
                "--explain",
                "--cacert",
                "ca.pem",
                "--resolve",
                f"tnx.test:{port}:127.0.0.1",
                f"https://{host}:{port}/",
            ).stderr.decode()
            self.assertIn(f"--pinnedpubkey '{pin}'", shown)

    def test_proxies(self):
        port = self.server.port
        proxy = f"127.0.0.1:{port}"
        # arguments, request line at the proxy, a field
        cases = [
            (["-x", proxy], "GET http://far.invalid/ HTTP/1.1", "Host: far.invalid"),
            (
                ["-x", f"http://me:a%3Ab@{proxy}"],
                "GET http://far.invalid/ HTTP/1.1",
                "Proxy-Authorization: Basic bWU6YTpi",
            ),
            (
                ["-x", proxy, "-U", "me:word"],
                "GET http://far.invalid/ HTTP/1.1",
                "Proxy-Authorization: Basic bWU6d29yZA==",
            ),
            (["-px", proxy], "CONNECT far.invalid:80 HTTP/1.1", "Host: far.invalid:80"),
            (
                ["-x", proxy, "--noproxy", "near.invalid, else"],
                "GET http://far.invalid/ HTTP/1.1",
                "Host: far.invalid",
            ),
        ]
        for arguments, line, field in cases:
            with self.subTest(arguments):
                self.run_tool(*arguments, "http://far.invalid/")
                request = self.server.take()[0]
                self.assertEqual(request.line, line)
                self.assertIn(field, request.fields)
        everywhere = {"http_proxy": f"http://{proxy}", "no_proxy": "other"}
        self.run_tool("http://far.invalid/", environment=everywhere)
        self.assertEqual(len(self.server.take()), 1)
        for arguments in (["--noproxy", "far.invalid"], ["--noproxy", "*"], ["-x", ""]):
            with self.subTest(arguments):
                result = self.run_tool(*arguments, "http://far.invalid/", environment=everywhere)
                self.assertEqual((result.returncode, self.server.take()), (6, []))
        self.assertEqual(self.run_tool("-p", "http://far.invalid/").returncode, 2)

    def test_a_failed_proxy_is_named_with_its_reason(self):
        nobody = "http://127.0.0.1:1"
        ways = [
            ({"http_proxy": nobody}, [], b"the environment variable http_proxy"),
            ({"ALL_PROXY": nobody}, [], b"the environment variable ALL_PROXY"),
            ({}, ["-x", nobody], b"the configuration"),
        ]
        for environment, arguments, reason in ways:
            with self.subTest(reason):
                result = self.run_tool(
                    "-v", "--explain", *arguments, "http://far.invalid/", environment=environment
                )
                self.assertEqual(result.returncode, 7)
                named = nobody.encode() + b", which " + reason + b" names"
                self.assertIn(b"* Uses the proxy " + named, result.stderr)
                self.assertRegex(
                    result.stderr, rb"tnx: \(7\) The proxy cannot be reached: .*, which " + reason
                )
                reason = b"-x" if arguments else reason
                self.assertRegex(result.stderr, rb"  proxy +http://127.0.0.1:1, named by " + reason)
                self.assertIn(b"the proxy 127.0.0.1 port 1: Connection refused", result.stderr)
        environment = {"http_proxy": "proxy.invalid:80"}
        result = self.run_tool("--explain", "http://far.invalid/", environment=environment)
        self.assertIn(b"lookup    proxy.invalid has no address", result.stderr)

    def test_names(self):
        port = self.server.port
        silent = socket.socket(type=socket.SOCK_DGRAM)
        self.addCleanup(silent.close)
        silent.bind(("127.0.0.1", 0))
        self.check(
            [
                (
                    ["--resolve", f"far.invalid:{port}:127.0.0.1", f"http://far.invalid:{port}/"],
                    0,
                    b"hello\n",
                ),
                (
                    [
                        "--resolve",
                        f"FAR.invalid:{port}:[::1],127.0.0.1",
                        f"http://far.invalid:{port}/",
                    ],
                    0,
                    b"hello\n",
                ),
                (
                    ["--resolve", f"other:{port}:127.0.0.1", f"http://far.invalid:{port}/"],
                    6,
                    b"far.invalid",
                ),
                (
                    ["--resolve", "far.invalid:80", f"http://far.invalid:{port}/"],
                    2,
                    b"option --resolve: expected host:port",
                ),
                (
                    [
                        "--dns-servers",
                        f"127.0.0.1:{silent.getsockname()[1]}",
                        "--connect-timeout",
                        "1",
                        f"http://far.invalid:{port}/",
                    ],
                    28,
                    b"tnx: (28)",
                ),
                (["--dns-servers", "name", self.url("/")], 2, b"'name' is no address"),
                (["--resolve", "a:1:b", self.url("/")], 2, b"'b' is no address"),
                (
                    ["--resolve", "a:1:127.0.0.1", "--dns-servers", "::1", "http://a/"],
                    2,
                    b"cannot be used together",
                ),
            ]
        )

    def test_versions(self):
        url = self.url("/")
        for argument, version in [("-0", "HTTP/1.0"), ("--http1.1", "HTTP/1.1")]:
            self.assertEqual(self.run_tool(argument, url).stdout, b"hello\n")
            self.assertEqual(self.server.take()[0].line, f"GET / {version}")
        self.assertEqual(self.run_tool("--http2", url).stdout, b"hello\n")
        self.assertEqual(self.server.take()[0].field("upgrade"), "h2c")
        self.assertNotEqual(self.run_tool("--http2-prior-knowledge", url).returncode, 0)

    def test_digest(self):
        url = self.url("/digest")
        result = self.run_tool("--digest", "-u", "me:word", url)
        self.assertEqual(result.stdout, b"hello\n")
        first, second = self.server.take()
        self.assertIsNone(first.field("authorization"))
        self.assertRegex(second.field("authorization"), 'Digest username="me", ?realm="r"')


if __name__ == "__main__":
    unittest.main()
