#!/usr/bin/env python3
"""orlodbc query exports checked value by value against what the databases'
own clients (psql, mariadb, sqlite3) read from the same table: doubles at
their extremes, dates before 1970 and after 2038, timestamps and times to
the microsecond, booleans, UTF-8 texts and the empty text beside NULL; in
csv, tsv and json, with the machine's zone in UTC and in Europe/Berlin.

Usage: export_it.py PATH_TO_ORLODBC [unittest args]"""
import csv
import datetime as dt
import io
import json
import math
import os
import re
import struct
import subprocess
import sys
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
CI = os.environ.get("CI") == "true"
REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
RUN_DIR = os.environ.get("ORL_RUN_DIR", os.path.join(REPO, "build", "run"))
PG_PORT = os.environ.get("ORL_PG_PORT", "55432")
MARIA_PORT = os.environ.get("ORL_MARIA_PORT", "53306")

DSNS = {"sqlite": ("orl_sqlite", "orl", ""), "pg": ("orl_pg", "orl", "orl_pw"), "maria": ("orl_maria", "orl", "orl_pw")}
TABLE = "orl_tool_exact"
DDL = {
    "sqlite": "id INTEGER, f DOUBLE, d DATE, ts TIMESTAMP, tm TIME, b BOOLEAN, s TEXT",
    "pg": "id INTEGER, f DOUBLE PRECISION, d DATE, ts TIMESTAMP(6), tm TIME(6), b BOOLEAN, s TEXT",
    "maria": "id INTEGER, f DOUBLE, d DATE, ts DATETIME(6), tm TIME(6), b BOOLEAN, s TEXT",
}
DDL_TAIL = {"maria": " DEFAULT CHARSET=utf8mb4"}

D, T, TM = dt.date, dt.datetime, dt.time
INF = float("inf")
# id, f, d, ts, tm, b, s. The zone of Europe/Berlin had local mean time
# before 1893 and double summer time in 1945: moments a zone shifts oddly.
ROWS = [
    (1, 1e-7, D(1960, 5, 1), T(1960, 5, 1, 1, 2, 3, 123456), TM(23, 59, 59, 999999), True,
     "caf\u00e9 \u00fcn\u00efc\u00f6d\u00e9 \u65e5\u672c\u8a9e \U0001f600"),
    (2, 1 / 3, D(2040, 2, 29), T(2040, 2, 29, 23, 59, 59, 999999), TM(0, 0, 0), False, ""),
    (3, -0.0, D(1969, 12, 31), T(1969, 12, 31, 23, 59, 59, 999999), TM(12, 34, 56, 500000), None, None),
    (4, 1.7976931348623157e308, D(1893, 3, 31), T(1945, 6, 1, 12, 0, 0, 1), TM(0, 0, 0, 1), True,
     'tab\there, "quoted"\nnext line'),
    (5, 5e-324, D(9999, 12, 31), T(2100, 1, 1), TM(1, 2, 3, 120000), False, "NULL"),
    (6, 0.1 + 0.2, D(1900, 1, 1), T(1900, 1, 1, 0, 0, 0, 500000), TM(13, 0, 0), None, "x"),
    (7, float("nan"), None, None, None, None, None),
    (8, INF, None, None, None, None, None),
    (9, -INF, None, None, None, None, None),
]
# Where a database holds no NaN or infinity.
HOLDS = {"sqlite": {1, 2, 3, 4, 5, 6, 8, 9}, "pg": set(range(1, 10)), "maria": {1, 2, 3, 4, 5, 6}}
COLUMNS = ["id", "f", "d", "ts", "tm", "b", "s"]


def literal(label, column, v):
    if v is None:
        return "NULL"
    if column == "f":
        text = "Infinity" if v == INF else "-Infinity" if v == -INF else "NaN" if v != v else repr(v)
        if label == "pg":
            return "'%s'::float8" % text
        if label == "sqlite" and abs(v) == INF:
            return "9e999" if v > 0 else "-9e999"
        return text if "e" in text else text + "e0"  # an exponent makes MariaDB read a double
    if column == "b":
        return ("TRUE" if v else "FALSE") if label != "sqlite" else str(int(v))
    if column == "s":
        return "'%s'" % v.replace("'", "''").replace("\\", "\\\\" if label == "maria" else "\\")
    return "'%s'" % (v.isoformat(sep=" ") if isinstance(v, T) else v.isoformat())


def conn_args(label):
    dsn, user, password = DSNS[label]
    return ["-d", dsn, "-u", user] + (["-p", password] if password else [])


