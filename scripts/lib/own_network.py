"""A separate network with the loopback interface alone, for checks that use the default ports."""

import os
import subprocess
import sys

MARK = "KELP_OWN_NETWORK"


def enter():
    """Start this script again in a separate network, unless that has been done."""
    if os.environ.get(MARK) == "yes":
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        return
    os.environ[MARK] = "yes"
    os.execvp("unshare", ["unshare", "--map-root-user", "--net", sys.executable, *sys.argv])
