"""Replays recorded sessions of kelpnms to a host, modified as a hostile client would modify them, for a given time:
soak.py BIN_DIR SECONDS [SEED]. Fails if the host ends, spins, grows, or does not serve a well-behaved NMS meanwhile."""

import os
import random
import re
import shutil
import signal
import socket
import statistics
import struct
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../system/attacks"))

from giop import *
from mutation import mutated
from recording_relay import RecordingRelay

PASSWORD = "open sesame 7"
USERS = ["recorded"] + [f"player{i}" for i in range(6)]
SESSION_OPERATIONS = {b"ping", b"endSession", b"getManager", b"getEventChannel", b"getSupportedManagers",
                      b"_get_associatedSession"}
#: Permitted growth of resident memory, from the end of the first fifth of the run to its end.
GROWTH_MIB = 32


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    return [each.getsockname()[1] for each in sockets]


class Host:
    def __init__(self, bin_dir, folder):
        self.bin, self.folder = bin_dir, folder
        self.port, self.naming_port = free_ports(2)
        self.relay = RecordingRelay(self.port)
        self.config = os.path.join(folder, "kelp.toml")
        self._configure(f'publish = "127.0.0.1:{self.relay.port}"')
        self.environment = dict(os.environ, XDG_STATE_HOME=folder, KELPNMS_PASSWORD=PASSWORD)
        password_file = os.path.join(folder, "password")
        with open(password_file, "w") as out:
            out.write(PASSWORD + "\n")
        os.chmod(password_file, 0o600)
        for user in USERS:
            self.run("kelpctl", "--config", self.config, "user", "add", user, "--password-file", password_file)
        self.run("kelpctl", "--config", self.config, "inventory", "generate", "--elements", "40", "--ports", "800",
                 "--seed", "7", "--replace")
        self._start()

    def _configure(self, published=""):
        with open(self.config, "w") as out:
            out.write(f"""[orb]
listen = "127.0.0.1:{self.port}"
{published}
[access]
allowed_oss = ["127.0.0.0/8"]
[naming]
port = {self.naming_port}
[session]
ping_interval_s = 5
call_timeout_s = 2
[security]
database = "{self.folder}/users.db"
lockout_failures = 1000
[inventory]
database = "{self.folder}/inventory.db"
[oplog]
database = "{self.folder}/oplog.db"
keep_mib = 64
[trace]
sinks = ["file"]
file = "{self.folder}/kelpd.log"
""")

    def _start(self):
        self.process = subprocess.Popen([os.path.join(self.bin, "kelpd"), "--config", self.config],
                                        env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def restart_without_relay(self):
        """Remove the relay: from now on NMS call the host directly."""
        self.process.terminate()
        self.process.wait(60)
        self._configure()
        self._start()
        self.wait_until_ready()

    def run(self, program, *arguments, check=True, limit=120):
        done = subprocess.run([os.path.join(self.bin, program), *arguments], env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=limit)
        if check and done.returncode != 0:
            raise SystemExit(f"soak: {program} {' '.join(arguments)}: {done.stderr.decode(errors='replace')}")
        return done.returncode

    def nms(self, *command, check=True):
        return self.run("kelpnms", "--naming", f"127.0.0.1:{self.naming_port}", "--user", USERS[0], *command,
                        check=check)

    def wait_until_ready(self):
        end = time.monotonic() + 60
        while self.nms("managers", check=False) != 0:
            if time.monotonic() > end or self.process.poll() is not None:
                raise SystemExit("soak: the host does not start")
            time.sleep(0.5)

    def resident_mib(self):
        with open(f"/proc/{self.process.pid}/status") as status:
            found = re.search(r"VmRSS:\s+(\d+)", status.read())
        return int(found.group(1)) / 1024 if found else 0.0

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def threads(self):
        return len(os.listdir(f"/proc/{self.process.pid}/task"))


def record(host):
    """Return one list of recorded messages per connection. Each message has the role of the object that it calls."""
    host.wait_until_ready()
    host.relay.recordings.clear()
    for command in (["managers"], ["ems"], ["elements"], ["ports", "--batch", "50"], ["equipment"], ["links"],
                    ["events", "--for", "3"], ["watch", "--for", "2"]):
        host.nms(*command, check=False)
    streams = []
    for recording in host.relay.recordings:
        stream = [(role_of(whole), whole) for from_client, whole in recording.messages if from_client]
        if stream:
            streams.append(stream)
    if sum(map(len, streams)) < 30:
        raise SystemExit("soak: hardly anything was recorded")
    return streams


def key_of(whole):
    """Return (begin, end) of the object key of a GIOP 1.2 request, or None for any other message."""
    if whole[5] != 2 or whole[7] != REQUEST or struct.unpack_from("<H", whole, 20)[0] != KEY_ADDR:
        return None
    length, = struct.unpack_from("<I", whole, 24)
    return 28, 28 + length


def operation_of(whole):
    _, end = key_of(whole)
    at = end + -end % 4
    length, = struct.unpack_from("<I", whole, at)
    return whole[at + 4:at + 3 + length]


def role_of(whole):
    if key_of(whole) is None:
        return None
    begin, end = key_of(whole)
    key = whole[begin:end]
    if key == FACTORY_KEY or b"<USERNAME_TAG>" not in key and b"notification" not in key:
        return None
    if b"notification" in key:
        return "channel"
    return "session" if operation_of(whole) in SESSION_OPERATIONS else "manager"


def with_key(whole, key):
    """Return the request with another object key, without its service contexts. The arguments stay aligned."""
    begin, end = key_of(whole)
    at = end + -end % 4
    operation = operation_of(whole)
    body_at = at + 4 + len(operation) + 1
    body_at += -body_at % 4
    contexts, = struct.unpack_from("<I", whole, body_at)
    reader = Reader(whole, True, body_at + 4)
    for _ in range(contexts):
        reader.ulong(), reader.sequence()
    arguments = whole[reader.at + -reader.at % 8:]
    cdr = Cdr(12).raw(whole[12:24]).sequence(key).string(operation).ulong(0)
    if arguments:
        cdr.align(8).raw(arguments)
    return message(REQUEST, cdr.octets)


class Player:
    """An attacker with an account. It keeps a session, answers pings, and replays modified recordings. It has a separate
    address, so that the host's limits for an address do not affect the well-behaved NMS."""

    def __init__(self, host, user, streams, seed):
        self.host, self.user, self.streams = host, user, streams
        self.address = "127.0.1." + str(1 + USERS.index(user))
        self.random = random.Random(seed)
        self.played, self.logins = 0, 0
        self.keys = {}
        self.listener = socket.socket()
        self.listener.bind((self.address, 0))
        self.listener.listen(20)
        threading.Thread(target=self._answer_pings, daemon=True).start()

    def _answer_pings(self):
        while True:
            peer, _ = self.listener.accept()
            threading.Thread(target=self._answer, args=(peer,), daemon=True).start()

    @staticmethod
    def _answer(peer):
        connection = Connection.__new__(Connection)
        connection.socket = peer
        try:
            while True:
                kind, whole = connection.receive()
                if kind == REQUEST and whole[16] & 3:
                    connection.send(message(REPLY, whole[12:16] + struct.pack("<II", 0, 0)))
        except (Closed, OSError, AssertionError):
            peer.close()

    def _log_in(self):
        with Connection(self.host.port, self.address, patience=10) as connection:
            session = log_in(connection, self.user, PASSWORD, self.address, self.listener.getsockname()[1])
            if session is None:
                return
            self.logins += 1
            self.keys = {"session": [session], "manager": [], "channel": []}
            for name in ("EMS", "ManagedElement", "EquipmentInventory", "MultiLayerSubnetwork"):
                status, reader = connection.call("getManager", session, lambda cdr: cdr.string(name))
                if status == NO_EXCEPTION:
                    self.keys["manager"].append(reader.reference()[2])
            status, reader = connection.call("getEventChannel", session)
            if status == NO_EXCEPTION:
                self.keys["channel"].append(reader.reference()[2])

    def _fitted(self, stream):
        """Return the recorded messages, with the keys of existing objects where such objects exist."""
        made = []
        for role, whole in stream:
            keys = self.keys.get(role)
            made.append(with_key(whole, self.random.choice(keys)) if keys and key_of(whole) else whole)
        return made

    def play_once(self):
        if not self.keys or self.random.random() < 0.02:
            self._log_in()
        stream = self.random.choice(self.streams)
        begin = self.random.randrange(len(stream))
        messages = mutated(self._fitted(stream[begin:begin + self.random.randint(1, 12)]), self.random)
        with Connection(self.host.port, self.address, patience=0.5) as connection:
            octets = b"".join(messages)
            while octets:
                cut = self.random.choice((len(octets), len(octets), self.random.randint(1, 40)))
                connection.send(octets[:cut])
                octets = octets[cut:]
            self.played += len(messages)
            if self.random.random() < 0.7:
                connection.socket.settimeout(self.random.choice((0.005, 0.02, 0.2)))
                while connection.socket.recv(65536):
                    pass

    def play_until(self, end):
        while time.monotonic() < end:
            try:
                self.play_once()
            except (Closed, OSError):
                pass
            except (struct.error, AssertionError, IndexError, TypeError):
                self.keys = {}


def main():
    bin_dir, seconds = sys.argv[1], float(sys.argv[2])
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 30)
    print(f"soak: {seconds:.0f} s, seed {seed}", flush=True)
    folder = tempfile.mkdtemp(prefix="kelp-soak.")
    host = Host(bin_dir, folder)
    failures = []
    try:
        streams = record(host)
        print(f"soak: {sum(map(len, streams))} messages of {len(streams)} connections recorded", flush=True)
        host.restart_without_relay()
        players = [Player(host, user, streams, f"{seed} {user}") for user in USERS[1:]]
        begin = time.monotonic()
        end = begin + seconds
        threads = [threading.Thread(target=each.play_until, args=(end,), daemon=True) for each in players]
        for each in threads:
            each.start()
        samples, checks, next_report = [], 0, begin
        while time.monotonic() < end and host.process.poll() is None:
            time.sleep(1)
            samples.append((time.monotonic() - begin, host.resident_mib()))
            if len(samples) % 20 == 10:
                checks += 1
                if host.nms("elements", check=False) != 0:
                    failures.append(f"a well-behaved NMS was not served after {samples[-1][0]:.0f} s")
            if time.monotonic() >= next_report:
                next_report += 60
                print(f"soak: {samples[-1][0]:.0f} s, {sum(p.played for p in players)} messages, "
                      f"{samples[-1][1]:.0f} MiB, {host.threads()} threads", flush=True)
        for each in threads:
            each.join()
        if host.process.poll() is not None:
            failures.append(f"the host has ended with {host.process.returncode}")
        else:
            judge_rest(host, samples, seconds, failures)
        print(f"soak: {sum(p.played for p in players)} messages, {sum(p.logins for p in players)} log-ins, "
              f"{checks} checks with kelpnms", flush=True)
    finally:
        if host.process.poll() is None:
            host.process.kill()
        if failures:
            with open(os.path.join(folder, "kelpd.log"), errors="replace") as log:
                print("".join(log.readlines()[-60:]))
        shutil.rmtree(folder, ignore_errors=True)
    for failure in failures:
        print(f"soak: FAILED: {failure}")
    return 1 if failures else 0


def judge_rest(host, samples, seconds, failures):
    """Check the host after the attack: its processor time, its memory, and that it stops on request."""
    def median_around(moment):
        near = [mib for at, mib in samples if abs(at - moment) <= max(5, seconds / 20)]
        return statistics.median(near)
    early, late = median_around(seconds * 0.2), median_around(seconds * 0.95)
    print(f"soak: {early:.0f} MiB after a fifth of the time, {late:.0f} MiB at the end", flush=True)
    if late > early + GROWTH_MIB:
        failures.append(f"memory grew from {early:.0f} to {late:.0f} MiB")
    for _ in range(30):
        before = host.processor_seconds()
        time.sleep(1)
        used = host.processor_seconds() - before
        if used < 0.2:
            break
    else:
        failures.append(f"the host uses {used:.2f} s of processor time a second when nobody calls")
    host.process.send_signal(signal.SIGTERM)
    try:
        if host.process.wait(60) != 0:
            failures.append(f"the stop ended with {host.process.returncode}")
    except subprocess.TimeoutExpired:
        failures.append("the host does not stop")


if __name__ == "__main__":
    sys.exit(main())
