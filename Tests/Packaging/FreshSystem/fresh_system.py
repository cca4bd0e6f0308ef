"""A Debian of its own in a folder, with nothing in it but what every Debian has. Needs root.

Whatever runs in it runs in a mount and a process namespace of its own: no mount is ever seen outside, and nothing outlives the call."""
import os
import select
import shutil
import subprocess
import time

CONFINED = ['unshare', '--mount', '--pid', '--fork', '--kill-child']
ENVIRONMENT = ['env', '-i', 'PATH=/usr/sbin:/usr/bin:/sbin:/bin', 'LANG=C.UTF-8', 'HOME=/root', 'DEBIAN_FRONTEND=noninteractive']
PERSON = 'person'


class FreshSystemError(Exception):
    """The text says what went wrong."""


def mirrors():
    """(address, suite) of what this machine installs Debian's packages from."""
    told = subprocess.run(['apt-get', 'indextargets', '--format', '$(REPO_URI) $(RELEASE)', 'Created-By: Packages', 'Origin: Debian'],
                          capture_output=True, text=True, check=True)
    return sorted({tuple(line.split()) for line in told.stdout.splitlines() if line})


def release():
    with open('/etc/os-release') as file:
        told = dict(line.rstrip('\n').split('=', 1) for line in file if '=' in line)
    return told['VERSION_CODENAME']


def remove(folder):
    """Only when nothing is mounted below it: what is mounted there belongs to somebody else."""
    folder = os.path.realpath(folder)
    with open('/proc/mounts') as mounts:
        places = [line.split()[1] for line in mounts]
    inside = [place for place in places if place == folder or place.startswith(folder + '/')]
    if inside:
        raise FreshSystemError(f'{folder} is not removed, because something is mounted there: {inside}')
    if os.path.lexists(folder):
        shutil.rmtree(folder)


class FreshSystem:
    def __init__(self, folder):
        self.folder = folder

    @classmethod
    def make(cls, folder):
        """Replaces what stands there."""
        remove(folder)
        sources = [place for place in mirrors() if place[1] == release()]
        if not sources:
            raise FreshSystemError(f'apt knows no source of {release()}: call apt-get update, and see /etc/apt')
        log = folder + '.log'
        with open(log, 'w') as out:
            done = subprocess.run([*CONFINED, 'debootstrap', '--variant=minbase', release(), folder, sources[0][0]], stdout=out, stderr=out)
        if done.returncode != 0:
            raise FreshSystemError(f'debootstrap ended with {done.returncode}: see {log}')
        system = cls(folder)
        system.write('etc/apt/sources.list', ''.join(f'deb {address} {suite} main\n' for address, suite in mirrors()))
        # Services of the packages have no business here.
        system.write('usr/sbin/policy-rc.d', '#!/bin/sh\nexit 101\n', 0o755)
        shutil.copy('/etc/resolv.conf', system.path('etc/resolv.conf'))
        system.run('apt-get', '-q', 'update')
        system.run('useradd', '--create-home', PERSON)
        return system

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text, mode=0o644):
        with open(self.path(name), 'w') as file:
            file.write(text)
        os.chmod(self.path(name), mode)

    def command(self, *argv):
        return [*CONFINED, '--mount-proc=' + self.path('proc'), 'chroot', self.folder, *ENVIRONMENT, *argv]

    def run(self, *argv):
        """What it prints."""
        done = subprocess.run(self.command(*argv), capture_output=True, text=True)
        if done.returncode != 0:
            raise FreshSystemError(f'{" ".join(argv)} ended with {done.returncode}:\n{done.stdout[-3000:]}{done.stderr[-3000:]}')
        return done.stdout

    def install(self, *packages, more=()):
        return self.run('apt-get', '-q', '-y', '--no-install-recommends', *more, 'install', *packages)

    def files(self):
        """All paths, but for what the package manager and the linker remember and what belongs to a run."""
        passing = ('proc', 'tmp', 'run', 'var/cache', 'var/lib/apt', 'var/log', 'var/lib/dpkg', 'etc/ld.so.cache', 'dev')
        found = set()
        for folder, below, names in os.walk(self.folder):
            here = os.path.relpath(folder, self.folder)
            below[:] = [name for name in below if os.path.normpath(os.path.join(here, name)) not in passing]
            found |= {os.path.normpath(os.path.join(here, name)) for name in [*below, *names]}
        return {name for name in found if name not in passing}


class Script:
    """A shell script that runs in the system, tells by lines how far it is, and goes on when it gets one."""

    def __init__(self, system, text):
        self.process = subprocess.Popen(system.command('sh', '-c', text), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT)
        self.output = b''

    def await_line(self, wanted, timeout=60):
        """Waits for the line that begins so; the whole line."""
        end = time.monotonic() + timeout
        while True:
            for line in self.output.decode(errors='replace').split('\n')[:-1]:
                if line.startswith(wanted):
                    return line
            left = end - time.monotonic()
            if left <= 0:
                raise FreshSystemError(f'"{wanted}" has not come after {timeout} s:\n{self.output.decode(errors="replace")}')
            if select.select([self.process.stdout], [], [], left)[0]:
                got = os.read(self.process.stdout.fileno(), 65536)
                if not got:
                    raise FreshSystemError(f'it ended before "{wanted}":\n{self.output.decode(errors="replace")}')
                self.output += got

    def go_on(self):
        self.process.stdin.write(b'\n')
        self.process.stdin.flush()

    def close(self):
        self.process.kill()  # unshare takes all in the namespace with it
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
