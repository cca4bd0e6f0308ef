#!/usr/bin/python3
"""Installs the package in a fresh system, starts the program there, and removes it: what a person's own machine would see.

    package_in_a_fresh_system.py FOLDER-OF-THE-PACKAGE FOLDER

The system is made in FOLDER/root and removed when all went well; FOLDER/window.png shows the window. Needs root and the network."""
import os
import shutil
import struct
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT_OF_THE_PROJECT = os.path.join(HERE, '..', '..', '..')
sys.path.insert(0, os.path.join(HERE, '..', '..', 'EndToEnd'))
from driver.pictures import write_png  # noqa: E402
from fresh_system import PERSON, FreshSystem, FreshSystemError, Script, remove  # noqa: E402

# setpriv becomes the program, so that the signal goes to it. It tells of its first frame and of its first content by itself.
START = '''{before}
setpriv --reuid={person} --regid={person} --init-groups env HOME=/home/{person} TESSARIN_REPORT_FIRST_FRAME=1 {environment} tessarin &
program=$!
{after}
read -r line
kill -TERM $program
wait $program
echo "ended with $?"
'''
SCREEN = '''mkdir -p /run/screen && mkfifo /run/screen/number
Xvfb -displayfd 3 -screen 0 1280x900x24 -fbdir /run/screen -nolisten tcp 3>/run/screen/number 2>/run/screen/log &
read -r number < /run/screen/number
export DISPLAY=:$number'''
WINDOW = 'timeout 60 xdotool search --sync --onlyvisible --name "^tessarin" && echo "the window is open"'


def expect(condition, text):
    if not condition:
        raise FreshSystemError(text)


def read_screen(file):
    """(width, height, RGB) of a file that Xvfb keeps (XWD, version 7), 32 bits a pixel."""
    with open(file, 'rb') as source:
        content = source.read()
    head = struct.unpack('>25I', content[:100])
    width, height, line, colours = head[4], head[5], head[12], head[19]
    expect(head[1] == 7 and head[11] == 32, f'{file} is no picture of 32 bits')
    begin = head[0] + 12 * colours
    rgb = bytearray(3 * width * height)
    for row in range(height):
        pixels = content[begin + row * line:begin + row * line + 4 * width]
        for channel in range(3):
            rgb[3 * width * row + channel:3 * width * (row + 1):3] = pixels[2 - channel::4]
    return width, height, bytes(rgb)


def await_picture(file, timeout=30):
    """The first picture with something on it that stays as it is."""
    last, end = None, time.monotonic() + timeout
    while time.monotonic() < end:
        now = read_screen(file)
        if now == last and len({now[2][at:at + 3] for at in range(0, len(now[2]), 3)}) > 50:
            return now
        last = now
        time.sleep(0.3)
    raise FreshSystemError(f'nothing stands on the screen after {timeout} s')


