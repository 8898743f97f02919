# SPDX-License-Identifier: MIT
"""A server on Python's own HTTP library that counts which calls it carried out.

server.py PORTS PROTOCOL SECONDS: listens on so many free ports of 127.0.0.1, speaks HTTP/1.0 or HTTP/1.1, and ends a
connection that was silent for so long after a reply.
"""
import http.server
import json
import socketserver
import sys
import threading
import urllib.parse

executed = {}
lock = threading.Lock()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = sys.argv[2]

    def answer(self):
        length = int(self.headers.get("Content-Length", 0))
        body = self.rfile.read(length)
        if len(body) < length:
            self.close_connection = True
            return
        address = urllib.parse.urlsplit(self.path)
        call = urllib.parse.parse_qs(address.query).get("call", [""])[0]
        if self.command != "GET":
            # Counted under what the body says: one that came without it is another call.
            name = json.loads(body or b"{}").get("customName", "")
            counted = name if name == call else "mangled"
            with lock:
                executed[counted] = executed.get(counted, 0) + 1
        with lock:
            data = dict(executed) if address.path == "/executed" else {"call": call}
        reply = json.dumps({"code": 0, "data": data}).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(reply)))
        self.end_headers()
        self.wfile.write(reply)
        self.connection.settimeout(float(sys.argv[3]))

    do_GET = do_PUT = do_POST = answer

    def log_message(self, *words):
        pass


class Server(http.server.ThreadingHTTPServer):
    request_queue_size = 64
    server_bind = socketserver.TCPServer.server_bind  # looks up no name


servers = [Server(("127.0.0.1", 0), Handler) for _ in range(int(sys.argv[1]))]
for server in servers:
    threading.Thread(target=server.serve_forever, daemon=True).start()
print("ready", *[server.server_address[1] for server in servers], flush=True)
threading.Event().wait()
