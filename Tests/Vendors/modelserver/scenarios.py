"""What a turn does, chosen by words in the prompt and told without a word of any dialect.

    SCENARIO:shell PROBE_CWD=/home/ada/aurora            the scenario, and the folder of the project for tools that want whole paths
    SCENARIO:limit ONLY_AT=codex                         at the other programs the scenario is `plain`
    SCENARIO:limit ONLY_AT=codex ELSE=reasoning          at the other programs it is `reasoning`

The last of them counts in the last message of the person that has any, so a task can go from one to the next. ONLY_AT is for what moves on to
another program and takes the prompt with it: a spent allowance of one is not that of the next.
A scenario is a list of steps. Each result of a tool behind the prompt is one step further, and the last step stays.
"""
import re
from dataclasses import dataclass

SHORT = 0.01
LONG = 0.2


@dataclass(frozen=True)
class Step:
    """One answer of the model: first it thinks, then it speaks, then it wants a tool. With `failure` none of it, but an error."""
    texts: tuple = ()
    reasoning: tuple = ()
    wants: str = ''  # what a tool is wanted for, a name in tools.py
    failure: str = ''  # limit, auth, broken or unknown
    breaks: bool = False  # the connection fails behind the texts
    pause: float = SHORT  # seconds behind each piece


@dataclass(frozen=True)
class Said:
    """One message of a conversation, whoever spoke: user, assistant, system, or tool for what a tool has given back."""
    role: str
    text: str


@dataclass(frozen=True)
class Choice:
    name: str
    step: int
    folder: str
    results: tuple
    asked: str = ''  # the message that has chosen


FINISHED = Step(texts=('Tool ', 'finished. ', 'The probe ', 'is over.'))


def using(purpose, *texts):
    return (Step(texts=texts, wants=purpose), FINISHED)


SCENARIOS = {
    'plain': (Step(texts=('Hello', ' from the', ' fake model.', ' The answer is 42.'), pause=2 * SHORT),),
    'reasoning': (Step(reasoning=('I should ', 'think about ', 'the probe first.'), texts=('Thought', ' it through', ': 42.'), pause=2 * SHORT),),
    # As slow as a window is read on a busy machine.
    'gradual': (Step(reasoning=('I should ', 'think about ', 'the probe first.'), texts=('The first piece', ' of the answer', ', and its last.'),
                     pause=10 * LONG),),
    'multi': (Step(texts=('First I speak. ',), wants='anything'), Step(texts=('Then I speak again.',))),
    'plan': using('plan'),
    'shell': using('shell', 'Running a command. '),
    'shelldeny': using('shell', 'Running a command. '),
    'sandboxed': using('sandboxed'),
    'assign': using('assign'),
    'touch': using('touch'),
    'storm': using('storm'),
    'edit': using('edit', 'Editing a file. '),
    'editout': using('editout'),
    'permissions': using('permissions'),
    'askuser': using('askuser'),
    'imagine': using('imagine'),
    'slow': (Step(texts=tuple(f'word{number} ' for number in range(300)), pause=LONG),),
    'limit': (Step(failure='limit'),),
    'cut': (Step(texts=('Partial',), breaks=True),),
    'auth': (Step(failure='auth'),),
    'fail500': (Step(failure='broken'),),
}

NAME = re.compile(r'SCENARIO:([a-z0-9_]+)(?:[ \t]+ONLY_AT=([a-z]+)(?:[ \t]+ELSE=([a-z0-9_]+))?)?')
# What a program says to the model in the person's name. Some quote the prompt in it.
REMINDER = re.compile(r'\s*<system-reminder>.*</system-reminder>\s*', re.DOTALL)
FOLDER = re.compile(r'PROBE_CWD=([^\s"\\<]+)')


def meant(said, meanings):
    """With the words of a scenario behind each text that stands for one; what is not of a person stays."""
    text = said.text
    for phrase, words in meanings.items() if said.role == 'user' else ():
        text = text.replace(phrase, f'{phrase} {words}')
    return Said(said.role, text)


def choose(conversation, program):
    """What a conversation asks for of a program: a scenario's name, how far it is, the project's folder and what tools have said since."""
    name, position, folder, asked = 'plain', len(conversation), '.', ''
    for index, said in enumerate(conversation):
        named = list(NAME.finditer(said.text)) if said.role == 'user' and not REMINDER.fullmatch(said.text) else []
        if named:
            wanted, only_at, otherwise = named[-1].groups()
            name = wanted if only_at in (None, program) else otherwise or 'plain'
            position, asked = index, said.text
            folders = FOLDER.findall(said.text)
            folder = folders[-1] if folders else '.'
    results = tuple(said.text for said in conversation[position + 1:] if said.role == 'tool')
    return Choice(name, len(results), folder, results, asked)


def step_of(choice):
    steps = SCENARIOS.get(choice.name)
    if steps is None:
        return Step(failure='unknown')
    return steps[min(choice.step, len(steps) - 1)]