def orlodbc(label, *statements, output="tsv", zone="UTC"):
    args = [ORLODBC, "query"] + conn_args(label) + ["--output", output]
    for s in statements:
        args += ["-e", s]
    env = dict(os.environ, TZ=zone)
    # Bytes, so that the line ends reach the csv reader as they were written.
    p = subprocess.run(args, capture_output=True, timeout=300, env=env)
    if p.returncode != 0:
        raise AssertionError("orlodbc %s -> %d\n%r%r" % (" ".join(args), p.returncode, p.stdout, p.stderr))
    return p.stdout.decode("utf-8")


# ---- the databases' own clients: one record per row, text as hex ----------------------
US, RS, NUL = "\x1f", "\x1e", "\x15"


def client(label):
    """Rows of the table as the database's own client prints them, NULL as None."""
    if label == "pg":
        cmd = ["psql", "-X", "-q", "-A", "-t", "-F", US, "-R", RS, "-P", "null=" + NUL, "-h", "127.0.0.1",
               "-p", PG_PORT, "-U", "orl", "-d", "orl_test", "-c",
               "SELECT id, f::text, d::text, ts::text, tm::text, b::text, encode(convert_to(s, 'UTF8'), 'hex') "
               "FROM %s ORDER BY id" % TABLE]
        env = dict(os.environ, PGPASSWORD="orl_pw", PGDATESTYLE="ISO")
        rows = [r.split(US) for r in run_client(cmd, env).rstrip("\n").split(RS) if r]
    elif label == "maria":
        cmd = ["mariadb", "--no-defaults", "-h", "127.0.0.1", "-P", MARIA_PORT, "-u", "orl", "-porl_pw", "orl_test",
               "-B", "-N", "-e", "SELECT id, f, d, ts, tm, b, HEX(s) FROM %s ORDER BY id" % TABLE]
        rows = [line.split("\t") for line in run_client(cmd, os.environ).splitlines()]
        rows = [[NUL if v == "NULL" else v for v in r] for r in rows]
    else:
        cmd = ["sqlite3", "-batch", "-noheader", "-separator", US, "-newline", RS, "-nullvalue", NUL,
               os.path.join(RUN_DIR, "sqlite", "orl.db"),
               # quote() prints a double with the digits that read it back; hex()
               # and quote() of NULL are texts.
               "SELECT id, CASE WHEN f IS NULL THEN NULL ELSE quote(f) END, d, ts, tm, b, "
               "CASE WHEN s IS NULL THEN NULL ELSE hex(s) END "
               "FROM %s ORDER BY id" % TABLE]
        rows = [r.split(US) for r in run_client(cmd, os.environ).rstrip("\n").split(RS) if r]
    return [[None if v == NUL else v for v in r] for r in rows]


def run_client(cmd, env):
    p = subprocess.run(cmd, capture_output=True, text=True, timeout=120, env=env)
    if p.returncode != 0:
        raise AssertionError("%s -> %d: %s" % (cmd[0], p.returncode, p.stderr))
    return p.stdout


def client_value(label, column, text):
    """A client's text as a value."""
    if text is None:
        return None
    if column == "id":
        return int(text)
    if column == "f":
        return float({"Inf": "inf", "-Inf": "-inf"}.get(text, text))
    if column == "d":
        return D.fromisoformat(text)
    if column == "ts":
        return T.fromisoformat(text)
    if column == "tm":
        return TM.fromisoformat(text)
    if column == "b":
        # MariaDB's BOOLEAN is a TINYINT(1): a number, which it exports as one.
        return int(text) if label == "maria" else text in ("t", "true", "1")
    return bytes.fromhex(text).decode("utf-8")


# ---- the exports: one form per kind, checked strictly before it is read ---------------
FORMS = {
    "d": re.compile(r"^\d{4}-\d\d-\d\d$"),
    "ts": re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d(\.\d{0,5}[1-9])?$"),
    "tm": re.compile(r"^\d\d:\d\d:\d\d(\.\d{0,5}[1-9])?$"),
}


def export_value(test, column, text):
    """An exported text as a value; JSON has already typed its numbers and booleans."""
    if text is None or not isinstance(text, str):
        if column == "f" and text is not None:
            test.assertIsInstance(text, float)  # never an integer, -0.0 included
        return text
    if column == "id":
        return int(text)
    if column == "f":
        test.assertRegex(text, r"^(-?\d+(\.\d+)?(e[-+]\d+)?|NaN|-?Infinity)$")
        test.assertTrue(any(c in text for c in ".eNI"), text)
        return float(text)
    if column == "b":
        test.assertIn(text, ("true", "false", "0", "1"))
        return text == "true" if text in ("true", "false") else int(text)
    if column in FORMS:
        test.assertRegex(text, FORMS[column])
        return {"d": D, "ts": T, "tm": TM}[column].fromisoformat(text)
    return text


