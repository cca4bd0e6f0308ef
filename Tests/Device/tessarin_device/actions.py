"""What a person can do from a device. Each takes the computer, to which it is connected, and what was said on the command line."""
import os

from .connection import DeviceError
from .following import Narrator, permission_lines
from .media import MediaAssembly, PartialFile, file_name, size_text
from .terminal import moment, safe, safe_line, say
from .transcript import Transcript

ANSWER_TIMEOUT = 15  # of the computer; what agents do takes as long as it takes


def _refused(computer):
    return DeviceError(safe_line(computer.refusals[0]))


def _settle(computer, is_reached, otherwise):
    """Waits until the computer's state says that a command had its effect, or the computer has refused it."""
    if not computer.wait(lambda: computer.refusals or is_reached(), ANSWER_TIMEOUT):
        raise DeviceError(otherwise)
    if computer.refusals:
        raise _refused(computer)


def _find_task(computer, wanted):
    """By its number in the list, or the beginning of its id; without one, the selected task."""
    tasks = computer.tasks()
    if wanted is None:
        project, task = computer.selected()
        if task is None:
            raise DeviceError('No task is selected on the computer. Name one with --task; `tessarin-device tasks` lists them.')
        return project, task
    if wanted.isascii() and wanted.isdigit() and len(wanted) < 8:
        if 1 <= int(wanted) <= len(tasks):
            return tasks[int(wanted) - 1]
    elif wanted:
        found = [pair for pair in tasks if pair[1]['id'].startswith(wanted.upper())]
        if len(found) == 1:
            return found[0]
    raise DeviceError(f'There is no task "{wanted}". `tessarin-device tasks` lists them.')


def tasks(computer, options):
    state = computer.state
    say(f'{safe_line(state["hostName"])}: {safe_line(state["connectionLabel"])}, {safe_line(state["permissionModeLabel"])}, '
        f'{safe_line(state["providerModeLabel"])}')
    number = 0
    for project in state['workspaces']:
        say(f'\n{safe_line(project["name"])}  ({safe_line(project["path"])})')
        for task in project['threads']:
            number += 1
            mark = '*' if task['id'] == state.get('selectedThreadID') else ' '
            say(f'{mark}{number:3}  {safe_line(task["title"], 70):<70}  {moment(task["updatedAt"])}')
    if not number:
        say('No tasks yet.')
    if state.get('permission'):
        say('\n' + '\n'.join(permission_lines(state['permission'])))


def show(computer, options):
    _, task = _find_task(computer, options.task)
    transcript = Transcript(None if options.all else options.last)
    transcript.show(task)
    transcript.break_line()


def select(computer, options):
    project, task = _find_task(computer, options.task)
    computer.send('select_thread', workspaceID=project['id'], threadID=task['id'])
    _settle(computer, lambda: computer.state.get('selectedThreadID') == task['id'], 'The computer has not selected the task.')
    say(f'Selected: {safe_line(task["title"], 70)}')


def new(computer, options):
    projects = computer.state['workspaces']
    known = {task['id'] for _, task in computer.tasks()}
    project = None
    if options.project is not None:
        found = [each for each in projects if options.project in (each['name'], each['id'], each['path'])]
        if len(found) != 1:
            raise DeviceError(f'There is no project "{options.project}". `tessarin-device tasks` lists them.')
        project = found[0]['id']
    elif not projects:
        raise DeviceError('No project is open on the computer.')
    computer.send('new_thread', workspaceID=project)
    _settle(computer, lambda: computer.state.get('selectedThreadID') not in (*known, None),
            'The computer has not made a new task. There may be an empty one already.')
    say('A new task is selected.')


def prompt(computer, options):
    project, task = _find_task(computer, options.task)
    if computer.is_busy():
        raise DeviceError('An agent is at work. Wait until it has finished, or end that: tessarin-device stop')
    if not options.text.strip():
        raise DeviceError('An empty prompt does nothing.')
    before = len(task['entries'])
    computer.send('prompt', workspaceID=project['id'], threadID=task['id'], text=options.text)

    def entries():
        return next((each['entries'] for _, each in computer.tasks() if each['id'] == task['id']), [])
    _settle(computer, lambda: len(entries()) > before or computer.is_busy(), 'The computer has not taken the prompt.')
    if options.no_wait:
        say('Sent.')
        return
    narrator = Narrator(last_entries=len(entries()) - before)
    while True:
        narrator.tell(computer)
        if not computer.is_busy():
            break
        computer.step()
    narrator.end()
    if computer.state['connectionStatus'] == 'failed':
        raise DeviceError('The agent has failed.')


