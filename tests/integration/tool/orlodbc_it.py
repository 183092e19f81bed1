#!/usr/bin/env python3
"""orlodbc end to end on the test databases: copies between them with
verification, a refused row, parallel ranges, query output read back by real
parsers, and the progress line on a terminal.

Usage: orlodbc_it.py PATH_TO_ORLODBC [unittest args]"""
import csv
import io
import json
import os
import pty
import re
import select
import unittest

from toolrig import ORLODBC, conn_args, require, run, sql


# Every type the three databases share, in each one's words. SQLite keeps a
# DECIMAL as a float of 15 digits, so its exact decimals live in TEXT;
# its driver writes timestamps to the millisecond.
DDL = {
    "sqlite": "id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s TEXT, b BLOB, d TEXT, ts TIMESTAMP, dt DATE, tm TIME",
    "pg": "id INTEGER, i INTEGER, l BIGINT, f DOUBLE PRECISION, s TEXT, b BYTEA, d NUMERIC(18,2), "
          "ts TIMESTAMP(3), dt DATE, tm TIME",
    "maria": "id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s LONGTEXT, b LONGBLOB, d DECIMAL(18,2), "
             "ts DATETIME(3), dt DATE, tm TIME",
}
LONG_TEXT = "".join(chr(ord("a") + k % 26) for k in range(5000))


def hexbytes(label, hexdigits):
    return ("decode('%s', 'hex')" % hexdigits) if label == "pg" else ("X'%s'" % hexdigits)


def sample_rows(label):
    """Literal rows: ordinary, all NULL, empties and extremes, pre-1970 and long."""
    return [
        "(1, 42, -9000000000, 2.5, 'hello, \"world\"', %s, '1234567890123456.78', '2026-11-21 08:00:00.125', "
        "'2026-11-21', '23:59:59')" % hexbytes(label, "00ff0001"),
        "(2, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL)",
        "(3, -2147483647, 9007199254740993, -1e10, '', %s, '-0.01', '1969-12-31 23:59:59.999', "
        "'1950-02-03', '00:00:00')" % hexbytes(label, ""),
        "(4, 0, 0, 0.1, '%s', %s, '0', '1901-01-01 00:00:00.001', '1900-01-01', '12:34:56')"
        % (LONG_TEXT, hexbytes(label, "00" * 300 + "ff")),
    ]


def make_source(label, table):
    sql(label, "DROP TABLE IF EXISTS " + table, "CREATE TABLE %s (%s)" % (table, DDL[label]),
        *["INSERT INTO %s VALUES %s" % (table, r) for r in sample_rows(label)])


def count(label, table):
    out = sql(label, "SELECT COUNT(*) FROM " + table).splitlines()
    return int(out[1])


