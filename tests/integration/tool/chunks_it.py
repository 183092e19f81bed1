#!/usr/bin/env python3
"""orlodbc copy in chunks: memory that stays flat as the table grows, through
a PostgreSQL data source whose driver would otherwise hold the whole result;
a copy killed half-way and run again with --resume ends with exactly the
source's rows, into PostgreSQL, MariaDB and SQLite.

Usage: chunks_it.py PATH_TO_ORLODBC [unittest args]"""
import os
import re
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import toolrig  # noqa: E402  takes the tool's path from the arguments
import roundtrip_it as rt  # noqa: E402  the databases' own clients

rt.ORLODBC = toolrig.ORLODBC
client = rt.client
TARGETS = ["pg", "maria", "sqlite"]
BIG = 500000
SMALL = 50000


def copy_args(dst, table, *args):
    return (["copy"] + toolrig.conn_args("pg", "from") + toolrig.conn_args(dst, "to")
            + ["--table", table, "--progress", "never"] + list(args))


def run_measured(args):
    """Runs the tool: its exit status and its own peak resident memory in KB."""
    pid = os.fork()
    if pid == 0:
        devnull = os.open(os.devnull, os.O_WRONLY)
        os.dup2(devnull, 1)
        os.execv(toolrig.ORLODBC, [toolrig.ORLODBC] + args)
    _, status, usage = os.wait4(pid, 0)
    return os.waitstatus_to_exitcode(status), usage.ru_maxrss


def fingerprint(label, table):
    """What the database computes of the rows: count, distinct keys, sums."""
    return client(label, "SELECT COUNT(*), COUNT(DISTINCT id), SUM(id), SUM(a), SUM(LENGTH(note)) FROM %s" % table)[0]