def _answer(computer, options, is_meant, lacking):
    permission = computer.state.get('permission')
    if permission is None:
        raise DeviceError('No agent is asking for anything.')
    if options.request is not None and options.request != permission['requestID']:
        raise DeviceError(f'That question is over. The present one has the number {permission["requestID"]}.')
    option = next((each for each in permission['options'] if is_meant(each['kind'])), None)
    if option is None:
        raise DeviceError(lacking)
    computer.send('permission_response', requestID=permission['requestID'], optionID=option['id'])
    _settle(computer, lambda: computer.state.get('permission') != permission, 'The computer has not taken the answer.')
    say(f'{safe_line(permission["title"], 100)}: {safe_line(option["name"], 60)}')


def approve(computer, options):
    _answer(computer, options, lambda kind: kind == 'allow_once', 'This can be allowed on the computer only.')


def reject(computer, options):
    _answer(computer, options, lambda kind: kind.startswith('reject'), 'This can be refused on the computer only.')


def stop(computer, options):
    if options.imagine:
        if not computer.is_imagining():
            raise DeviceError('Nothing is being generated.')
        computer.send('cancel', mediaKind='image')
        _settle(computer, lambda: not computer.is_imagining(), 'The computer has not stopped it yet.')
    else:
        if not computer.is_busy():
            raise DeviceError('No agent is at work.')
        computer.send('cancel', threadID=computer.state.get('selectedThreadID'))
        _settle(computer, lambda: not computer.is_busy(), 'The agent has been told to stop, and is still at work.')
    say('Stopped.')


def mode(computer, options):
    if options.mode is not None and options.mode != computer.state['permissionMode']:
        computer.send('set_permission_mode', permissionMode=options.mode)
        _settle(computer, lambda: computer.state['permissionMode'] == options.mode, 'The computer has not changed its mode.')
    say(f'Approvals: {safe_line(computer.state["permissionModeLabel"])}')


def provider(computer, options):
    if options.provider is not None and options.provider != computer.state['providerMode']:
        computer.send('set_provider_mode', providerMode=options.provider)
        _settle(computer, lambda: computer.state['providerMode'] == options.provider, 'The computer does not change to that provider.')
    state = computer.state
    say(f'Providers: {safe_line(state["providerModeLabel"])}')
    for usage in state['providerUsages']:
        percents = [f'{usage[key]:.0f} %' for key in ('primaryUsedPercent', 'secondaryUsedPercent') if usage.get(key) is not None]
        until = f', until {moment(usage["resetsAt"])}' if usage.get('resetsAt') is not None else ''
        say(f'  {safe_line(usage["label"])}: {"used up" if usage["exhausted"] else "used " + " and ".join(percents) if percents else "in use"}{until}')


def generate(computer, options):
    if computer.is_imagining():
        raise DeviceError('Something is being generated already.')
    known = {item['id'] for item in computer.state['imagineItems']}
    computer.send('imagine_generate', text=options.text, mediaKind=options.kind)

    def made():
        return [item for item in computer.state['imagineItems'] if item['id'] not in known]
    _settle(computer, lambda: computer.is_imagining() or made() or computer.state['imagineStatus'] == 'failed',
            'The computer has not begun to generate.')
    told = None
    while computer.is_imagining():
        if computer.state['imagineLabel'] != told:
            told = computer.state['imagineLabel']
            say(f'.. {safe_line(told, 100)}')
        computer.step()
    for item in made():
        say(f'Made: {safe_line(item["id"])}  {safe_line(item["fileName"])}')
    if not made():
        raise DeviceError(f'Nothing was made: {safe_line(computer.state["imagineLabel"], 200)}')


def media_list(computer, options):
    for number, item in enumerate(computer.state['imagineItems'], 1):
        say(f'{number:4}  {safe_line(item["kind"], 10):<6}  {moment(item["createdAt"]):<16}  {safe_line(item["prompt"], 70)}')
    if not computer.state['imagineItems']:
        say('No creations yet.')


def _find_creation(computer, wanted):
    items = computer.state['imagineItems']
    if wanted.isascii() and wanted.isdigit() and len(wanted) < 8:
        if 1 <= int(wanted) <= len(items):
            return items[int(wanted) - 1]
    elif wanted:
        found = [item for item in items if item['id'].startswith(wanted.upper())]
        if len(found) == 1:
            return found[0]
    raise DeviceError(f'There is no creation "{wanted}". `tessarin-device media list` lists them.')


def media_fetch(computer, options):
    item = _find_creation(computer, options.creation)
    path = options.output or file_name(item['fileName'], item['id'])
    if os.path.lexists(path):
        raise DeviceError(f'{path} exists already. Choose another name with --output.')
    partial = PartialFile(os.path.dirname(path) or '.')
    try:
        assembly = MediaAssembly(item['id'], partial.write, options.limit)
        computer.collect(assembly)
        computer.send('media_request', mediaID=item['id'])
        while not assembly.is_complete:
            before = assembly.taken
            if not computer.wait(lambda: assembly.taken > before, options.wait):
                raise DeviceError(f'Nothing has come for {options.wait} seconds. The file may be gone on the computer.')
        partial.finish(path)
    finally:
        partial.close()
    say(f'{safe(path)}: {size_text(assembly.size)}')