class Copy(unittest.TestCase):
    def copy(self, src, dst, table, *extra, expect=0):
        return run(["copy"] + conn_args(src, "from") + conn_args(dst, "to") + ["--table", table] + list(extra),
                   expect=expect)

    def test_every_shared_type_between_the_three(self):
        # MariaDB to SQLite goes into a table made ahead with a TEXT decimal.
        for src, dst, create in (("sqlite", "pg", True), ("pg", "maria", True), ("maria", "sqlite_copy", False)):
            with self.subTest(src=src, dst=dst):
                require(self, src, dst)
                table = "orl_tool_types"
                make_source(src, table)
                extra = ["--verify", "--commit-every", "3", "--batch", "2"]
                if create:
                    extra += ["--create", "--drop-existing"]
                else:
                    sql(dst, "DROP TABLE IF EXISTS " + table, "CREATE TABLE %s (%s)" % (table, DDL["sqlite"]))
                p = self.copy(src, dst, table, *extra)
                self.assertRegex(p.stdout, r"copied 4 rows from .* to .*%s" % table)
                self.assertRegex(p.stdout, r"verified 4 rows, checksum [0-9a-f]{16}")
                # The texts as each database prints them are its own; the values the same.
                got = [json.loads(line) for line in sql(dst, "SELECT id, s, d, l FROM %s ORDER BY id" % table,
                                                        output="json").splitlines()]
                self.assertEqual([1, 2, 3, 4], [r["id"] for r in got])
                self.assertEqual(['hello, "world"', None, "", LONG_TEXT], [r["s"] for r in got])
                self.assertEqual(9007199254740993, got[2]["l"])
                self.assertEqual("1234567890123456.78", got[0]["d"])

    def test_verify_names_the_column_that_differs(self):
        require(self, "sqlite", "sqlite_copy")
        make_source("sqlite", "orl_tool_types")
        sql("sqlite_copy", "DROP TABLE IF EXISTS orl_tool_types",
            "CREATE TABLE orl_tool_types (%s)" % DDL["sqlite"],
            # A trigger changes what lands, as a lossy target would.
            "CREATE TRIGGER orl_tool_cut AFTER INSERT ON orl_tool_types BEGIN "
            "UPDATE orl_tool_types SET s = substr(s, 1, 10) WHERE id = NEW.id; END")
        p = self.copy("sqlite", "sqlite_copy", "orl_tool_types", "--verify", expect=1)
        self.assertIn("verify: column s differs", p.stderr)
        self.assertNotIn("column d differs", p.stderr)

    def test_refused_row_is_named_and_the_last_commit_kept(self):
        require(self, "sqlite", "pg")
        sql("sqlite", "DROP TABLE IF EXISTS orl_tool_refuse", "CREATE TABLE orl_tool_refuse (id INTEGER, v INTEGER)",
            "INSERT INTO orl_tool_refuse WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 10) "
            "SELECT x, x FROM c")
        for batch in ("1", "4"):
            with self.subTest(batch=batch):
                sql("pg", "DROP TABLE IF EXISTS orl_tool_refuse",
                    "CREATE TABLE orl_tool_refuse (id INTEGER, v INTEGER CHECK (v < 8))")
                # Column arrays name a failing row their own way (arrays_it.py).
                p = self.copy("sqlite", "pg", "orl_tool_refuse", "--commit-every", "3", "--batch", batch,
                              "--no-column-arrays", expect=1)
                self.assertRegex(p.stderr, r"copy failed at target: row 8: .*23514")
                self.assertIn("keeps the 6 rows committed", p.stderr)
                self.assertEqual(6, count("pg", "orl_tool_refuse"))

    def test_four_jobs_give_the_checksum_of_one(self):
        require(self, "sqlite", "pg")
        sql("sqlite", "DROP TABLE IF EXISTS orl_tool_split",
            "CREATE TABLE orl_tool_split (id INTEGER, name TEXT, amount DOUBLE)",
            "INSERT INTO orl_tool_split WITH RECURSIVE c(x) AS (SELECT -3 UNION ALL SELECT x + 1 FROM c WHERE x < 4996) "
            "SELECT x, 'n' || x, x / 7.0 FROM c",
            "INSERT INTO orl_tool_split VALUES (NULL, 'no key', NULL)")
        sums = {}
        # A query source is split inside a derived table.
        for jobs, source in (("1", None), ("4", None), ("3", "SELECT * FROM orl_tool_split WHERE 1 = 1")):
            extra = ["--create", "--drop-existing", "--verify", "--jobs", jobs, "--split-by", "id"]
            if source:
                p = run(["copy"] + conn_args("sqlite", "from") + conn_args("pg", "to") +
                        ["--query", source, "--to-table", "orl_tool_split"] + extra)
            else:
                p = self.copy("sqlite", "pg", "orl_tool_split", *extra)
            self.assertIn("copied 5001 rows", p.stdout)
            self.assertRegex(p.stdout, r"\(.*, %s jobs?[,)]" % jobs)
            sums[jobs] = re.search(r"checksum ([0-9a-f]+)", p.stdout).group(1)
        self.assertEqual(sums["1"], sums["4"])
        self.assertEqual(sums["1"], sums["3"])
        # A key that repeats across the bound of a chunk: every row once, and the count check holds.
        sql("sqlite", "UPDATE orl_tool_split SET id = id / 3 WHERE id IS NOT NULL")
        for jobs in ("1", "2"):
            with self.subTest(jobs=jobs):
                p = self.copy("sqlite", "pg", "orl_tool_split", "--create", "--drop-existing", "--verify",
                              "--jobs", jobs, "--split-by", "id", "--chunk-rows", "7")
                self.assertIn("copied 5001 rows", p.stdout)
                self.assertEqual(5001, count("pg", "orl_tool_split"))

    def test_multi_row_inserts_write_what_row_arrays_write(self):
        # 1,003 rows: two full statements of 500 and a short last one.
        require(self, "sqlite", "pg")
        sql("sqlite", "DROP TABLE IF EXISTS orl_tool_rows",
            "CREATE TABLE orl_tool_rows (id INTEGER, s TEXT, b BLOB, f DOUBLE, ts TIMESTAMP)",
            "INSERT INTO orl_tool_rows WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 1003) "
            "SELECT x, CASE WHEN x % 7 = 0 THEN NULL ELSE 'r' || x END, randomblob(x % 50), x / 3.0, "
            "datetime(1700000000 + x, 'unixepoch') FROM c")
        sums = {}
        for rows, shown in (("0", "row arrays of 1024"), (None, "INSERTs of up to 500 rows"),
                            ("7", "INSERTs of up to 7 rows"), ("arrays", "column arrays of up to 25,000 rows")):
            with self.subTest(rows=rows):
                extra = ["--create", "--drop-existing", "--verify"]
                if rows != "arrays":
                    extra += ["--no-column-arrays"] + (["--rows-per-statement", rows] if rows else [])
                p = self.copy("sqlite", "pg", "orl_tool_rows", *extra)
                self.assertIn("copied 1003 rows", p.stdout)
                self.assertIn(shown, p.stdout)
                sums[rows] = sql("pg", "SELECT md5(string_agg(id || ':' || coalesce(s, '-') || ':' || encode(b, 'hex') "
                                       "|| ':' || f || ':' || ts, ',' ORDER BY id)) FROM orl_tool_rows")
        self.assertEqual(sums["0"], sums[None])
        self.assertEqual(sums["0"], sums["7"])
        self.assertEqual(sums["0"], sums["arrays"])

    def test_wide_rows_stay_within_what_each_driver_takes(self):
        # 40 columns: 500 rows a statement would be 20,000 markers, past what
        # PostgreSQL's driver (7,500) and, at 1,000 rows, MariaDB's (about 32,760) take.
        require(self, "sqlite", "pg", "maria")
        cols = ", ".join("c%d INTEGER" % k for k in range(40))
        sql("sqlite", "DROP TABLE IF EXISTS orl_tool_wide", "CREATE TABLE orl_tool_wide (%s)" % cols,
            "INSERT INTO orl_tool_wide WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 1500) "
            "SELECT %s FROM c" % ", ".join("x + %d" % k for k in range(40)))
        for dst, rows in (("pg", None), ("maria", "1000")):
            with self.subTest(dst=dst):
                extra = ["--create", "--drop-existing", "--verify", "--batch", "1500"]
                p = self.copy("sqlite", dst, "orl_tool_wide", *(extra + (["--rows-per-statement", rows] if rows else [])))
                self.assertIn("copied 1500 rows", p.stdout)
                self.assertIn("verified 1500 rows", p.stdout)

    def test_progress_line_on_a_terminal_only(self):
        require(self, "sqlite", "sqlite_copy")
        make_source("sqlite", "orl_tool_types")
        args = ["copy"] + conn_args("sqlite", "from") + conn_args("sqlite_copy", "to") + [
            "--table", "orl_tool_types", "--create", "--drop-existing"]
        pid, fd = pty.fork()
        if pid == 0:
            os.execv(ORLODBC, [ORLODBC] + args)
        screen = b""
        while True:
            ready, _, _ = select.select([fd], [], [], 60)
            if not ready:
                break
            try:
                chunk = os.read(fd, 4096)
            except OSError:
                break
            if not chunk:
                break
            screen += chunk
        _, status = os.waitpid(pid, 0)
        self.assertEqual(0, os.waitstatus_to_exitcode(status), screen)
        text = screen.decode()
        self.assertRegex(text, r"\r\[#{10,}\] 100% 4 rows +[0-9,]+ rows/s +0:00")
        self.assertIn("copied 4 rows", text)
        plain = run(args)
        self.assertNotIn("\r", plain.stderr)
        # The table has no key to read it by in chunks, and the copy says what that may cost.
        self.assertEqual("orlodbc: source: read in one query, not in chunks (it has no primary key; name an integer "
                         "column with --split-by): its ODBC driver may hold the whole result in memory unless the "
                         "data source sets StepAPI=1\n", plain.stderr)


