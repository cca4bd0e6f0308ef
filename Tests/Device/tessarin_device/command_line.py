"""The command line of tessarin-device."""
import argparse
import getpass
import os
import signal
import sys

from . import actions, pairing
from .connection import Computer, DeviceError
from .following import watch
from .media import MediaError
from .terminal import complain, safe_line, say

DESCRIPTION = 'Watches and drives tessarin on another computer.'
EPILOG = '''On the computer, turn on the remote host in the settings of tessarin and copy the pairing link. Whoever has the link can do
all that this program can, so treat it like a password; replacing the key there ends that for every device.'''
INTERRUPTED = 130


def _positive(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError('must be at least 1')
    return value


def _megabytes(text):
    return _positive(text) * 1000 * 1000


def parser():
    top = argparse.ArgumentParser(prog='tessarin-device', description=DESCRIPTION, epilog=EPILOG)
    top.add_argument('--pairing', metavar='FILE', help='where the pairing is kept (%(default)s)', default=pairing.default_path())
    commands = top.add_subparsers(metavar='COMMAND', required=True)

    def add(name, action, summary, parent=commands):
        command = parent.add_parser(name, help=summary, description=summary)
        command.set_defaults(action=action)
        return command

    command = add('pair', pair, 'pair with a computer by its link')
    command.add_argument('link', nargs='?', help='better left out: it is asked for then, and nobody sees it among the running commands')
    add('unpair', unpair, 'forget the computer')
    command = add('watch', None, 'follow what happens, until Ctrl-C')
    command.add_argument('--last', type=_positive, default=12, metavar='N', help='begin with the last N entries (%(default)s)')
    add('tasks', actions.tasks, 'list projects and tasks')
    command = add('show', actions.show, 'print a task')
    command.add_argument('task', nargs='?', help='its number in the list, or the beginning of its id; else the selected one')
    command.add_argument('--last', type=_positive, default=40, metavar='N', help='the last N entries (%(default)s)')
    command.add_argument('--all', action='store_true', help='all entries')
    add('select', actions.select, 'show a task in the window').add_argument('task')
    add('new', actions.new, 'begin a new task').add_argument('--project', metavar='NAME', help='in this project')
    command = add('prompt', actions.prompt, 'send a prompt and follow the answer')
    command.add_argument('text')
    command.add_argument('--task', metavar='TASK', help='to this task; else the selected one')
    command.add_argument('--no-wait', action='store_true', help='end when it is sent')
    for name, action, summary in (('approve', actions.approve, 'allow once what an agent asks for'),
                                  ('reject', actions.reject, 'refuse what an agent asks for')):
        add(name, action, summary).add_argument('--request', type=int, metavar='N', help='only if the question has this number')
    add('stop', actions.stop, 'stop the agent').add_argument('--imagine', action='store_true', help='stop Imagine instead')
    add('mode', actions.mode, 'show or set how approvals are handled').add_argument('mode', nargs='?', help='ask or auto')
    add('provider', actions.provider, 'show or set the provider and see the allowances').add_argument(
        'provider', nargs='?', help='automatic, grok, codex, kimi, glm or claude')
    command = add('generate', actions.generate, 'generate an image or a video')
    command.add_argument('kind', choices=('image', 'video'))
    command.add_argument('text')
    _add_media(commands, add)
    return top


def _add_media(commands, add):
    media = commands.add_parser('media', help='list and fetch what was generated', description='List and fetch what was generated.')
    parts = media.add_subparsers(metavar='COMMAND', required=True)
    add('list', actions.media_list, 'list the creations', parts)
    command = add('fetch', actions.media_fetch, 'fetch the file of a creation', parts)
    command.add_argument('creation', help='its number in the list, or the beginning of its id')
    command.add_argument('-o', '--output', metavar='FILE', help='where to; a file that is there stays')
    command.add_argument('--limit', type=_megabytes, default=4_000_000_000, metavar='MB', help='no file larger than that (4000)')
    command.add_argument('--wait', type=_positive, default=30, metavar='SECONDS', help='for the next chunk (%(default)s)')


def pair(options):
    link = options.link
    try:
        if link is None:
            link = getpass.getpass('Pairing link (it is not shown): ') if sys.stdin.isatty() else sys.stdin.readline()
    except EOFError:
        link = ''
    made = pairing.pairing_from_link(link)
    pairing.save(made, options.pairing)
    say(f'Paired with {safe_line(made.name)} at {safe_line(made.address)}. Try: tessarin-device watch')


def unpair(options):
    say('Forgotten.' if pairing.forget(options.pairing) else 'There was no pairing.')


def _perform(options):
    if options.action in (pair, unpair):
        options.action(options)
        return
    paired = pairing.load(options.pairing)
    if options.action is None:
        watch(paired, options.last)
        return
    with Computer(paired) as computer:
        computer.greet()
        computer.refusals.clear()
        options.action(computer, options)


def main(arguments=None):
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(errors='replace')
    options = parser().parse_args(arguments)
    try:
        _perform(options)
    except (DeviceError, MediaError, pairing.PairingError) as error:
        complain(str(error))
        return 1
    except KeyboardInterrupt:
        sys.stderr.write('\n')
        return INTERRUPTED
    except BrokenPipeError:
        # Nobody reads any more: `tessarin-device tasks | head`. What is left to be flushed goes nowhere.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 128 + signal.SIGPIPE
    except OSError as error:
        complain(f'{error.filename or "The system"}: {error.strerror}.')
        return 1
    return 0
