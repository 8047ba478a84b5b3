"""A server that speaks enough of the client's protocol to ask for its password in a way of its own."""
import socket
import ssl
import struct
import threading

LONG_PASSWORD, CONNECT_WITH_DB, PROTOCOL_41, TLS, SECURE, PLUGIN_AUTH = 1, 8, 0x200, 0x800, 0x8000, 0x80000
SCRAMBLE = b"abcdefgh" + b"ijklmnopqrst" + b"\0"
OK = b"\0\0\0\2\0\0\0"
CLIENT_ENDED, FULL_AUTHENTICATION = (ConnectionError, OSError, struct.error), b"\1\4"


class RogueServer:
    """Asks each client for `method`, at once or (`switches`) after another; keeps what the client sends of its own.
    Without a method it lets everybody in and finds every statement good."""

    def __init__(self, method="", switches=True, certificate=None, host="127.0.0.1"):
        self.method, self.switches, self.certificate = method, switches, certificate
        self.heard = b""
        self.listener = socket.create_server((host, 0))
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()

    def serve(self):
        try:
            while True:
                client, _ = self.listener.accept()
                with client:
                    client.settimeout(5)
                    self.talk(client)
        except OSError:
            return  # the listener is closed

    def talk(self, client):
        try:
            self.sequence = 0
            first = "mysql_native_password" if self.switches or not self.method else self.method
            client = self.greet(client, first)
            if self.method and self.switches:
                self.send(client, b"\xfe" + self.method.encode() + b"\0" + SCRAMBLE)
                self.hear(client)
            if self.method in ("caching_sha2_password", "sha256_password"):
                self.send(client, FULL_AUTHENTICATION)
                self.hear(client)
            while True:
                self.send(client, OK)
                self.hear(client)
                self.sequence = 1
        except CLIENT_ENDED:
            pass

    def greet(self, client, method):
        flags = LONG_PASSWORD | CONNECT_WITH_DB | PROTOCOL_41 | SECURE | PLUGIN_AUTH | (TLS if self.certificate else 0)
        self.send(client, b"\x0a10.11.0-MariaDB\0" + struct.pack("<I", 1) + SCRAMBLE[:8] + b"\0" +
                  struct.pack("<HBHH", flags & 0xFFFF, 8, 2, flags >> 16) + bytes([21]) + bytes(10) + SCRAMBLE[8:] +
                  method.encode() + b"\0")
        if self.certificate:
            self.receive(client)
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(*self.certificate)
            client = context.wrap_socket(client, server_side=True)
        self.hear(client)
        return client

    def send(self, client, payload):
        client.sendall(struct.pack("<I", len(payload))[:3] + bytes([self.sequence]) + payload)
        self.sequence += 1

    def receive(self, client):
        head = client.recv(4, socket.MSG_WAITALL) if not isinstance(client, ssl.SSLSocket) else client.recv(4)
        length, self.sequence = struct.unpack("<I", head[:3] + b"\0")[0], head[3] + 1
        payload = b""
        while len(payload) < length:
            part = client.recv(length - len(payload))
            if not part:
                raise ConnectionError
            payload += part
        return payload

    def hear(self, client):
        self.heard += self.receive(client)
