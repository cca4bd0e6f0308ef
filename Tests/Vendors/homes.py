"""The person's own settings of each vendor's program, so that it talks to a model on the loopback address and to nothing else.

Each function writes below HOME what the program reads there. Signed out means what a person has who has just installed the program.
No key is one: the model takes any. With `denies` the program's own settings forbid the command `touch`, in the words of each.
"""
import json
import os
import time


def _write(home, path, text):
    file = os.path.join(home, path)
    os.makedirs(os.path.dirname(file), exist_ok=True)
    with open(file, 'w') as out:
        out.write(text if isinstance(text, str) else json.dumps(text, indent=2))


def codex(home, address, signed_in, denies=False):
    # A model that it does not know would lose its tool for edits. It repeats nothing, so that a failure comes at once.
    settings = 'model = "gpt-5.5"\ncheck_for_update_on_startup = false\n'
    if signed_in:
        settings += f'''model_provider = "probe"

[model_providers.probe]
name = "probe"
base_url = "{address}/codex/v1"
wire_api = "responses"
request_max_retries = 0
stream_max_retries = 0
'''
    else:
        settings += f'openai_base_url = "{address}/codex/v1"\n'
    _write(home, '.codex/config.toml', settings + '\n[analytics]\nenabled = false\n')
    if denies:
        _write(home, '.codex/rules/default.rules', 'prefix_rule(pattern=["touch"], decision="forbidden")\n')


def opencode(home, address, signed_in, asks=True, denies=False):
    options = {'baseURL': f'{address}/zai/api/coding/paas/v4', **({'apiKey': 'dummy'} if signed_in else {})}
    settings = {'autoupdate': False, 'share': 'disabled', 'provider': {'zai-coding-plan': {'options': options}}}
    if asks:
        settings['permission'] = {'bash': {'*': 'ask', 'touch *': 'deny'} if denies else 'ask', 'edit': 'ask'}
    _write(home, '.config/opencode/opencode.json', settings)


def claude(home, address, signed_in, subscribed=False, denies=False):
    """subscribed: signed in as a person with a subscription is, which the program then tells the use of."""
    environment = {'ANTHROPIC_BASE_URL': address, 'CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC': '1', 'DISABLE_AUTOUPDATER': '1'}
    if signed_in and not subscribed:
        environment['ANTHROPIC_AUTH_TOKEN'] = 'dummy'
    _write(home, '.claude/settings.json', {'env': environment, **({'permissions': {'deny': ['Bash(touch *)']}} if denies else {})})
    if subscribed:
        _write(home, '.claude/.credentials.json', {'claudeAiOauth': {
            'accessToken': 'dummy', 'refreshToken': 'dummy', 'expiresAt': int(time.time() + 86400) * 1000,
            'scopes': ['user:inference', 'user:profile'], 'subscriptionType': 'max', 'rateLimitTier': 'default_claude_max_5x'}})


def kimi(home, address, signed_in, denies=False):
    if not signed_in:
        return
    _write(home, '.kimi-code/config.toml', f'''default_model = "probe"

[providers.probe]
type = "kimi"
base_url = "{address}/kimi/v1"
api_key = "dummy"

[models.probe]
provider = "probe"
model = "probe"
max_context_size = 262144
capabilities = ["thinking"]
''' + ('\n[[permission.rules]]\ndecision = "deny"\npattern = "Bash"\n' if denies else ''))


def grok(home, address, signed_in, denies=False):
    settings = '[cli]\nauto_update = false\nuse_leader = false\n'
    if signed_in:
        settings += f'''
[models]
default = "probe"

[model.probe]
model = "probe"
name = "probe"
base_url = "{address}/grok/v1"
api_key = "dummy"
api_backend = "chat_completions"
context_window = 200000
'''
    if denies:
        settings += '\n[permission]\ndeny = ["Bash(*)"]\n'
    _write(home, '.grok/config.toml', settings)
