"""Cuts this process and all that it starts off from every network but the loopback address."""
import ctypes
import fcntl
import os
import socket
import struct

# For the environment: a program that wants more than this machine finds nobody there, if it heeds it.
NOWHERE = {'HTTP_PROXY': 'http://127.0.0.1:9', 'HTTPS_PROXY': 'http://127.0.0.1:9', 'NO_PROXY': '127.0.0.1,localhost'}
_LIBC = ctypes.CDLL(None, use_errno=True)
_CLONE_NEWNET = 0x40000000
_SIOCGIFFLAGS, _SIOCSIFFLAGS = 0x8913, 0x8914
_IFF_UP = 1


def only_loopback():
    """Whether it could be done: it needs a right that root has."""
    if _LIBC.unshare(_CLONE_NEWNET) != 0:
        print(f'The network stays open, since only root can shut it: {os.strerror(ctypes.get_errno())}.', flush=True)
        return False
    # A new network begins with a loopback device that is down.
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as device:
        flags = struct.unpack('16sh', fcntl.ioctl(device, _SIOCGIFFLAGS, struct.pack('16sh', b'lo', 0)))[1]
        fcntl.ioctl(device, _SIOCSIFFLAGS, struct.pack('16sh', b'lo', flags | _IFF_UP))
    return True
