"""shop.py PORT: serves shop.html on the loopback address and prints what the page tells."""
import http.server
import pathlib
import sys

PAGE = (pathlib.Path(__file__).parent / "shop.html").read_bytes()


class Shop(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200 if self.path == "/" else 404)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        if self.path == "/":
            self.wfile.write(PAGE)

    def do_POST(self):
        print(self.rfile.read(int(self.headers["Content-Length"])).decode(), flush=True)
        self.send_response(200)
        self.end_headers()

    def log_message(self, *_):
        pass


http.server.ThreadingHTTPServer(("127.0.0.1", int(sys.argv[1])), Shop).serve_forever()
