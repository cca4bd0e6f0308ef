#!/usr/bin/python3
"""A model on the loopback address for the vendors' programs: no account, no network, and the same answers every time.

    model_server.py [--port 0] [--log FILE] [--ttl SECONDS] [--requests COUNT] [--utilization 0.42]

Prints one line, `PORT n`, when it listens, and ends after --ttl seconds, after --requests requests or with SIGTERM. What a turn does is
chosen by the prompt: see modelserver/scenarios.py. Each request is one line of JSON in the log, without its keys.
"""
import argparse
import os
import signal
import sys
import threading

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from modelserver.log import Log  # noqa: E402
from modelserver.service import ModelService  # noqa: E402


def arguments():
    parser = argparse.ArgumentParser(description='A model on the loopback address.')
    parser.add_argument('--port', type=int, default=0, help='0 chooses a free one')
    parser.add_argument('--log', default='', help='a file that gets one line of JSON for each request')
    parser.add_argument('--ttl', type=float, default=900, help='seconds after which it ends in any case')
    parser.add_argument('--requests', type=int, default=5000, help='requests after which it ends in any case')
    parser.add_argument('--utilization', type=float, default=0.42, help='what is used of the allowance, 0 to 1')
    return parser.parse_args()


def main():
    given = arguments()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    service = ModelService(given.port, Log(given.log), given.requests, given.utilization)
    end = threading.Timer(given.ttl, service.shutdown)
    end.daemon = True
    end.start()
    print(f'PORT {service.port}', flush=True)
    service.serve_forever()
    if service.has_too_many_requests:
        sys.exit(f'{given.requests} requests are more than any test makes')


if __name__ == '__main__':
    main()
