"""What this build makes: the installed tree, and the package."""
import os
import subprocess

SOURCE = os.environ['TESSARIN_SOURCE']
BUILD = os.environ['TESSARIN_BUILD']
VERSION = os.environ['TESSARIN_VERSION']
PACKAGING = os.path.join(SOURCE, 'Packaging')
# Tools that sort or translate what they print do it alike everywhere.
ENVIRONMENT = {**os.environ, 'LC_ALL': 'C.UTF-8'}
ICON_SIZES = (16, 24, 32, 48, 64, 128, 256, 512)
# All that stands below a prefix after the installation: a new file is meant to be noticed here.
INSTALLED = sorted([
    'bin/tessarin',
    'share/applications/tessarin.desktop',
    'share/doc/tessarin/changelog.gz',
    'share/doc/tessarin/copyright',
    'share/doc/tessarin/remote-host.md',
    'share/doc/tessarin/runtimes.md',
    'share/icons/hicolor/scalable/apps/tessarin.svg',
    'share/man/man1/tessarin.1.gz',
    'share/metainfo/com.local.tessarin.metainfo.xml',
    *[f'share/icons/hicolor/{size}x{size}/apps/tessarin.png' for size in ICON_SIZES],
])


def run(*argv, **more):
    """What it prints; its complaints are the text of the failure."""
    done = subprocess.run(argv, capture_output=True, text=True, env=ENVIRONMENT, **more)
    if done.returncode != 0:
        raise AssertionError(f'{argv[0]} ended with {done.returncode}:\n{done.stdout}{done.stderr}')
    return done.stdout


def install(prefix):
    run(os.environ['TESSARIN_CMAKE'], '--install', BUILD, '--prefix', prefix)


def package(folder):
    """The path of the package, made in that folder."""
    run(os.environ['TESSARIN_CPACK'], '--config', os.path.join(BUILD, 'CPackConfig.cmake'), '-B', folder, cwd=folder)
    return os.path.join(folder, run('sh', '-c', 'ls *.deb', cwd=folder).strip())


def files_below(folder):
    return sorted(os.path.relpath(os.path.join(path, name), folder) for path, _, names in os.walk(folder) for name in names)


def desktop_entry():
    """The keys of the desktop file."""
    with open(os.path.join(PACKAGING, 'linux', 'tessarin.desktop')) as file:
        return dict(line.rstrip('\n').split('=', 1) for line in file if '=' in line)
