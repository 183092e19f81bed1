#!/usr/bin/env python3
"""orlodbc copy into PostgreSQL as column arrays (one array literal a column,
through unnest) against the same copy as multi-row INSERTs: every type from
each database arrives the same both ways and equal to its source, as psql
reads it; batches that don't divide the rows, jobs and commits lose nothing;
a failing row names the batch's rows and leaves nothing uncommitted.

Usage: arrays_it.py PATH_TO_ORLODBC [unittest args]"""
import os
import sys
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import roundtrip_it as rt  # noqa: E402  the clients, DSNs, require and the every-type table

rt.ORLODBC = ORLODBC
client, conn_args, orlodbc, require = rt.client, rt.conn_args, rt.orlodbc, rt.require

ARRAYS, INSERTS = "column arrays of up to", "INSERTs of up to"

# What the every-type table of the round trips lacks, in PostgreSQL's words:
# doubles no decimal text holds, floats, booleans, small integers, bytes that
# need escaping, texts that look like array syntax, years at both ends.
EXTREMES_DDL = ("id integer PRIMARY KEY, f double precision, r real, ok boolean, s smallint, b bytea, "
                "t text, c char(6), v varchar(12), n numeric(12,2), ts timestamp(6), tz timestamptz, "
                "d date, tm time")
EXTREMES = [
    "(1, 'NaN', 'NaN', true, -32768, decode('00225c27ff7b7d2c', 'hex'), '{a,\"b\"}', 'x ', 'a\\b\"c', "
    "-9999999999.99, '0001-01-01 00:00:00', '1900-01-01 00:00:00+00', '0001-01-01', '00:00:00')",
    "(2, 'Infinity', 'Infinity', false, 32767, decode('', 'hex'), 'NULL', '', ' ', 0.01, "
    "'9999-12-31 23:59:59.999999', '2026-11-21 08:00:00.123456+00', '9999-12-31', '23:59:59')",
    "(3, '-Infinity', '-Infinity', NULL, 0, decode('5c78', 'hex'), '', 'é€', 'zé€😀', -0.5, "
    "'1969-12-31 23:59:59.999999', '1969-12-31 23:59:59.999999+00', '1970-01-01', '12:00:01')",
    "(4, '-0', '-0', true, NULL, NULL, E'tab\\there\\nline', NULL, NULL, NULL, NULL, NULL, NULL, NULL)",
    "(5, 0.30000000000000004, 0.1, false, 1, decode('0a', 'hex'), ' lead and trail ', 'ab  ', 'ab  ', 1.25, "
    "'2000-02-29 12:00:00.5', '2000-02-29 12:00:00.5+00', '2000-02-29', '00:00:01')",
    "(6, 1.7976931348623157e308, 1.17549435e-38, NULL, -1, decode('00', 'hex'), '\\\\', ' ', '', 0, "
    "'2026-01-01 00:00:00.000001', NULL, NULL, NULL)",
]


def copy(src, dst, *args):
    return orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") + list(args))


def digest(table):
    """One hash of a table's rows as PostgreSQL prints them, in key order."""
    return client("pg", "SELECT count(*) || ':' || coalesce(md5(string_agg(x::text, '|' ORDER BY x.id)), '') "
                        "FROM %s x" % table)[0][0]


def make(label, table, ddl, rows):
    client(label, "DROP TABLE IF EXISTS %s" % table)
    client(label, "CREATE TABLE %s (%s)" % (table, ddl))
    client(label, "INSERT INTO %s VALUES %s" % (table, ", ".join(rows)))


