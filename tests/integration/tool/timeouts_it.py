#!/usr/bin/env python3
"""Nothing waits forever, on PostgreSQL and MariaDB through orlodbc (and so
through the loaded driver): a connect to a server that accepts and never
answers ends within LoginTimeout + 2 s on the classic and the bulk path; a
statement past QueryTimeout fails and the next one on the same connection
runs; SIGINT or SIGTERM during a long query or a copy cancels the statement
on the server, keeps exactly the committed rows and exits 130 or 143.

Usage: timeouts_it.py PATH_TO_ORLODBC [unittest args]"""
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
CI = os.environ.get("CI") == "true"

DBS = {
    # label: dsn, user, password, sleep call, what the server lists of our
    # statements, a row that comes after a long sleep
    "pg": ("orl_pg", "orl", "orl_pw", "SELECT pg_sleep(%d)",
           "SELECT count(*) FROM pg_stat_activity WHERE query LIKE '%%orl_sleep_%s%%' AND pid <> pg_backend_pid()",
           "SELECT 6 AS orl_sleep_copy FROM pg_sleep(30)"),
    "maria": ("orl_maria", "orl", "orl_pw", "SELECT SLEEP(%d)",
              "SELECT count(*) FROM information_schema.PROCESSLIST WHERE INFO LIKE '%%orl_sleep_%s%%' "
              "AND ID <> CONNECTION_ID()",
              "SELECT 6 + 0 * SLEEP(30) AS orl_sleep_copy"),
}


def args_of(label, prefix=None):
    dsn, user, password = DBS[label][:3]
    if prefix is None:
        return ["-d", dsn, "-u", user, "-p", password]
    return ["--" + prefix, dsn, "--%s-user" % prefix, user, "--%s-password" % prefix, password]


def run(args, timeout=120):
    return subprocess.run([ORLODBC] + args, capture_output=True, text=True, timeout=timeout)


def reachable(label):
    p = run(["query"] + args_of(label) + ["-e", "SELECT 1"], timeout=60)
    if p.returncode != 0 and CI:
        raise AssertionError("%s unreachable under CI: %s" % (label, p.stderr))
    return p.returncode == 0


def scalar(label, sql):
    p = run(["query"] + args_of(label) + ["-e", sql])
    assert p.returncode == 0, p.stderr
    return p.stdout.splitlines()[1].strip()


class SilentServer:
    """A loopback listener that accepts connections and never says a word."""

    def __init__(self):
        self.sock = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.sock.bind(("127.0.0.1", 0))
        self.sock.listen(16)
        self.port = self.sock.getsockname()[1]
        self.held = []
        self.done = False
        self.thread = threading.Thread(target=self._accept, daemon=True)
        self.thread.start()

    def _accept(self):
        self.sock.settimeout(0.2)
        while not self.done:
            try:
                conn, _ = self.sock.accept()
                self.held.append(conn)
            except OSError:
                pass

    def close(self):
        self.done = True
        self.thread.join()
        for c in self.held:
            c.close()
        self.sock.close()