def read_export(test, output, text):
    """Rows of an export as lists of values by COLUMNS, NULL as None."""
    rows = []
    if output == "json":
        for line in text.splitlines():
            obj = json.loads(line)
            test.assertEqual(COLUMNS, list(obj))
            rows.append([export_value(test, c, obj[c]) for c in COLUMNS])
        return rows
    if output == "csv":
        lines = text.split("\r\n")
        records = list(csv.reader(io.StringIO(text, newline="")))
        test.assertEqual(COLUMNS, records[0])
        for record in records[1:]:
            # csv reads "" and an empty field alike: the line tells a text from NULL.
            row = [None if v == "" else v for v in record]
            if record[-1] == "":
                line = next(l for l in lines if l.startswith(record[0] + ","))
                row[-1] = "" if line.endswith('""') else None
            rows.append([export_value(test, c, v) for c, v in zip(COLUMNS, row)])
        return rows
    lines = text.split("\n")
    test.assertEqual("\t".join(COLUMNS), lines[0])
    for line in lines[1:]:
        # tsv keeps a text as it stands: a tab or line break in one can't be
        # told apart, nor the text NULL from NULL; such rows are the csv's and json's.
        if not re.match(r"^\d+\t", line):
            continue
        fields = line.split("\t")
        if len(fields) != len(COLUMNS) or fields[0] in ("4", "5"):
            continue
        rows.append([export_value(test, c, None if v == "NULL" else v) for c, v in zip(COLUMNS, fields)])
    return rows


def same(a, b):
    if isinstance(a, float) and isinstance(b, float):
        return struct.pack("<d", a) == struct.pack("<d", b)  # -0.0 apart from 0.0, NaN equal to NaN
    return type(a) is type(b) and a == b


# ---- what an ODBC driver can't hand over through the classic read ----------------------
def whole_seconds(t):
    return t.replace(microsecond=0) if t is not None else None


def fifteen_digits(f):
    return float("%.15g" % f) if f is not None and math.isfinite(f) else f


# Every one of the three describes a TIME as an ODBC time, which the classic
# read takes into ODBC's time structure: it has no field for a fraction.
# SQLite's ODBC driver reads a double as the text SQLite prints, of 15
# significant digits: 1/3 loses its last digits and the largest double
# rounds up past itself to infinity.
ARRIVES = {
    "sqlite": {"tm": whole_seconds, "f": fifteen_digits},
    "pg": {"tm": whole_seconds},
    "maria": {"tm": whole_seconds},
}


class Export(unittest.TestCase):
    made = set()

    def require(self, label):
        p = subprocess.run([ORLODBC, "query"] + conn_args(label), capture_output=True, text=True, timeout=120)
        if p.returncode != 0:
            if CI:
                self.fail(DSNS[label][0] + " unreachable")
            self.skipTest(DSNS[label][0] + " unreachable")

    def make(self, label):
        rows = [r for r in ROWS if r[0] in HOLDS[label]]
        values = ", ".join("(%s)" % ", ".join(str(r[0]) if c == "id" else literal(label, c, v)
                                             for c, v in zip(COLUMNS, r)) for r in rows)
        orlodbc(label, "DROP TABLE IF EXISTS " + TABLE,
                "CREATE TABLE %s (%s)%s" % (TABLE, DDL[label], DDL_TAIL.get(label, "")),
                "INSERT INTO %s VALUES %s" % (TABLE, values))
        return [[client_value(label, c, v) for c, v in zip(COLUMNS, r)] for r in client(label)]

    def check(self, label):
        self.require(label)
        truth = self.make(label)
        self.assertEqual(sorted(HOLDS[label]), [r[0] for r in truth])
        # The databases hold what was written, but for what they can't.
        inserted = {r[0]: r for r in ROWS}
        for row in truth:
            for column, held in zip(COLUMNS[1:6], row[1:6]):
                want = inserted[row[0]][COLUMNS.index(column)]
                if label == "maria" and column == "b" and want is not None:
                    want = int(want)
                if not (label in ("maria", "sqlite") and want == 0.0 and column == "f"):  # no -0.0 there
                    self.assertTrue(same(want, held), "%s row %d %s: %r vs %r" % (label, row[0], column, want, held))
        arrives = ARRIVES[label]
        for zone in ("UTC", "Europe/Berlin"):
            for output in ("csv", "tsv", "json"):
                got = read_export(self, output, orlodbc(
                    label, "SELECT %s FROM %s ORDER BY id" % (", ".join(COLUMNS), TABLE), output=output, zone=zone))
                want = {r[0]: r for r in truth}
                self.assertEqual(len(want) - (2 if output == "tsv" else 0), len(got))
                for row in got:
                    for column, value, held in zip(COLUMNS, row, want[row[0]]):
                        expected = arrives.get(column, lambda v: v)(held)
                        with self.subTest(zone=zone, output=output, id=row[0], column=column):
                            self.assertTrue(same(expected, value), "%r exported as %r" % (expected, value))

    def test_sqlite(self):
        self.check("sqlite")

    def test_pg(self):
        self.check("pg")

    def test_maria(self):
        self.check("maria")


