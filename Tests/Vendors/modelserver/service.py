"""HTTP on the loopback address: finds the dialect by the end of a request's address, and writes whole answers and streams of events."""
import json
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from . import chat, messages, responses
from .answer import BREAK, PAUSE, Answer
from .asides import aside, forced_call
from .others import other
from .scenarios import Step, choose, meant, step_of
from .tools import call_for

DIALECTS = (responses, chat, messages)
LARGEST_BODY = 64 * 1024 * 1024
LOGGED = 20_000  # characters of a text in the log


class ModelService(ThreadingHTTPServer):
    """Serves until `shutdown`, or until more requests have come than were allowed. A thread for each connection, none of which outlives it."""
    daemon_threads = True
    request_queue_size = 64

    def __init__(self, port, log, most_requests, utilization, meanings=None):
        """meanings: texts of a person, to the words of a scenario that they stand for."""
        super().__init__(('127.0.0.1', port), Handler)
        self.log = log
        self.utilization = utilization
        self.meanings = meanings or {}
        self._left = most_requests
        self._lock = threading.Lock()

    @property
    def port(self):
        return self.server_address[1]

    @property
    def has_too_many_requests(self):
        return self._left < 0

    def take_request(self):
        """Whether one more request is served. The first that is not ends the service."""
        with self._lock:
            self._left -= 1
            if self._left == -1:
                threading.Thread(target=self.shutdown, daemon=True).start()
            return self._left >= 0

    def handle_error(self, request, client_address):
        """Of one connection: the others go on."""
        self.log.write(failed=repr(sys.exc_info()[1]))