class ColumnArrays(unittest.TestCase):
    def both_ways(self, src, source, target, *extra):
        """Copies `source` into `target`_a as arrays and `target`_v as INSERTs; their digests."""
        sums = []
        for suffix, flags, shown in (("_a", [], ARRAYS), ("_v", ["--no-column-arrays"], INSERTS)):
            p = copy(src, "pg", "--table", source, "--to-table", target + suffix, *(list(extra) + flags))
            self.assertEqual(0, p.returncode, p.stderr)
            self.assertIn(shown, p.stdout)
            sums.append(digest(target + suffix))
        return sums

    def test_every_type_from_each_database_arrives_alike_both_ways(self):
        for src in ("sqlite", "maria", "pg"):
            with self.subTest(src=src):
                require(self, src, "pg")
                ddl = rt.DDL[src]
                if src == "sqlite":
                    # SQLite's driver reads its NUMERIC as a double, whose text into a numeric
                    # column the arrays wouldn't write as the INSERTs do: the copy keeps INSERTs.
                    make(src, "orl_ar_src", ddl, rt.rows(src))
                    p = copy(src, "pg", "--table", "orl_ar_src", "--to-table", "orl_ar_dst_a", "--create",
                             "--drop-existing")
                    self.assertEqual(0, p.returncode, p.stderr)
                    self.assertIn(INSERTS, p.stdout)
                    ddl = ddl.replace("d NUMERIC(10,2)", "d TEXT")
                make(src, "orl_ar_src", ddl, rt.rows(src))
                arrays, inserts = self.both_ways(src, "orl_ar_src", "orl_ar_dst", "--create", "--drop-existing",
                                                 "--verify")
                self.assertEqual(arrays, inserts)
                want = rt.read_back(src, "orl_ar_src")
                self.assertEqual(want, rt.read_back("pg", "orl_ar_dst_a"))

    def test_extremes_arrive_alike_into_a_table_made_ahead(self):
        # Made ahead, so that timestamptz stays itself; equal to the source byte for byte.
        require(self, "pg")
        make("pg", "orl_ar_ext", EXTREMES_DDL, EXTREMES)
        for suffix in ("_a", "_v"):
            client("pg", "DROP TABLE IF EXISTS orl_ar_ext_dst%s" % suffix)
            client("pg", "CREATE TABLE orl_ar_ext_dst%s (%s)" % (suffix, EXTREMES_DDL))
        arrays, inserts = self.both_ways("pg", "orl_ar_ext", "orl_ar_ext_dst", "--verify")
        self.assertEqual(digest("orl_ar_ext"), arrays)
        self.assertEqual(arrays, inserts)

    def test_batches_that_dont_divide_the_rows_lose_none(self):
        require(self, "pg")
        client("pg", "DROP TABLE IF EXISTS orl_ar_rows")
        client("pg", "CREATE TABLE orl_ar_rows AS SELECT x AS id, 'r' || x AS s, x / 7.0 AS n "
                     "FROM generate_series(1, 1003) x")
        client("pg", "ALTER TABLE orl_ar_rows ADD PRIMARY KEY (id)")
        want = digest("orl_ar_rows")
        for extra in (["--rows-per-statement", "100", "--commit-every", "250"],
                      ["--rows-per-statement", "7", "--jobs", "2", "--batch", "3"],
                      ["--chunk-rows", "0", "--batch", "64"]):
            with self.subTest(extra=extra):
                p = copy("pg", "pg", "--table", "orl_ar_rows", "--to-table", "orl_ar_rows_dst", "--create",
                         "--drop-existing", "--verify", *extra)
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertIn("copied 1003 rows", p.stdout)
                self.assertIn(ARRAYS, p.stdout)
                self.assertEqual(want, digest("orl_ar_rows_dst"))

    def test_a_failing_row_names_its_batch_and_leaves_nothing_uncommitted(self):
        require(self, "pg")
        client("pg", "DROP TABLE IF EXISTS orl_ar_bad")
        client("pg", "CREATE TABLE orl_ar_bad AS SELECT x AS id, CASE WHEN x = 550 THEN 'long' ELSE 'ok' END AS v "
                     "FROM generate_series(1, 1003) x")
        client("pg", "ALTER TABLE orl_ar_bad ADD PRIMARY KEY (id)")
        # The 550th row, zero-based 549, is in the batch of rows 500 to 599.
        # Read in chunks the copy commits at chunk ends only; read whole, every 250 rows. Blocks of
        # 64 rows still make whole batches of 100.
        for extra, kept in (([], 0), (["--chunk-rows", "0", "--commit-every", "250"], 500), (["--batch", "64"], 0)):
            with self.subTest(extra=extra):
                client("pg", "DROP TABLE IF EXISTS orl_ar_bad_dst")
                client("pg", "CREATE TABLE orl_ar_bad_dst (id integer, v text CHECK (length(v) < 4))")
                p = copy("pg", "pg", "--table", "orl_ar_bad", "--to-table", "orl_ar_bad_dst", "--rows-per-statement",
                         "100", *extra)
                self.assertEqual(1, p.returncode, p.stderr)
                self.assertRegex(p.stderr, r"(?s)copy failed at target: rows 500 to 599 \(counted from 0\).*"
                                           r"column arrays: .*orl_ar_bad_dst_v_check.*; alone, row 549 fails: "
                                           r".*orl_ar_bad_dst_v_check")
                self.assertIn("keeps the %d rows committed" % kept, p.stderr)
                self.assertEqual([[str(kept)]], client("pg", "SELECT count(*) FROM orl_ar_bad_dst"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