class Trial:
    """The steps, in their order. Each prints what it has shown, or ends all."""

    def __init__(self, packages, folder):
        names = [name for name in os.listdir(packages) if name.endswith('.deb')]
        expect(len(names) == 1, f'in {packages} there is not one package but {names}')
        self.package, self.folder = os.path.join(packages, names[0]), folder
        self.system = FreshSystem.make(os.path.join(folder, 'root'))
        self.before = self.system.files()

    def EveryPackageThatTheProjectNamesCanBeInstalled(self):
        with open(os.path.join(ROOT_OF_THE_PROJECT, 'Packaging', 'packages')) as file:
            names = [line.split()[0] for line in file if line.strip() and line[0] not in '#[']
        self.system.install(*names, more=['--simulate'])

    def ItInstallsWithOnlyItsDependencies(self):
        shutil.copy(self.package, self.system.path('var/tmp/tessarin.deb'))
        self.system.install('/var/tmp/tessarin.deb', more=['--simulate', '--install-recommends', '--install-suggests'])
        self.system.install('/var/tmp/tessarin.deb')
        os.remove(self.system.path('var/tmp/tessarin.deb'))
        self.its = {name.strip('/') for name in self.system.run('dpkg', '--listfiles', 'tessarin').splitlines()}
        self.its = {name for name in self.its if os.path.isfile(self.system.path(name))}
        expect('usr/bin/tessarin' in self.its, f'the package has brought {self.its}')

    def ItFindsAllItsLibraries(self):
        told = self.system.run('ldd', '/usr/bin/tessarin')
        expect('not found' not in told, told)

    def ItRunsWithNothingElseInstalled(self):
        self.start('', 'QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software', '')

    def ItOpensItsWindowOnAScreen(self):
        self.system.install('xvfb', 'xdotool')
        script = self.start(SCREEN, 'DISPLAY=:$number', WINDOW, self.photograph)
        expect('the window is open' in script, script)

    def photograph(self, script):
        script.await_line('the window is open')
        write_png(os.path.join(self.folder, 'window.png'), *await_picture(self.system.path('run/screen/Xvfb_screen0')))

    def start(self, before, environment, after, look=None):
        """Starts it as a person would, and ends it once it has shown what it shows first; all that was printed."""
        script = Script(self.system, START.format(person=PERSON, before=before, environment=environment, after=after))
        try:
            script.await_line('first content')
            if look:
                look(script)
            script.go_on()
            expect(script.await_line('ended with') == 'ended with 0', script.output.decode())
        finally:
            script.close()
        told = script.output.decode()
        for complaint in ('is not installed', 'cannot open', 'Could not', 'QML', 'qrc:'):
            expect(complaint not in told, f'the program complains:\n{told}')
        return told

    def TheDesktopHasItsEntryAndItsIcon(self):
        for name in ('applications/tessarin.desktop', 'icons/hicolor/48x48/apps/tessarin.png', 'icons/hicolor/scalable/apps/tessarin.svg'):
            expect(os.path.isfile(self.system.path('usr/share/' + name)), f'{name} is missing')

    def NothingOfItIsLeftWhenItIsPurged(self):
        self.system.run('apt-get', '-q', '-y', 'purge', 'tessarin')
        self.system.run('apt-get', '-q', '-y', 'autoremove', '--purge')
        after = self.system.files()
        expect(not self.its & after, f'left: {sorted(self.its & after)}')
        left = {name for name in after - self.before if 'tessarin' in name and not name.startswith(f'home/{PERSON}/')}
        expect(not left, f'left: {sorted(left)}')
        expect('tessarin' not in self.system.run('dpkg-query', '--show'), 'the package manager still knows it')

    def WhatItsDependenciesBroughtIsGoneToo(self):
        left = [name for name in self.system.run('dpkg-query', '--show').split() if name.startswith(('libqt6', 'qml6-', 'qt6-'))]
        expect(not left, f'left: {left}')

    def WhatThePersonMadeStays(self):
        expect(os.path.isdir(self.system.path(f'home/{PERSON}/.local/share/tessarin')), 'the data of the person are gone')

    STEPS = (EveryPackageThatTheProjectNamesCanBeInstalled, ItInstallsWithOnlyItsDependencies, ItFindsAllItsLibraries,
             ItRunsWithNothingElseInstalled, ItOpensItsWindowOnAScreen, TheDesktopHasItsEntryAndItsIcon, NothingOfItIsLeftWhenItIsPurged,
             WhatItsDependenciesBroughtIsGoneToo, WhatThePersonMadeStays)


def main():
    packages, folder = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    try:
        trial = Trial(packages, folder)
        print('ok: a fresh system', flush=True)
        for step in Trial.STEPS:
            step(trial)
            print('ok: ' + step.__name__, flush=True)
        remove(trial.system.folder)
    except FreshSystemError as error:
        sys.exit(f'failed: {error}')
    print(f'The window as it was seen there: {os.path.join(folder, "window.png")}')


if __name__ == '__main__':
    main()
