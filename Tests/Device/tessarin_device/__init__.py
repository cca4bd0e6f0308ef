"""The device's side of tessarin's remote host, in pure Python but for AES: frames, pairing links, messages, media and a connection.

It is written from the description of the protocol in Documentation/remote-host.md and shares nothing with the program, not even a
library: AES comes from pycryptodome.
"""
