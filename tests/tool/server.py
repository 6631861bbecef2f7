"""A server on loopback that records what it is sent and answers as its routes say."""

import socket
import threading
import zlib


OLD = "Sun, 06 Nov 1994 08:49:37 GMT"


def answer(status="200 OK", body=b"", *fields):
    """The bytes of an answer with a content-length."""
    lines = [f"HTTP/1.1 {status}", f"Content-Length: {len(body)}", *fields]
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


class Request:
    """What one client sent."""

    def __init__(self, head, body):
        self.line, *fields = head.decode("latin-1").split("\r\n")
        self.fields = sorted(fields, key=str.lower)
        self.body = body
        self.path = self.line.split(" ")[1]

    def field(self, name):
        for field in self.fields:
            key, _, value = field.partition(":")
            if key.lower() == name:
                return value.strip()
        return None


class Server:
    """Answers one request after another on each connection, until it is stopped."""

    def __init__(self, tls=None, path=None):
        self.tls = tls
        self.requests = []
        self.tries = {}
        self.lock = threading.Lock()
        if path:
            self.listener = socket.socket(socket.AF_UNIX)
            self.listener.bind(path)
            self.listener.listen()
        else:
            self.listener = socket.create_server(("127.0.0.1", 0))
            self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def take(self):
        """The requests since the last call."""
        with self.lock:
            taken, self.requests = self.requests, []
            self.tries = {}
            return taken

    def stop(self):
        self.listener.close()

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            connection.settimeout(20)
            if connection.family == socket.AF_INET:
                connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        try:
            if self.tls:
                connection = self.tls.wrap_socket(connection, server_side=True)
            elif connection.recv(1, socket.MSG_PEEK) == b"\x16":  # TLS meets clear text
                connection.sendall(answer("400 Bad Request", b"", "Connection: close"))
            with connection, connection.makefile("rb") as stream:
                self.converse(connection, stream)
        except (OSError, ValueError, IndexError):
            pass  # a client that went away, or spoke another language

    def converse(self, connection, stream):
        while request := read_request(stream):
            with self.lock:
                self.requests.append(request)
                tried = self.tries[request.path] = self.tries.get(request.path, 0) + 1
            reply = self.reply(request, tried)
            if reply is None:
                return
            connection.sendall(reply)
            if b"Connection: close" in reply:
                return

    def reply(self, request, tried):
        route = request.path.partition("?")[0].strip("/").split("/")
        name = route[0]
        if request.line.startswith("CONNECT "):  # nothing may follow that is recorded later
            return answer("502 Bad Gateway", b"", "Connection: close")
        if name == "echo":
            return answer("200 OK", request.body)
        if name == "json":
            return answer("200 OK", request.body, "Content-Type: application/x+json; charset=x")
        if name == "status":
            return answer(
                f"{route[1]} Reason", b"status body\n", *(["Retry-After: 0"] * (len(route) > 2))
            )
        if name == "flaky":
            return answer("200 OK", b"at last\n") if tried > 1 else answer("503 Busy", b"busy\n")
        if name == "to":
            return answer("302 Found", b"moved\n", "Location: /" + "/".join(route[1:]))
        if name == "again":
            return answer("307 Again", b"", "Location: /echo")
        if name == "wrong-range":
            return answer("206 Partial Content", b"23456789", "Content-Range: bytes 2-9/10")
        if name == "cookies":
            return answer(
                "200 OK",
                b"",
                "Set-Cookie: a=1; Path=/; Max-Age=60; HttpOnly; Fancy",
                'Set-Cookie: b="x y"; SameSite=Lax; Secure; Domain=127.0.0.1',
            )
        if name == "range":
            return ranged(request.field("range"), b"0123456789")
        if name == "big":
            return answer("200 OK", bytes(range(256)) * 4096 * 3)
        if name == "gzip":
            packer = zlib.compressobj(wbits=31)
            packed = packer.compress(b"unpacked\n") + packer.flush()
            return answer("200 OK", packed, "Content-Encoding: gzip")
        if name == "chunked":
            head = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
            return head + b"3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"
        if name == "cut":
            return b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\nConnection: close\r\n\r\nshort"
        if name == "unfinished":
            return f"HTTP/1.1 {route[1]} Reason\r\nContent-Length: 9\r\n\r\nbegun".encode()
        if name == "interim":
            hints = b"HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"
            return b"HTTP/1.1 102 Processing\r\n\r\n" + hints + answer("200 OK", b"hello\n")
        if name == "stall":
            threading.Event().wait(10)
            return None
        if name == "digest" and request.field("authorization") is None:
            return answer(
                "401 Unauthorized", b"", 'WWW-Authenticate: Digest realm="r", nonce="n", qop="auth"'
            )
        if name == "drop":
            return None
        if name == "named":
            named = "Content-Disposition: attachment; filename=../name"
            return answer("200 OK", b"hello\n", named, "Last-Modified: " + OLD)
        if name == "old" and request.field("if-modified-since") == OLD:
            return answer("304 Not Modified")
        return answer("200 OK", b"hello\n", "X-One: 1")


def ranged(field, content):
    if field is None:
        return answer("200 OK", content)
    start = int(field.removeprefix("bytes=").partition("-")[0])
    size = len(content)
    if start >= size:
        return answer("416 Range Not Satisfiable", b"no more\n", f"Content-Range: bytes */{size}")
    return answer(
        "206 Partial Content", content[start:], f"Content-Range: bytes {start}-{size - 1}/{size}"
    )


def read_request(stream):
    head = b""
    while not head.endswith(b"\r\n\r\n"):
        line = stream.readline()
        if not line:
            return None
        head += line
    request = Request(head[:-4], b"")
    if (length := request.field("content-length")) is not None:
        request.body = stream.read(int(length))
    elif (request.field("transfer-encoding") or "").lower() == "chunked":
        while size := int(stream.readline(), 16):
            request.body += stream.read(size)
            stream.readline()
        stream.readline()
    return request
