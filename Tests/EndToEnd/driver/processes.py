"""Processes of a session: who belongs to it, and how it ends without leaving one behind or touching a stranger's."""
import ctypes
import os
import signal
import subprocess
import time

_LIBC = ctypes.CDLL(None)
_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36


def die_with_the_parent():
    """Called in a child before it becomes another program."""
    _LIBC.prctl(_PR_SET_PDEATHSIG, signal.SIGTERM)


def process_table():
    """pid -> parent pid, of every process that is not a zombie."""
    out = {}
    for name in os.listdir('/proc'):
        if name.isdigit():
            try:
                with open(f'/proc/{name}/stat', 'rb') as file:
                    rest = file.read().rpartition(b')')[2].split()
                if rest[0] not in (b'Z', b'X'):
                    out[int(name)] = int(rest[1])
            except OSError:
                pass  # it ended while we looked
    return out


def start_time(pid):
    """Tells two processes of one pid apart; None when there is none."""
    try:
        with open(f'/proc/{pid}/stat', 'rb') as file:
            return int(file.read().rpartition(b')')[2].split()[19])
    except (OSError, IndexError):
        return None


def descendants(roots):
    table, grew = process_table(), True
    found = {pid for pid in roots if pid in table}
    while grew:
        grew = False
        for pid, parent in table.items():
            if parent in found and pid not in found:
                found.add(pid)
                grew = True
    return found


class ProcessGroup:
    """Everything one session started, directly or through its children. Ended by pid and start time, never by name."""

    def __init__(self, mark):
        self.mark = mark.encode()
        self.known = {}

    def adopt_orphans(self):
        """Orphans of what is started here become our children, so that they are seen and waited for."""
        _LIBC.prctl(_PR_SET_CHILD_SUBREAPER, 1)

    def spawn(self, argv, log, env, cwd, pass_fds=()):
        with open(log, 'ab') as out:
            process = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=out, stderr=out, env=env, cwd=cwd,
                                       pass_fds=pass_fds, start_new_session=True, preexec_fn=die_with_the_parent)
        self.known[process.pid] = start_time(process.pid)
        return process

    def alive(self, pid):
        began = self.known.get(pid)
        return began is not None and pid in process_table() and start_time(pid) == began

    def remember(self, pids):
        for pid in pids:
            self.known.setdefault(pid, start_time(pid))

    def marked(self):
        """Those that carry the session's mark in their environment, also when they left the tree."""
        out = set()
        for pid in process_table():
            if pid != os.getpid():
                try:
                    with open(f'/proc/{pid}/environ', 'rb') as file:
                        if self.mark in file.read():
                            out.add(pid)
                except OSError:
                    pass  # it ended, or belongs to somebody else
        return out

    def _signal(self, pids, number):
        for pid in pids:
            if self.alive(pid):
                try:
                    os.kill(pid, number)
                except OSError:
                    pass  # it ended meanwhile

    def _await(self, pids, seconds):
        end = time.monotonic() + seconds
        while any(self.alive(pid) for pid in pids) and time.monotonic() < end:
            time.sleep(0.01)

    def stop(self, processes, timeout, number=signal.SIGTERM):
        """Ends these and what they started; the exit status of the last one."""
        tree, status = descendants([process.pid for process in processes]), None
        self.remember(tree)
        for process in processes:
            if process.poll() is None:
                process.send_signal(number)
        end = time.monotonic() + timeout
        for process in processes:
            try:
                status = process.wait(max(0.05, end - time.monotonic()))
            except subprocess.TimeoutExpired:
                process.kill()
                status = process.wait()
        rest = [pid for pid in tree if self.alive(pid)]
        self._signal(rest, signal.SIGTERM)
        self._await(rest, 2)
        self._signal(rest, signal.SIGKILL)
        return status

    def end_all(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            left = self.marked()
            self.remember(left)
            left |= {pid for pid in self.known if self.alive(pid)}
            if not left:
                break
            self._signal(left, number)
            self._await(left, 1.5)
        for pid in self.known:
            try:
                os.waitpid(pid, os.WNOHANG)
            except OSError:
                pass  # not a child of ours, or already waited for