class QueryOutput(unittest.TestCase):
    ROWS = [
        (1, "plain", "12345678901234567.89", True, 0.1),
        (2, 'comma, "quote"\nand line', "-0.50", False, -1e300),
        (3, "", "0.00", None, None),
        (4, None, None, None, 2.5),
    ]

    def setUp(self):
        require(self, "pg")
        values = ", ".join(
            "(%d, %s, %s, %s, %s)" % (
                i, "NULL" if s is None else "'%s'" % s.replace("'", "''"), d or "NULL",
                "NULL" if b is None else str(b).upper(), "NULL" if f is None else repr(f))
            for i, s, d, b, f in self.ROWS)
        sql("pg", "DROP TABLE IF EXISTS orl_tool_out",
            "CREATE TABLE orl_tool_out (id INTEGER, s TEXT, d NUMERIC(19,2), b BOOLEAN, f DOUBLE PRECISION)",
            "INSERT INTO orl_tool_out VALUES " + values)
        self.select = "SELECT id, s, d, f FROM orl_tool_out ORDER BY id"

    def test_csv_reads_back(self):
        rows = list(csv.reader(io.StringIO(sql("pg", self.select, output="csv"), newline="")))
        self.assertEqual(["id", "s", "d", "f"], rows[0])
        want = [[str(i), s or "", d or "", "" if f is None else f] for i, s, d, _, f in self.ROWS]
        got = [r[:3] + [float(r[3]) if r[3] else ""] for r in rows[1:]]
        self.assertEqual(want, got)

    def test_json_reads_back(self):
        got = [json.loads(line) for line in sql("pg", self.select + "", output="json").splitlines()]
        want = [{"id": i, "s": s, "d": d, "f": f} for i, s, d, _, f in self.ROWS]
        self.assertEqual(want, got)
        self.assertIsInstance(got[0]["id"], int)
        # A statement that isn't a query still prints its count.
        self.assertEqual("4 rows", sql("pg", "UPDATE orl_tool_out SET id = id", output="json").strip())

    def test_tsv_stays_as_it_was(self):
        lines = sql("pg", "SELECT id, s FROM orl_tool_out WHERE id IN (3, 4) ORDER BY id").splitlines()
        self.assertEqual(["id\ts", "3\t", "4\tNULL"], lines)