# Integers the classic read would take in a narrower width than they hold:
# SQLite's driver describes a 64-bit INTEGER or SMALLINT by its declared name
# and an expression by its first value, MariaDB's an unsigned integer as the
# signed one of its width. Each query's values against the database's own
# client; in JSON as numbers.
WHOLE = {
    "sqlite": ("id INTEGER, a INTEGER, s SMALLINT",
               "(1, 1099511627776, 3000000000), (2, -3000000000, -9223372036854775808), (3, NULL, 5)",
               "SELECT id, a, s, a * 2 AS a2, sum(a) OVER () AS total FROM orl_tool_whole ORDER BY id"),
    "maria": ("id INTEGER, a BIGINT UNSIGNED, s INT UNSIGNED",
              "(1, 18446744073709551615, 4294967295), (2, 9223372036854775808, 2147483648), (3, NULL, 5)",
              "SELECT id, a, s, s * 2 AS a2, a - 1 AS total FROM orl_tool_whole ORDER BY id"),
    "pg": ("id INTEGER, a BIGINT, s INTEGER",
           "(1, 9223372036854775807, 2147483647), (2, -9223372036854775808, -2147483648), (3, NULL, 5)",
           "SELECT id, a, s, s::bigint * 2 AS a2, a / 2 AS total FROM orl_tool_whole ORDER BY id"),
}


class WholeIntegers(unittest.TestCase):
    def check(self, label):
        Export.require(self, label)
        ddl, values, sql = WHOLE[label]
        orlodbc(label, "DROP TABLE IF EXISTS orl_tool_whole", "CREATE TABLE orl_tool_whole (%s)" % ddl,
                "INSERT INTO orl_tool_whole VALUES %s" % values)
        if label == "pg":
            cmd = ["psql", "-X", "-q", "-A", "-t", "-F", US, "-R", RS, "-P", "null=" + NUL, "-h", "127.0.0.1",
                   "-p", PG_PORT, "-U", "orl", "-d", "orl_test", "-c", sql]
            env = dict(os.environ, PGPASSWORD="orl_pw")
            rows = [r.split(US) for r in run_client(cmd, env).rstrip("\n").split(RS) if r]
        elif label == "maria":
            cmd = ["mariadb", "--no-defaults", "-h", "127.0.0.1", "-P", MARIA_PORT, "-u", "orl", "-porl_pw",
                   "orl_test", "-B", "-N", "-e", sql]
            rows = [[NUL if v == "NULL" else v for v in line.split("\t")]
                    for line in run_client(cmd, os.environ).splitlines()]
        else:
            cmd = ["sqlite3", "-batch", "-noheader", "-separator", US, "-newline", RS, "-nullvalue", NUL,
                   os.path.join(RUN_DIR, "sqlite", "orl.db"), sql]
            rows = [r.split(US) for r in run_client(cmd, os.environ).rstrip("\n").split(RS) if r]
        truth = [[None if v == NUL else int(v) for v in r] for r in rows]
        self.assertEqual(3, len(truth))
        names = ["id", "a", "s", "a2", "total"]
        for output in ("csv", "tsv", "json"):
            text = orlodbc(label, sql, output=output)
            if output == "json":
                got = [[json.loads(line)[n] for n in names] for line in text.splitlines()]
                for row in got:
                    for v in row:
                        self.assertTrue(v is None or type(v) is int, "%s: %r" % (output, row))
            else:
                sep = "," if output == "csv" else "\t"
                lines = text.replace("\r\n", "\n").rstrip("\n").split("\n")
                self.assertEqual(sep.join(names), lines[0])
                null = "" if output == "csv" else "NULL"
                got = [[None if v == null else int(v) for v in line.split(sep)] for line in lines[1:]]
            self.assertEqual(truth, got, output)

    def test_sqlite(self):
        self.check("sqlite")

    def test_maria(self):
        self.check("maria")

    def test_pg(self):
        self.check("pg")


if __name__ == "__main__":
    unittest.main(verbosity=2)
