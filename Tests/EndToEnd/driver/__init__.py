"""Drives the program the way a person or a screen reader does: it is seen through the accessibility tree (AT-SPI over D-Bus), real
key and pointer events (XTest) and pictures of the screen, and through nothing of its sources.

    from driver import Session
    with Session() as session:
        session.launch(["build/debug/tessarin"])
        session.wait_window("tessarin")
        session.click_on("~button", "=Open a Project")

Runs with Debian's /usr/bin/python3 and python3-gi; the programs it needs stand in Packaging/packages.
"""
from .errors import Gone, UiError
from .session import Session

__all__ = ["Gone", "Session", "UiError"]
