"""The words of AT-SPI, in the order of its numbers, and how a search names them."""
import re

ROLES = [
    'invalid', 'accelerator label', 'alert', 'animation', 'arrow', 'calendar', 'canvas',
    'check box', 'check menu item', 'color chooser', 'column header', 'combo box',
    'date editor', 'desktop icon', 'desktop frame', 'dial', 'dialog', 'directory pane',
    'drawing area', 'file chooser', 'filler', 'focus traversable', 'font chooser', 'frame',
    'glass pane', 'html container', 'icon', 'image', 'internal frame', 'label',
    'layered pane', 'list', 'list item', 'menu', 'menu bar', 'menu item', 'option pane',
    'page tab', 'page tab list', 'panel', 'password text', 'popup menu', 'progress bar',
    'push button', 'radio button', 'radio menu item', 'root pane', 'row header',
    'scroll bar', 'scroll pane', 'separator', 'slider', 'spin button', 'split pane',
    'status bar', 'table', 'table cell', 'table column header', 'table row header',
    'tearoff menu item', 'terminal', 'text', 'toggle button', 'tool bar', 'tool tip', 'tree',
    'tree table', 'unknown', 'viewport', 'window', 'extended', 'header', 'footer',
    'paragraph', 'ruler', 'application', 'autocomplete', 'editbar', 'embedded', 'entry',
    'chart', 'caption', 'document frame', 'heading', 'page', 'section', 'redundant object',
    'form', 'link', 'input method window', 'table row', 'tree item', 'document spreadsheet',
    'document presentation', 'document text', 'document web', 'document email', 'comment',
    'list box', 'grouping', 'image map', 'notification', 'info bar', 'level bar',
    'title bar', 'block quote', 'audio', 'video', 'definition', 'article', 'landmark', 'log',
    'marquee', 'math', 'rating', 'timer', 'static', 'math fraction', 'math root',
    'subscript', 'superscript', 'description list', 'description term',
    'description value', 'footnote', 'content deletion', 'content insertion', 'mark',
    'suggestion', 'push button menu']
STATES = [
    'invalid', 'active', 'armed', 'busy', 'checked', 'collapsed', 'defunct', 'editable',
    'enabled', 'expandable', 'expanded', 'focusable', 'focused', 'has tooltip',
    'horizontal', 'iconified', 'modal', 'multi line', 'multiselectable', 'opaque', 'pressed',
    'resizable', 'selectable', 'selected', 'sensitive', 'showing', 'single line', 'stale',
    'transient', 'vertical', 'visible', 'manages descendants', 'indeterminate', 'required',
    'truncated', 'animated', 'invalid entry', 'supports autocompletion', 'selectable text',
    'is default', 'visited', 'checkable', 'has popup', 'read only']

# What one control may reasonably be called; usable as a role in every search, so that a check does not prescribe one of several
# sensible roles.
GROUPS = {
    '~button': ('push button', 'toggle button', 'check box', 'radio button', 'menu item', 'link',
                'push button menu', 'combo box'),
    '~menu item': ('menu item', 'check menu item', 'radio menu item', 'menu', 'push button',
                   'check box', 'radio button', 'list item'),
    '~menu bar item': ('menu bar', 'menu item', 'menu', 'push button'),
    '~input': ('text', 'entry', 'editbar'),
    '~readable': ('label', 'text', 'static', 'heading', 'paragraph', 'document text',
                  'list item', 'article', 'section', 'alert'),
    '~popup': ('dialog', 'popup menu', 'alert', 'menu', 'panel', 'tool tip', 'window'),
    '~window': ('frame', 'window', 'dialog'),
    '~row': ('list item', 'table row', 'tree item', 'article', 'section', 'panel'),
}
PRESSABLE = ('push button', 'toggle button', 'check box', 'radio button', 'menu item',
             'check menu item', 'radio menu item', 'page tab', 'combo box', 'link')
NOT_SHOWN = ('enabled', 'sensitive', 'visible', 'showing', 'focusable')


def matches(pattern, value):
    """None matches all; a compiled regex searches; '=x' is exact; '/x/' is a regex; else a substring regardless of case."""
    if pattern is None:
        return True
    value = value or ''
    if hasattr(pattern, 'search'):
        return bool(pattern.search(value))
    if pattern.startswith('=') and len(pattern) > 1:
        return value == pattern[1:]
    if len(pattern) > 2 and pattern[0] == '/' and pattern[-1] == '/':
        return bool(re.search(pattern[1:-1], value))
    return pattern.lower() in value.lower()


def roles_of(role):
    """The set of roles that a search means, or None for all."""
    if role is None or role == '*':
        return None
    out = []
    for one in ((role,) if isinstance(role, str) else role):
        if one not in ROLES and one not in GROUPS:
            raise ValueError(f'no such role: {one}')
        out += GROUPS.get(one, (one,))
    return set(out)