class Chunks(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.made = False

    def source(self):
        toolrig.require(self, "pg")
        if not Chunks.made:
            for name, rows in (("orl_ck_small", SMALL), ("orl_ck_big", BIG)):
                client("pg", "DROP TABLE IF EXISTS %s" % name)
                client("pg", "CREATE TABLE %s (id integer PRIMARY KEY, a integer, note varchar(40))" % name)
                client("pg", "INSERT INTO %s SELECT i, i %% 977, 'row ' || i FROM generate_series(1, %d) i"
                       % (name, rows))
            Chunks.made = True

    def test_memory_stays_flat_as_the_table_grows(self):
        # A sanitizer's allocator keeps freed memory in quarantine, so its peak
        # grows with the rows read whatever the copy holds: the plain build
        # measures this.
        if any(os.environ.get(k) for k in ("ASAN_OPTIONS", "TSAN_OPTIONS")):
            self.skipTest("peak memory means nothing under a sanitizer's allocator")
        self.source()
        peaks = {}
        for name in ("orl_ck_small", "orl_ck_big"):
            status, peaks[name] = run_measured(copy_args("pg", name, "--to-table", "orl_ck_mem", "--create",
                                                         "--drop-existing"))
            self.assertEqual(0, status)
        self.assertEqual([str(BIG)], client("pg", "SELECT COUNT(*) FROM orl_ck_mem")[0])
        # Ten times the rows in at most a few MB more: read whole, this driver holds about 200 MB more.
        grew = peaks["orl_ck_big"] - peaks["orl_ck_small"]
        self.assertLess(grew, 8 * 1024, "peak %d KB at %d rows, %d KB at %d" %
                        (peaks["orl_ck_big"], BIG, peaks["orl_ck_small"], SMALL))

    def test_a_killed_copy_resumes_to_exactly_the_source(self):
        self.source()
        want = fingerprint("pg", "orl_ck_big")
        chunk = 2000
        for dst in TARGETS:
            with self.subTest(target=dst):
                toolrig.require(self, dst)
                client(dst, "DROP TABLE IF EXISTS orl_ck_res")
                # Two jobs into the server: their chunks commit out of key order, leaving gaps to find.
                args = copy_args(dst, "orl_ck_big", "--to-table", "orl_ck_res", "--create", "--drop-existing",
                                 "--chunk-rows", str(chunk), "--batch", "100", "--commit-every", str(chunk),
                                 "--jobs", "2" if dst == "pg" else "1")
                p = subprocess.Popen([toolrig.ORLODBC] + args, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                held = 0
                deadline = time.time() + 60
                while time.time() < deadline and p.poll() is None:
                    try:
                        held = int(client(dst, "SELECT COUNT(*) FROM orl_ck_res")[0][0])
                    except AssertionError:
                        held = 0  # not made yet, or locked a moment
                    if held > 0:
                        break
                    time.sleep(0.02)
                p.kill()  # SIGKILL: no rollback, no clean-up
                p.wait()
                self.assertEqual(-9, p.returncode, "the copy ended before it could be killed")
                held = int(client(dst, "SELECT COUNT(*) FROM orl_ck_res")[0][0])
                self.assertLess(held, BIG)
                self.assertEqual(0, held % chunk, "the target holds part of a chunk: %d rows" % held)

                p = toolrig.run(args + ["--resume", "--verify"])
                m = re.search(r"^resumed: the target holds (\d+) rows", p.stdout, re.M)
                self.assertIsNotNone(m, p.stdout)
                self.assertEqual(held, int(m.group(1)))
                self.assertIn("copied %d rows" % (BIG - held), p.stdout)
                self.assertIn("verified %d rows" % BIG, p.stdout)
                self.assertEqual(want, fingerprint(dst, "orl_ck_res"))
                # Once more: nothing is left to copy, and nothing is copied twice.
                p = toolrig.run(args + ["--resume"])
                self.assertIn("copied 0 rows", p.stdout)
                self.assertEqual(want, fingerprint(dst, "orl_ck_res"))

    def test_values_longer_than_a_block_cell_arrive_whole_through_the_cursor(self):
        # Unbounded texts and bytea past the room a row block gives them are read again on their row,
        # here where the driver fetches through a server-side cursor.
        toolrig.require(self, "pg", "sqlite")
        client("pg", "DROP TABLE IF EXISTS orl_ck_long")
        client("pg", "CREATE TABLE orl_ck_long (id integer PRIMARY KEY, t text, b bytea)")
        client("pg", "INSERT INTO orl_ck_long SELECT i, i || ':' || repeat(chr(97 + i % 26), 200 + i % 300), "
                     "decode(repeat(lpad(to_hex(i % 256), 2, '0'), 100 + i % 400), 'hex') "
                     "FROM generate_series(1, 3000) i")
        _, user, password = toolrig.DSNS["pg"]
        toolrig.run(["copy", "--from", "orl_pg_cursor", "--from-user", user, "--from-password", password]
                    + toolrig.conn_args("sqlite", "to") + ["--table", "orl_ck_long", "--create", "--drop-existing",
                                                           "--progress", "never", "--batch", "100"])
        want = client("pg", "SELECT id, t, upper(encode(b, 'hex')) FROM orl_ck_long ORDER BY id")
        self.assertEqual(want, client("sqlite", "SELECT id, t, hex(b) FROM orl_ck_long ORDER BY id"))

    def test_resume_refuses_what_it_cant_find_its_place_in(self):
        self.source()
        client("pg", "DROP TABLE IF EXISTS orl_ck_nokey")
        client("pg", "CREATE TABLE orl_ck_nokey AS SELECT * FROM orl_ck_small")
        p = toolrig.run(copy_args("pg", "orl_ck_nokey", "--to-table", "orl_ck_res2", "--create", "--resume"), expect=2)
        self.assertIn("no primary key", p.stderr)
        # A target holding part of a chunk was not written by this copy's chunks.
        client("pg", "DROP TABLE IF EXISTS orl_ck_res2")
        client("pg", "CREATE TABLE orl_ck_res2 AS SELECT * FROM orl_ck_small WHERE id <= 30")
        p = toolrig.run(copy_args("pg", "orl_ck_small", "--to-table", "orl_ck_res2", "--chunk-rows", "20",
                                  "--resume"), expect=1)
        self.assertIn("holds 10 of the source's 20 rows with keys (20, 40]", p.stderr)
        self.assertEqual(["30"], client("pg", "SELECT COUNT(*) FROM orl_ck_res2")[0])


if __name__ == "__main__":
    unittest.main(verbosity=2)
