"""What stands in for the installed programs in the tests that need none of them."""
import json
import os

from vendors import VENDORS


def packages(folder):
    """The folder of the programs, with the packages of all vendors beside it: the first has version 0.0, the next 1.0."""
    for number, vendor in enumerate(VENDORS.values()):
        package = os.path.join(folder, 'node_modules', vendor.package)
        os.makedirs(package)
        with open(os.path.join(package, 'package.json'), 'w') as file:
            json.dump({'version': f'{number}.0'}, file)
    programs = os.path.join(folder, 'node_modules', '.bin')
    os.makedirs(programs)
    return programs
