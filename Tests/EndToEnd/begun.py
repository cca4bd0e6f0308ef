"""A task in which something was said before."""
from acp import opening, script
from desk import entry, task


class Begun:
    """Goes in front of a WindowCase."""

    def open_begun(self, title, *steps, project='aurora', prefix=(), others=()):
        """The program on a task that has begun, with other ones below it, and a runtime that plays these steps behind its opening."""
        self.desk.install('grok', script(list(prefix), opening(), *steps))
        self.open_project((self.desk.project(project), [task(title, [entry('user', 'Earlier.')]), *others]))
        self.reads('Earlier.')
