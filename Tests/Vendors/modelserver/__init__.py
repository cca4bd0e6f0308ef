"""A model that says what a test has asked it to say, in the dialects that the vendors' programs speak."""