class Handler(BaseHTTPRequestHandler):
    protocol_version = 'HTTP/1.1'
    timeout = 300  # of silence on a connection that is kept
    disable_nagle_algorithm = True
    _scenario = None  # of the request that is being answered

    def do_HEAD(self):
        self._handle(self._answer_other)

    def do_GET(self):
        self._handle(self._answer_other)

    def do_POST(self):
        self._handle(self._answer_post)

    do_PUT = do_DELETE = do_PATCH = do_POST

    def log_message(self, *_):
        """The log is the service's own."""

    def _handle(self, answer):
        if not self.server.take_request():
            self.close_connection = True
            return
        self._scenario = None
        try:
            answer()
        except OSError as error:
            self.close_connection = True
            self.server.log.write(aborted=self.path, of=self._scenario, because=str(error))

    @property
    def _address(self):
        return self.path.split('?')[0]

    def _answer_other(self):
        if self.headers.get('Upgrade'):
            self.server.log.write(upgrade=self.path)
            self.close_connection = True
            self._send(426, {})
            return
        self._log_request()
        if self.command == 'HEAD' and self._address == '/':
            self._send(200, None)
        else:
            self._send(*other(self._address, self.server.utilization))

    def _answer_post(self):
        try:
            raw = self._body()
        except ValueError as error:
            self.close_connection = True
            self._send(400, _refused(f'the body has no size: {error}'))
            return
        if raw is None:
            self.close_connection = True
            self._send(413, _refused('the body is too large'))
            return
        dialect = next((one for one in DIALECTS if self.command == 'POST' and self._address.endswith(one.ENDING)), None)
        if dialect is None:
            self._log_request(body=raw.decode('utf-8', 'replace')[:LOGGED])
            self._send(*other(self._address, self.server.utilization))
            return
        try:
            body = json.loads(raw)
        except ValueError:
            body = None
        if not isinstance(body, dict):
            self._log_request(body=raw.decode('utf-8', 'replace')[:LOGGED])
            self._send(400, _refused('the body is no JSON object'))
            return
        self._answer(dialect, body)

    def _answer(self, dialect, body):
        conversation, tools = [meant(said, self.server.meanings) for said in dialect.conversation(body)], dialect.tools(body)
        choice = choose(conversation, dialect.program(self._address))
        self._scenario = choice.name
        last = next((said.text for said in reversed(conversation) if said.role == 'user'), '')
        step = step_of(choice)
        forced = None if step.failure else forced_call(dialect.forced_tool(body), tools)
        if forced:
            step = Step(pause=0)
        elif not step.failure:
            step = aside(choice.name, last, tools, dialect.schema(body)) or step
        call = forced or (call_for(step.wants, choice.folder, tools) if step.wants else None)
        refusal = self._refusal(dialect, step.failure, choice) if step.failure else None
        self._log_request(program=dialect.program(self._address), model=body.get('model'), stream=bool(body.get('stream')),
                          tools=[tool.name for tool in tools], scenario=choice.name, step=choice.step,
                          results=[text[:LOGGED] for text in choice.results], asked=choice.asked[-LOGGED:], lastUser=last[-LOGGED:],
                          told=[said.text[:LOGGED] for said in conversation if said.role == 'tool'], call=call and call.name,
                          error=refusal and refusal.status)
        if refusal:
            self._send(refusal.status, refusal.body, refusal.headers)
            return
        missing = (f'No tool serves for {step.wants}.',) if step.wants and not call else ()
        answer = Answer(step.texts + missing, step.reasoning, call, step.breaks, step.pause)
        headers = dialect.headers(self.server.utilization)
        if body.get('stream'):
            self._stream(dialect.events(body, answer), answer.pause, headers)
        else:
            self._send(200, dialect.whole(body, answer), headers)

    def _refusal(self, dialect, failure, choice):
        return dialect.refusal(f'there is no scenario {choice.name}' if failure == 'unknown' else failure, self._address)

    def _log_request(self, **more):
        key = 'bearer' if self.headers.get('Authorization') else 'x-api-key' if self.headers.get('x-api-key') else 'none'
        self.server.log.write(method=self.command, url=self.path, auth=key, agent=self.headers.get('User-Agent'), **more)

    def _send(self, status, body, headers=None):
        data = b'' if body is None else json.dumps(body).encode()
        self.send_response(status)
        for name, value in {'Content-Type': 'application/json', 'Content-Length': str(len(data)), **(headers or {})}.items():
            self.send_header(name, value)
        self.end_headers()
        if self.command != 'HEAD':
            self.wfile.write(data)

    def _stream(self, events, pause, headers):
        self.send_response(200)
        for name, value in {'Content-Type': 'text/event-stream', 'Cache-Control': 'no-cache', 'Transfer-Encoding': 'chunked', **headers}.items():
            self.send_header(name, value)
        self.end_headers()
        for event in events:
            if event is BREAK:
                self.close_connection = True
                return
            if event is PAUSE:
                time.sleep(pause)
                continue
            name, data = event
            text = data if isinstance(data, str) else json.dumps(data)
            self._chunk(((f'event: {name}\n' if name else '') + f'data: {text}\n\n').encode())
        self._chunk(b'')

    def _chunk(self, data):
        self.wfile.write(b'%x\r\n%s\r\n' % (len(data), data))

    def _body(self):
        """What was sent, by its length or in chunks; None when it is more than any program sends. Raises ValueError for what is no size."""
        if 'chunked' in self.headers.get('Transfer-Encoding', '').lower():
            return self._chunked_body()
        length = _size(self.headers.get('Content-Length') or '0', 10)
        return self.rfile.read(length) if length <= LARGEST_BODY else None

    def _chunked_body(self):
        pieces, total = [], 0
        while True:
            size = _size(self.rfile.readline(100).split(b';')[0], 16)
            total += size
            if total > LARGEST_BODY:
                return None
            if size == 0:
                while self.rfile.readline(65536).strip():
                    pass
                return b''.join(pieces)
            pieces.append(self.rfile.read(size))
            self.rfile.readline(100)


def _size(text, base):
    size = int(text, base)
    if size < 0:
        raise ValueError(f'{size} is below zero')
    return size


def _refused(message):
    return {'error': {'message': message, 'type': 'invalid_request_error'}}
