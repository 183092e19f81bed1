#!/usr/bin/env python3
"""orlodbc copy with table and column names that hold SQL: quotes of every
kind, semicolons, comment markers, spaces, dots, brackets and non-ASCII
letters, between every ordered pair of SQLite, PostgreSQL and MariaDB. Each
target must end with exactly those names, the same rows, and its sentinel
table untouched; a name a target can't keep is refused before anything is
written.

Usage: names_it.py PATH_TO_ORLODBC [unittest args]"""
import csv
import io
import json
import unittest

from toolrig import DSNS, conn_args, reachable, require, run, sql

QUOTE = {"sqlite": '"', "sqlite_copy": '"', "pg": '"', "maria": "`"}
SOURCES = ("sqlite", "pg", "maria")
# SQLite into a second file: one file can't be read and written by two connections at once.
TARGETS = ("sqlite_copy", "pg", "maria")

TABLE = 'odd "t" `x` [y]; -- /* z */ .ü'
COLUMNS = [
    "id",
    'x" integer); DROP TABLE orl_sentinel; --',
    "a`b`); DROP TABLE orl_sentinel; #",
    "[br] ack'et",
    "semi;colon",
    "dot.ted",
    "spa ce",
    "ünïcødé Ωμέγα",
    "/* c */ -- d",
    "Mixed Case",
]


def rows(label, statement):
    return [json.loads(line) for line in sql(label, statement, output="json").splitlines()]


def values(label, statement):
    """Rows as lists: SQLite's driver describes a column named "a.b" as "b",
    so rows are compared by position, not by the names the reads give."""
    return list(csv.reader(io.StringIO(sql(label, statement, output="csv"), newline="")))[1:]


def q(label, name):
    mark = QUOTE[label]
    return mark + name.replace(mark, mark + mark) + mark


def lit(text):
    return "'" + text.replace("'", "''") + "'"


def column_names(label, table):
    if label.startswith("sqlite"):
        return [r["name"] for r in rows(label, "PRAGMA table_info(%s)" % q(label, table))]
    schema = "current_schema()" if label == "pg" else "DATABASE()"
    return [r["column_name"] for r in rows(
        label, "SELECT column_name FROM information_schema.columns WHERE table_schema = %s AND table_name = %s "
               "ORDER BY ordinal_position" % (schema, lit(table)))]


def table_exists(label, table):
    if label.startswith("sqlite"):
        return bool(rows(label, "SELECT name FROM sqlite_master WHERE type = 'table' AND name = %s" % lit(table)))
    schema = "current_schema()" if label == "pg" else "DATABASE()"
    return bool(rows(label, "SELECT table_name FROM information_schema.tables WHERE table_schema = %s "
                            "AND table_name = %s" % (schema, lit(table))))


def make_table(label, table, columns):
    types = ["INTEGER"] + ["VARCHAR(40)"] * (len(columns) - 1)
    sql(label, "DROP TABLE IF EXISTS " + q(label, table),
        "CREATE TABLE %s (%s)" % (q(label, table), ", ".join(q(label, c) + " " + t for c, t in zip(columns, types))),
        *["INSERT INTO %s VALUES (%d, %s)" % (q(label, table), i, ", ".join(
            lit("v%d of %s" % (i, c[:20])) for c in columns[1:])) for i in (1, 2, 3)])


class Names(unittest.TestCase):
    def setUp(self):
        for label in DSNS:
            require(self, label)
            sql(label, "DROP TABLE IF EXISTS orl_sentinel", "CREATE TABLE orl_sentinel (id INTEGER)",
                "INSERT INTO orl_sentinel VALUES (7)")

    def tearDown(self):
        for label in DSNS:
            if reachable(label):
                self.assertEqual([{"id": 7}], rows(label, "SELECT id FROM orl_sentinel"), label)

    def test_every_pair_keeps_the_names_and_rows(self):
        for label in SOURCES:
            make_table(label, TABLE, COLUMNS)
        for src in SOURCES:
            want = values(src, "SELECT * FROM %s ORDER BY 1" % q(src, TABLE))
            self.assertEqual(3, len(want))
            for dst in TARGETS:
                with self.subTest(src=src, dst=dst):
                    target = TABLE + " from " + src
                    p = run(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                            ["--table", q(src, TABLE), "--to-table", q(dst, target), "--create", "--drop-existing",
                             "--verify"])
                    self.assertIn("copied 3 rows", p.stdout)
                    self.assertIn("verified 3 rows", p.stdout)
                    self.assertEqual(COLUMNS, column_names(dst, target))
                    got = values(dst, "SELECT * FROM %s ORDER BY 1" % q(dst, target))
                    self.assertEqual(want, got)
                    sql(dst, "DROP TABLE " + q(dst, target))

    def test_split_jobs_quote_their_key(self):
        key = 'k"; DROP TABLE orl_sentinel; --'
        for src, dst in (("sqlite", "pg"), ("pg", "maria"), ("maria", "sqlite_copy")):
            with self.subTest(src=src, dst=dst):
                make_table(src, TABLE, [key] + COLUMNS[1:3])
                p = run(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                        ["--table", q(src, TABLE), "--create", "--drop-existing", "--verify",
                         "--jobs", "2", "--split-by", key])
                self.assertIn("copied 3 rows", p.stdout)
                self.assertIn("2 jobs", p.stdout)
                self.assertEqual([key] + COLUMNS[1:3], column_names(dst, TABLE))

    def test_names_a_target_cant_keep_are_refused_before_writing(self):
        cases = [
            # target, what the source holds, the text that names it
            ("maria", ["id", "ends in a space "], '"ends in a space "'),
            ("maria", ["id", "\U0001F600 face"], "\U0001F600 face"),
            ("pg", ["id", "n" * 64], "n" * 64),
        ]
        for dst, columns, shown in cases:
            with self.subTest(dst=dst, column=columns[1]):
                make_table("sqlite", "orl_names_src", columns)
                sql(dst, "DROP TABLE IF EXISTS orl_names_dst")
                p = run(["copy"] + conn_args("sqlite", "from") + conn_args(dst, "to") +
                        ["--table", "orl_names_src", "--to-table", "orl_names_dst", "--create"], expect=2)
                self.assertIn(shown, p.stderr)
                self.assertIn("nothing was written", p.stderr)
                self.assertFalse(table_exists(dst, "orl_names_dst"))

    def test_table_names_given_as_sql_are_refused(self):
        make_table("sqlite", "orl_names_src", ["id", "v"])
        for to_table in ('v2" (a int); DROP TABLE orl_sentinel; --', 'x"', "a..b", "a.b.c"):
            with self.subTest(to_table=to_table):
                p = run(["copy"] + conn_args("sqlite", "from") + conn_args("pg", "to") +
                        ["--table", "orl_names_src", "--to-table", to_table, "--create"], expect=2)
                self.assertIn("target table", p.stderr)
        # A bare name with spaces and a semicolon is a name, not SQL.
        p = run(["copy"] + conn_args("sqlite", "from") + conn_args("pg", "to") +
                ["--table", "orl_names_src", "--to-table", "orl names; DROP TABLE orl_sentinel", "--create",
                 "--drop-existing"])
        self.assertIn("copied 3 rows", p.stdout)
        self.assertTrue(table_exists("pg", "orl names; DROP TABLE orl_sentinel"))
        sql("pg", 'DROP TABLE "orl names; DROP TABLE orl_sentinel"')


if __name__ == "__main__":
    unittest.main(verbosity=2)
