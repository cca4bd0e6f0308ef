"""The vendors' programs from npm, exactly as the lock file names them, in a folder of the build."""
import hashlib
import os
import shutil
import subprocess

_SOURCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'programs')
_FILES = ('package.json', 'package-lock.json')
# Only these are nothing without their install scripts; no other package runs a line while it is installed.
_NEED_THEIR_SCRIPTS = ('opencode-ai', '@anthropic-ai/claude-code', 'node')
# Kimi Code needs a younger Node.js than Debian has: it is installed beside the programs.
PROGRAMS = ('codex', 'opencode', 'claude', 'kimi', 'grok', 'node')


def installed(folder):
    """The folder with the programs. The network is needed when something has changed since the last time."""
    os.makedirs(folder, exist_ok=True)
    programs = os.path.join(folder, 'node_modules', '.bin')
    stamp = os.path.join(folder, 'installed.sha256')
    wanted = _fingerprint()
    if _read(stamp) != wanted or not all(os.access(os.path.join(programs, name), os.X_OK) for name in PROGRAMS):
        _install(folder)
        with open(stamp, 'w') as file:
            file.write(wanted)
    return programs


def _install(folder):
    for name in _FILES:
        shutil.copyfile(os.path.join(_SOURCES, name), os.path.join(folder, name))
    # Not "npm ci": it wants every package of every other system in the lock file, and some of these are not published.
    _npm(folder, 'install', '--ignore-scripts')
    _npm(folder, 'rebuild', *_NEED_THEIR_SCRIPTS)


def _npm(folder, *arguments):
    try:
        subprocess.run(['npm', *arguments, '--no-audit', '--no-fund', '--loglevel=error'], cwd=folder, env=_environment(folder), check=True,
                       timeout=900)
    except FileNotFoundError:
        raise SystemExit('npm is not installed: it is needed to fetch the vendors\' programs (package npm).') from None
    except (subprocess.CalledProcessError, subprocess.TimeoutExpired) as error:
        raise SystemExit(f'npm could not fetch the vendors\' programs: {error}. They need the network when they are not installed yet.') from None


def _environment(folder):
    """The caller's, with homes in the folder: install scripts write there too. Of the caller's own only the settings of npm are read, for a
    registry or a proxy."""
    # npm takes its variables in any case of letters.
    given = {key.lower(): value for key, value in os.environ.items() if key.lower().startswith('npm_config_')}
    kept = {key: value for key, value in os.environ.items() if key.lower() not in ('npm_config_cache', 'npm_config_userconfig')}
    home = os.path.join(folder, 'home')
    os.makedirs(home, exist_ok=True)
    return {**kept, 'HOME': home, 'XDG_CONFIG_HOME': os.path.join(home, '.config'), 'XDG_DATA_HOME': os.path.join(home, '.local', 'share'),
            'XDG_CACHE_HOME': os.path.join(home, '.cache'), 'XDG_STATE_HOME': os.path.join(home, '.local', 'state'),
            'npm_config_cache': os.path.join(folder, 'npm-cache'),
            'npm_config_userconfig': given.get('npm_config_userconfig') or os.path.join(os.path.expanduser('~'), '.npmrc')}


def _fingerprint():
    digest = hashlib.sha256()
    for name in _FILES:
        with open(os.path.join(_SOURCES, name), 'rb') as file:
            digest.update(file.read())
    return digest.hexdigest()


def _read(path):
    if not os.path.exists(path):
        return ''
    with open(path) as file:
        return file.read()
