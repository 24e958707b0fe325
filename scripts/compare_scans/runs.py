"""How is a scan run so that it does the same each time?  Pipes that stall, named pipes, a terminal, a camera, signals.

A run is a row of steps in one folder. Each leaves what it said beside the files that it wrote:
    RUN/files/             the folder in which the program runs
    RUN/said/1.stdout      of the first step; 1.stderr and 1.code likewise
"""
import dataclasses
import errno
import fcntl
import http.server
import os
import pathlib
import pty
import signal
import struct
import subprocess
import termios
import threading
import time
import typing

LONGEST = 300  # seconds of one step
SETTLED = 1.0  # seconds without a new result: all that was sent has been scanned
TICK = 0.02


@dataclasses.dataclass
class Step:
    words: list
    feed: typing.Optional[bytes] = None  # into the standard input, through a pipe
    stalls: bool = False  # the pipe stays open behind what was fed
    fifo: str = ""  # feed goes into a named pipe of this name instead
    until: typing.Optional[typing.Callable] = None  # (files) true: time to interrupt; SETTLED decides if there is none
    interrupt: int = 0  # signal
    terminal: bool = False  # where standard error goes
    full: bool = False  # standard output is a device without space
    environment: dict = dataclasses.field(default_factory=dict)
    prepare: typing.Optional[typing.Callable] = None  # (files) called before
    one_core: bool = False  # so that FFmpeg decodes in one thread
    by_old: bool = False  # the old program does this step, whichever is compared
    camera: typing.Optional["Camera"] = None  # begins afresh


class Camera(http.server.BaseHTTPRequestHandler):
    """Sends a film as a camera does: without a length, as fast as it is recorded, and then nothing more.

    /cut/... ends the first connection in the middle; /gone/... also refuses all others.
    """
    film, seconds = b"", 1
    served, lock = {}, threading.Lock()
    address = ""

    @classmethod
    def start(cls, film, seconds):
        cls.film, cls.seconds = film, seconds
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), cls)
        server.daemon_threads = True
        threading.Thread(target=server.serve_forever, daemon=True).start()
        cls.address = f"http://127.0.0.1:{server.server_port}"

    @classmethod
    def reset(cls, words):
        with cls.lock:
            for word in words:
                cls.served.pop(word.removeprefix(cls.address), None)

    def do_GET(self):
        with Camera.lock:
            number = Camera.served[self.path] = Camera.served.get(self.path, 0) + 1
        if self.path.startswith("/gone") and number > 1:
            self.send_error(404)
            return
        self.send_response(200)
        self.send_header("Content-Type", "application/octet-stream")
        self.end_headers()
        breaks = number == 1 and self.path.startswith(("/cut", "/gone"))
        self.pace(len(Camera.film) * 6 // 10 if breaks else len(Camera.film), not breaks)

    def pace(self, size, stays):
        begin, sent = time.monotonic(), 0
        try:
            while sent < size:
                due = min(size, int(len(Camera.film) * (time.monotonic() - begin) / Camera.seconds))
                self.wfile.write(Camera.film[sent:due])
                sent = max(sent, due)
                time.sleep(TICK)
            if stays:
                self.connection.recv(1)  # until the scan leaves
        except OSError:
            pass

    def log_message(self, *_):
        pass


class Run:
    """One program, one folder, a row of steps."""

    def __init__(self, program, old, folder):
        self.program, self.old = program, old
        self.files, self.said = folder / "files", folder / "said"
        self.files.mkdir(parents=True)
        self.said.mkdir()
        self.processes = 0

    def take(self, steps):
        for step in steps:
            self.processes += 1
            self.step(step, self.said / str(self.processes))

    def step(self, step, said):
        if step.prepare:
            step.prepare(self.files)
        if step.camera:
            step.camera.reset(step.words)
        if step.fifo:
            os.mkfifo(self.files / step.fifo)
        # No configuration of whoever compares, no language, no time zone.
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.files), "LC_ALL": "C.UTF-8", "TZ": "UTC"}
        for name in ("LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS"):
            if name in os.environ:
                environment[name] = os.environ[name]
        for name, value in step.environment.items():
            environment[name] = value.replace("{files}", str(self.files))
        with open("/dev/full" if step.full else f"{said}.stdout", "wb") as out, open(f"{said}.stderr", "wb") as err:
            piped = step.feed is not None and not step.fifo
            screen, seat = pty.openpty() if step.terminal else (None, None)
            if step.terminal:
                fcntl.ioctl(seat, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 200, 0, 0))
            cores = os.sched_getaffinity(0)
            if step.one_core:
                os.sched_setaffinity(0, {max(cores)})  # this thread; the program inherits it
            process = subprocess.Popen([self.old if step.by_old else self.program, *map(str, step.words)], cwd=self.files,
                                       env=environment, stdin=subprocess.PIPE if piped else subprocess.DEVNULL, stdout=out,
                                       stderr=seat if step.terminal else err)
            os.sched_setaffinity(0, cores)
            helpers = []
            if step.terminal:
                os.close(seat)
                helpers.append(threading.Thread(target=copy_screen, args=(screen, err)))
            if step.feed is not None:
                helpers.append(threading.Thread(target=feed, args=(process, step, self.files)))
            for helper in helpers:
                helper.start()
            code = self.wait(process, step, said)
            for helper in helpers:
                helper.join()
        pathlib.Path(f"{said}.code").write_text(f"{code}\n")
        if step.fifo:
            (self.files / step.fifo).unlink()

    def wait(self, process, step, said):
        begin = changed = time.monotonic()
        size, interrupted = -1, False
        while process.poll() is None:
            now = time.monotonic()
            if now - begin > LONGEST:
                process.kill()
                process.wait()
                return f"did not end within {LONGEST} s"
            if step.interrupt and not interrupted:
                last, size = size, os.stat(f"{said}.stdout").st_size
                changed = now if size != last else changed
                settled = size > 0 and now - changed > SETTLED
                if settled and (step.until is None or step.until(self.files)):
                    process.send_signal(step.interrupt)
                    interrupted = True
            try:
                process.wait(TICK if step.interrupt else LONGEST)
            except subprocess.TimeoutExpired:
                pass
        return str(process.returncode) if not step.interrupt or interrupted else f"{process.returncode} before a signal"


def copy_screen(screen, to):
    while True:
        try:
            data = os.read(screen, 1 << 16)
        except OSError:  # the other side is closed
            data = b""
        if not data:
            os.close(screen)
            return
        to.write(data)


def feed(process, step, files):
    """In pieces as they fit into a pipe. A named one is opened without waiting for a reader that never comes."""
    if not step.fifo:
        pipe = process.stdin.fileno()
    while step.fifo:
        try:
            pipe = os.open(files / step.fifo, os.O_WRONLY | os.O_NONBLOCK)
            os.set_blocking(pipe, True)
            break
        except OSError as error:
            if error.errno != errno.ENXIO or process.poll() is not None:
                return
            time.sleep(TICK)
    try:
        for begin in range(0, len(step.feed), 1 << 16):
            os.write(pipe, step.feed[begin:begin + (1 << 16)])
        while step.stalls and process.poll() is None:
            time.sleep(TICK)
    except BrokenPipeError:
        pass
    if step.fifo:
        os.close(pipe)
    else:
        process.stdin.close()


TERM, INT = signal.SIGTERM, signal.SIGINT