class Timeouts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.up = {label: reachable(label) for label in DBS}
        cls.silent = SilentServer()
        # The test DSNs, and one per driver pointed at the silent listener.
        source = os.environ.get("ODBCINI", "")
        text = ""
        if source:
            with open(source) as f:
                text = f.read()
        cls.ini = tempfile.NamedTemporaryFile("w", suffix=".ini", delete=False)
        cls.ini.write(text + "\n[orl_pg_silent]\nDriver=ORL PostgreSQL Unicode\nServername=127.0.0.1\n"
                      "Port=%d\nDatabase=orl_test\nSSLmode=disable\n" % cls.silent.port)
        cls.ini.write("\n[orl_maria_silent]\nDriver=ORL MariaDB Unicode\nServer=127.0.0.1\nPort=%d\n"
                      "Database=orl_test\n" % cls.silent.port)
        cls.ini.close()

    @classmethod
    def tearDownClass(cls):
        cls.silent.close()
        os.unlink(cls.ini.name)

    def need(self, label):
        if not self.up[label]:
            self.skipTest("%s is not reachable" % label)

    def test_connect_to_a_silent_server_ends_within_the_login_timeout(self):
        env = dict(os.environ, ODBCINI=self.ini.name)
        for driver in ("pg", "maria"):
            dsn = "orl_%s_silent" % driver
            # The bulk path's connect is measured by the driver's own test
            # (timeouts_integration): a copy opens a classic connection first.
            cases = [("classic", ["-d", dsn, "-u", "orl", "-p", "x", "--login-timeout", "2", "-e", "SELECT 1"])]
            for what, args in cases:
                with self.subTest(driver=driver, path=what):
                    start = time.monotonic()
                    p = subprocess.run([ORLODBC] + args, capture_output=True, text=True, timeout=60, env=env)
                    took = time.monotonic() - start
                    print("%s %s: connect to a silent server failed after %.2f s" % (driver, what, took))
                    self.assertNotEqual(0, p.returncode, p.stdout)
                    self.assertLess(took, 2 + 2, p.stderr)
                    if what == "classic":
                        self.assertIn("cannot open connection", p.stderr)

    def test_a_statement_past_its_query_timeout_fails(self):
        for label in DBS:
            with self.subTest(db=label):
                self.need(label)
                sleep = DBS[label][3] % 10
                start = time.monotonic()
                p = run(["query"] + args_of(label) + ["--query-timeout", "1", "-e", sleep])
                took = time.monotonic() - start
                print("%s: a 10 s statement with QueryTimeout=1 failed after %.2f s: %s"
                      % (label, took, p.stderr.strip().splitlines()[-1:]))
                self.assertEqual(1, p.returncode, p.stdout)
                self.assertLess(took, 1 + 3)
                self.assertIn("statement failed", p.stderr)

    def interrupt(self, label, args, marker, sig, after=2.0):
        proc = subprocess.Popen([ORLODBC] + args, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        time.sleep(after)
        start = time.monotonic()
        proc.send_signal(sig)
        out, err = proc.communicate(timeout=30)
        took = time.monotonic() - start
        gone = None
        for _ in range(20):  # the server may take a moment to let the session go
            gone = scalar(label, DBS[label][4] % marker)
            if gone == "0":
                break
            time.sleep(0.1)
        gone_after = time.monotonic() - start
        print("%s: %s to exit %.2f s, statement gone from the server after %.2f s"
              % (label, signal.Signals(sig).name, took, gone_after))
        self.assertEqual("0", gone, "our statement still runs on the server")
        return proc.returncode, out, err

    def test_a_signal_cancels_the_running_query_on_the_server(self):
        for label in DBS:
            for sig, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
                with self.subTest(db=label, signal=sig.name):
                    self.need(label)
                    marker = "q%d" % sig
                    sleep = (DBS[label][3] % 30) + " AS orl_sleep_" + marker
                    rc, out, err = self.interrupt(label, ["query"] + args_of(label) + ["-e", sleep], marker, sig)
                    self.assertEqual(code, rc, err)
                    # The driver's log line of the cancelled statement comes first.
                    self.assertEqual("orlodbc: interrupted; nothing was committed", err.strip().splitlines()[-1])

    def test_a_signal_during_a_copy_keeps_exactly_the_committed_rows(self):
        # The source's last row comes only after a long sleep. PostgreSQL's
        # cursor data source hands over 1,000 rows a fetch, so 1,000 rows
        # are written and committed (every 200) before the copy waits; the
        # MariaDB driver hands over a result only whole, so nothing is.
        cases = [
            ("pg", "orl_pg_cursor", "SELECT g AS id FROM generate_series(1, 1500) g "
                                    "UNION ALL SELECT 6 AS orl_sleep_copy FROM pg_sleep(30)", 1000),
            ("maria", "orl_maria", "SELECT id FROM orl_int_src UNION ALL "
                                   "SELECT 6 + 0 * SLEEP(30) AS orl_sleep_copy", 0),
        ]
        for label, source, query, kept in cases:
            with self.subTest(db=label):
                self.need(label)
                setup = ["DROP TABLE IF EXISTS orl_int_src", "DROP TABLE IF EXISTS orl_int_dst",
                         "CREATE TABLE orl_int_src (id integer)", "CREATE TABLE orl_int_dst (id integer)",
                         "INSERT INTO orl_int_src VALUES (1), (2), (3), (4), (5)"]
                p = run(["query"] + args_of(label) + sum((["-e", s] for s in setup), []))
                self.assertEqual(0, p.returncode, p.stderr)
                args = (["copy", "--from", source] + args_of(label, "from")[2:] + args_of(label, "to") +
                        ["--query", query, "--to-table", "orl_int_dst", "--commit-every", "200", "--batch", "100"])
                rc, out, err = self.interrupt(label, args, "copy", signal.SIGINT, after=3.0)
                self.assertEqual(130, rc, err)
                self.assertEqual(str(kept), scalar(label, "SELECT count(*) FROM orl_int_dst"))
                self.assertEqual("orlodbc: interrupted; the target keeps the %d rows committed before it" % kept,
                                 err.strip().splitlines()[-1])
                self.assertEqual("", out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