class Mask(unittest.TestCase):
    def test_library_answers_and_their_explanations(self):
        cases = [
            # args, exit status, stdout, a word of the explanation on stderr
            (["timestamp", "2026-11-21 08:00:00.125", "-m", "YYYY-MM-DD HH24:MI:SS.FF3", "-z", "Asia/Tokyo"], 0,
             "2026-11-21 17:00:00.125", None),
            (["timestamp", "1795248000125", "-m", "DD.MM.YYYY HH24:MI:SS.FF3"], 0, "21.11.2026 08:00:00.125", None),
            (["date", "2026-11-21", "-m", "DD Mon YYYY"], 0, "21 Nov 2026", None),
            (["bigdatetime", "0", "-m", "YYYY-MM-DD", "-z", "No/Such_Zone"], 1, "", "empty text"),
            (["timestamp", "21.11.2026 08:00", "-m", "DD.MM.YYYY HH24:MI", "--parse"], 0,
             "1795248000000\t2026-11-21 08:00:00.000 UTC", None),
            (["timestamp", "2026-13-45", "-m", "YYYY-MM-DD", "--parse"], 1, "", "doesn't match"),
            (["number", "-1234.5", "-m", "S999,999.00"], 0, "-1,234.50", None),
            (["number", "12345678", "-m", "999.99"], 1, "#######", "row of '#'"),
            (["unit", "3", "-m", "HOUR"], 0, "3 HOUR: 10800 seconds, 10800000000 microseconds", None),
            (["unit", "3", "-m", "Hour"], 2, "", "no time unit"),
        ]
        for args, status, stdout, why in cases:
            with self.subTest(args=args):
                p = run(["mask"] + args, expect=status)
                self.assertEqual(stdout, p.stdout.strip()[:len(stdout)] if stdout else p.stdout.strip())
                if why:
                    self.assertIn(why, p.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
