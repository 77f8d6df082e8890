"""Measures how a crowd of connections affects a logged-in NMS: the round-trip times of its calls, alone and together
with idle connections and half-open TLS handshakes from another address.

usage: crowd_bench.py BIN_DIR [CONNECTIONS] [CALLS]

Slices with and without the crowd take turns on one connection. The ratio compares the 99th percentiles over all slices
of each kind. The crowd is a separate process. It does not reopen connections that the host closes."""

import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/system/attacks"))

from attacker import Caller, reply
from giop import *

PASSWORD = "open sesame 7"
SLICES = 6


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    return [each.getsockname()[1] for each in sockets]


def make_certificate(folder):
    key, certificate = os.path.join(folder, "ems.pem"), os.path.join(folder, "ca.pem")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=ems",
                    "-keyout", key, "-out", certificate], check=True, capture_output=True)
    with open(key, "a") as out, open(certificate) as made:
        out.write(made.read())
    os.chmod(key, 0o600)
    return key, certificate


def start_host(bin_dir, folder, port, tls_port, naming_ports):
    key, certificate = make_certificate(folder)
    config = os.path.join(folder, "kelp.toml")
    with open(config, "w") as out:
        out.write(f"""[orb]
listen = "127.0.0.1:{port}"
[tls]
mode = 1
listen = "127.0.0.1:{tls_port}"
ca = "{certificate}"
certificate = "{key}"
[naming]
port = {naming_ports[0]}
ssl_port = {naming_ports[1]}
[access]
allowed_oss = ["127.0.0.1", "127.0.0.3"]
[trace]
sinks = ["file"]
file = "{folder}/kelpd.log"
""")
    environment = dict(os.environ, XDG_STATE_HOME=folder)
    password_file = os.path.join(folder, "password")
    with open(password_file, "w") as out:
        out.write(PASSWORD + "\n")
    os.chmod(password_file, 0o600)
    subprocess.run([os.path.join(bin_dir, "kelpctl"), "--config", config, "user", "add", "alice", "--password-file",
                    password_file], check=True, env=environment, capture_output=True)
    return subprocess.Popen([os.path.join(bin_dir, "kelpd"), "--config", config], env=environment,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def log_in_when_ready(port, nms):
    for _ in range(300):
        try:
            connection = Connection(port, patience=20)
            session = log_in(connection, "alice", PASSWORD, "127.0.0.1", nms.port)
            if session is not None:
                return connection, session
        except (Closed, OSError):
            pass
        time.sleep(0.1)
    raise SystemExit("crowd_bench: the host does not start")


def round_trips(connection, session, calls):
    octets = request(1, "ping", session)
    times = []
    for _ in range(calls):
        begin = time.perf_counter()
        connection.send(octets)
        connection.receive()
        times.append(time.perf_counter() - begin)
    return times


class Crowd:
    """Idle connections to one port, and connections to another that begin a TLS handshake and send nothing more."""

    def __init__(self, source, count, port, tls_port):
        self.process = subprocess.Popen([sys.executable, os.path.abspath(__file__), "--crowd", source, str(count),
                                         str(port), str(tls_port)], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.held = self.process.stdout.readline().decode().strip()

    def leave(self):
        self.process.stdin.close()
        self.process.wait()


def be_a_crowd(source, count, port, tls_port):
    #: the record header of a ClientHello whose body is never sent
    beginning = b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"
    held = []
    for at in range(2 * count):
        try:
            connection = Connection(port if at % 2 else tls_port, source, patience=2)
            if at % 2 == 0:
                connection.send(beginning)
            held.append(connection)
        except (Closed, OSError):
            pass
    print(len(held), flush=True)
    sys.stdin.read()


def percentile(times, share):
    return sorted(times)[int(len(times) * share)] * 1e6


def main():
    bin_dir = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5000
    calls = int(sys.argv[3]) if len(sys.argv) > 3 else 4000
    folder = tempfile.mkdtemp(prefix="kelp-crowd.")
    port, tls_port, *naming_ports = free_ports(4)
    host = start_host(bin_dir, folder, port, tls_port, naming_ports)
    try:
        nms = Caller(lambda caller, peer, kind, request_id: peer.send(
            reply(request_id, NO_EXCEPTION, lambda cdr: cdr)) or True)
        connection, session = log_in_when_ready(port, nms)
        round_trips(connection, session, 500)
        for name, source in (("foreign", "127.0.0.2"), ("allowed, no log-in", "127.0.0.3")):
            alone, beside = [], []
            for _ in range(SLICES):
                alone += round_trips(connection, session, calls)
                crowd = Crowd(source, count, port, tls_port)
                beside += round_trips(connection, session, calls)
                crowd.leave()
            for share in (0.5, 0.99):
                print(f"{name}: {crowd.held} of {2 * count} connections opened; p{share * 100:.0f} "
                      f"{percentile(alone, share):.0f} us alone, {percentile(beside, share):.0f} us beside them, "
                      f"ratio {percentile(beside, share) / percentile(alone, share):.2f}", flush=True)
    finally:
        host.kill()
        host.wait()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--crowd"]:
        be_a_crowd(sys.argv[2], *map(int, sys.argv[3:]))
    else:
        main()
