#!/usr/bin/python3
"""An HTTPS server on the loopback with an authority of its own, for the tests of downloads: https_server.py FOLDER
It also serves the files in FOLDER under /files/.

Prints one line of JSON once it listens: where the authority's certificate is, and the ports of four HTTPS servers ("good", and those
that no client may trust: "stranger" with a certificate of another authority, "expired", "otherHost") and of one plain HTTP server.
Ends when its input ends."""
import gzip
import http.server
import json
import os
import ssl
import subprocess
import sys
import threading
import time

BODY = b'the bytes of a file\n' * 1000
STEP = 60 * 1024  # bytes
plain_requests = []
requests = []  # the paths of all, in the order in which they came


class Paths(http.server.BaseHTTPRequestHandler):
    protocol_version = 'HTTP/1.1'
    ports = {}
    folder = ''
    sent = 0
    steps = threading.Semaphore(0)
    may_serve = threading.Event()  # while it is not set, whoever asks for a file waits
    may_serve.set()

    def log_message(self, *arguments):
        pass

    def head(self, status, **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name.replace('_', '-'), str(value))
        self.end_headers()

    def whole(self, body, status=200, **headers):
        self.head(status, Content_Length=len(body), **headers)
        self.wfile.write(body)

    def leads_to(self, address):
        self.head(302, Location=address, Content_Length=0)

    def endless(self):
        self.head(200, Connection='close')
        while True:
            self.wfile.write(b'x' * 65536)
            Paths.sent += 65536

    def endless_head(self):
        self.wfile.write(b'HTTP/1.1 200 OK\r\n')
        while True:
            self.wfile.write(b'X-More: and more\r\n')
            time.sleep(0.01)  # the pace, so that it takes no memory to speak of

    def endless_failure(self):
        self.head(503, Connection='close')
        while True:
            self.wfile.write(b'sorry')
            time.sleep(0.01)

    # Three pieces: the first at once, each other one for a request of /step.
    def stepwise(self):
        steps = Paths.steps = threading.Semaphore(0)
        self.head(200, Content_Length=3 * STEP)
        self.wfile.write(b'.' * STEP)
        for _ in range(2):
            steps.acquire()
            self.wfile.write(b'.' * STEP)

    def step(self):
        Paths.steps.release()
        self.whole(b'')

    def file(self):
        place = os.path.join(self.folder, os.path.basename(self.path))
        if self.path.startswith('/files/') and os.path.isfile(place):
            self.may_serve.wait()
            with open(place, 'rb') as file:
                self.whole(file.read())
        else:
            self.whole(b'nothing here', 404)

    def answers(self):
        good = f'https://127.0.0.1:{self.ports["good"]}'
        plain = f'http://127.0.0.1:{self.ports["plain"]}'
        return {
            '/file': lambda: self.whole(BODY),
            '/without-length': lambda: (self.head(200, Connection='close'), self.wfile.write(BODY)),
            '/empty': lambda: self.whole(b''),
            '/packed': lambda: self.whole(gzip.compress(b'0' * 10_000_000), Content_Encoding='gzip'),
            '/to-file': lambda: self.leads_to(good + '/file'),
            '/to-plain': lambda: self.leads_to(plain + '/file'),
            '/to-plain-in-two-steps': lambda: self.leads_to(good + '/to-plain'),
            '/to-itself': lambda: self.leads_to(good + '/to-itself'),
            '/to-stranger': lambda: self.leads_to(f'https://127.0.0.1:{self.ports["stranger"]}/file'),
            '/truncated': lambda: (self.head(200, Content_Length=len(BODY) * 2), self.wfile.write(BODY)),
            '/huge': lambda: self.head(200, Content_Length=10**15),
            '/endless': self.endless,
            '/no-content': lambda: self.head(204),
            '/partial': lambda: self.whole(BODY[:10], 206),
            '/error': lambda: self.whole(b'sorry' * 100_000, 503),
            '/password': lambda: self.whole(b'', 401, WWW_Authenticate='Basic realm="releases"'),
            '/cookie': lambda: self.whole(b'', Set_Cookie='a=b'),
            '/cookie-of-mine': lambda: self.whole((self.headers.get('Cookie') or 'none').encode()),
            '/plain-requests': lambda: self.whole(str(len(plain_requests)).encode()),
            '/endless-head': self.endless_head,
            '/endless-failure': self.endless_failure,
            '/stepwise': self.stepwise,
            '/step': self.step,
            '/sent': lambda: self.whole(str(self.sent).encode()),  # of /endless, so far
            '/protocol': lambda: self.whole((self.connection.selected_alpn_protocol() or 'none').encode()),
            '/silent': self.rfile.read,  # never answers
            # Begins and never goes on: only the client ends it.
            '/slow': lambda: (self.head(200, Content_Length=len(BODY)), self.wfile.write(BODY[:10]), self.rfile.read()),
        }

    def do_GET(self):
        self.close_connection = True
        requests.append(self.path)
        if not isinstance(self.connection, ssl.SSLSocket):
            plain_requests.append(self.path)
        try:
            self.answers().get(self.path, self.file)()
        except OSError:
            pass  # the client has gone, as it should after a refusal


class Authority:
    def __init__(self, folder, name):
        self.place = os.path.join(folder, name)
        self.run('ecparam', '-name', 'prime256v1', '-genkey', '-noout', '-out', self.place + '.key')
        self.run('req', '-x509', '-new', '-key', self.place + '.key', '-subj', '/CN=' + name, '-days', '2', '-out', self.place + '.pem')

    @staticmethod
    def run(*arguments, **options):
        subprocess.run(['openssl', *arguments], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    def certify(self, name, host, days=1):
        own = self.place + '-' + name
        self.run('ecparam', '-name', 'prime256v1', '-genkey', '-noout', '-out', own + '.key')
        self.run('req', '-new', '-key', own + '.key', '-subj', '/CN=server', '-out', own + '.csr')
        with open(own + '.ext', 'w') as file:
            file.write('subjectAltName=' + host)
        self.run('x509', '-req', '-in', own + '.csr', '-CA', self.place + '.pem', '-CAkey', self.place + '.key', '-CAcreateserial',
                 '-days', str(days), '-extfile', own + '.ext', '-out', own + '.pem')
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(own + '.pem', own + '.key')
        context.set_alpn_protocols(['h2', 'http/1.1'])  # it does not speak the first: a client that asks for that gets nothing
        return context


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, client_address):
        pass  # a client that does not trust us says so and goes


def serve(name, context=None):
    server = Server(('127.0.0.1', 0), Paths)
    if context:
        # The handshake belongs to the thread of the connection, so that one that stalls holds up no other.
        server.socket = context.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
    Paths.ports[name] = server.server_address[1]
    threading.Thread(target=server.serve_forever, daemon=True).start()


def main(folder):
    Paths.folder = folder
    authority = Authority(folder, 'authority')
    serve('good', authority.certify('good', 'IP:127.0.0.1'))
    serve('expired', authority.certify('expired', 'IP:127.0.0.1', days=-1))
    serve('otherHost', authority.certify('other', 'DNS:updates.tessarin.example'))
    serve('stranger', Authority(folder, 'stranger').certify('stranger', 'IP:127.0.0.1'))
    serve('plain')
    print(json.dumps({'authority': authority.place + '.pem', **Paths.ports}), flush=True)
    sys.stdin.read()


if __name__ == '__main__':
    main(sys.argv[1])
