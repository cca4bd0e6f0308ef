"""What can go wrong while a window is driven."""


class UiError(AssertionError):
    """Something was not found, not in time, or not possible."""


class Gone(UiError):
    """The element, or the application, is no longer there."""
