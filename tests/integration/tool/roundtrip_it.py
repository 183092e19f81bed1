#!/usr/bin/env python3
"""orlodbc copy --create between every ordered pair of SQLite, PostgreSQL and
MariaDB: each copy reads back through the databases' own clients equal to its
source, with the source's types, key and NOT NULL in the target's catalog; or
is refused before anything is written, with the column named.

Usage: roundtrip_it.py PATH_TO_ORLODBC [unittest args]"""
import datetime
import decimal
import os
import subprocess
import sys
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
CI = os.environ.get("CI") == "true"
RUN_DIR = os.environ.get("ORL_RUN_DIR", os.path.join(os.path.dirname(__file__), "../../../build/run"))
PG_PORT = os.environ.get("ORL_PG_PORT", "55432")
MARIA_PORT = os.environ.get("ORL_MARIA_PORT", "53306")

DSNS = {"sqlite": ("orl_sqlite", "orl", ""), "pg": ("orl_pg", "orl", "orl_pw"), "maria": ("orl_maria", "orl", "orl_pw")}
SEP, NULL = "\x1f", "\x1e"


def conn_args(label, prefix):
    dsn, user, password = DSNS[label]
    return ["--" + prefix, dsn, "--%s-user" % prefix, user] + (["--%s-password" % prefix, password] if password else [])


def orlodbc(args):
    return subprocess.run([ORLODBC] + args, capture_output=True, text=True, timeout=600)


def client(label, sql):
    """Rows of a statement as the database's own client prints them."""
    if label == "pg":
        cmd = ["psql", "-h", "127.0.0.1", "-p", PG_PORT, "-U", "orl", "-d", "orl_test", "-X", "-q", "-A", "-t",
               "-F", SEP, "-P", "null=" + NULL, "-v", "ON_ERROR_STOP=1", "-c", sql]
        env = dict(os.environ, PGPASSWORD="orl_pw")
    elif label == "maria":
        # Tabs and newlines come escaped in batch output; the tests keep them out of values.
        cmd = ["mariadb", "--no-defaults", "-h", "127.0.0.1", "-P", MARIA_PORT, "-u", "orl", "-porl_pw",
               "orl_test", "--default-character-set=utf8mb4", "-N", "-B", "-e", sql]
        env = os.environ
    else:
        cmd = ["sqlite3", "-bail", "-separator", SEP, "-nullvalue", NULL, os.path.join(RUN_DIR, "sqlite/orl.db"), sql]
        env = os.environ
    p = subprocess.run(cmd, capture_output=True, text=True, env=env, timeout=120)
    if p.returncode != 0:
        raise AssertionError("%s: %s: %s" % (label, sql, p.stderr))
    sep = "\t" if label == "maria" else SEP
    rows = []
    # Not splitlines(): it splits at the separators too.
    for line in p.stdout.split("\n")[:-1]:
        cells = line.split(sep)
        rows.append([None if c == (("NULL") if label == "maria" else NULL) else c for c in cells])
    return rows


_reachable = {}


def require(test, *labels):
    for label in labels:
        if label not in _reachable:
            try:
                client(label, "SELECT 1")
                _reachable[label] = True
            except (AssertionError, OSError):
                _reachable[label] = False
        if not _reachable[label]:
            if CI:
                test.fail(DSNS[label][0] + " unreachable")
            test.skipTest(DSNS[label][0] + " unreachable")


# Doubles stay within 15 significant digits: doubles to and from SQLite go
# through its driver's 15-digit text.
# Every kind of column in each database's words. SQLite's integers are 64-bit
# whatever their name, its exact decimals live in TEXT, its times are texts.
DDL = {
    "pg": "id integer PRIMARY KEY, c char(8) NOT NULL, v varchar(20), t text, i bigint, "
          "n numeric(38,10), un numeric, d numeric(10,2), f double precision, b bytea, "
          "tm time(6), ts timestamp(6), dt date",
    "maria": "id int PRIMARY KEY, c char(8) NOT NULL, v varchar(20), t longtext, i bigint, "
             "n decimal(38,10), un decimal(65,30), d decimal(10,2), f double, b varbinary(16), "
             "tm time(6), ts datetime(6), dt date",
    "sqlite": "id INTEGER PRIMARY KEY, c CHAR(8) NOT NULL, v VARCHAR(20), t TEXT, i INTEGER, "
              "n TEXT, un TEXT, d NUMERIC(10,2), f DOUBLE, b VARBINARY(16), "
              "tm TIME, ts TIMESTAMP, dt DATE",
}
COLUMNS = ["id", "c", "v", "t", "i", "n", "un", "d", "f", "b", "tm", "ts", "dt"]
KINDS = ["int", "char", "text", "text", "int", "dec", "dec", "dec", "float", "hex", "time", "ts", "date"]
LONG_TEXT = "".join(chr(ord("a") + k % 26) for k in range(300))


def blob(label, hexdigits):
    return "decode('%s', 'hex')" % hexdigits if label == "pg" else "X'%s'" % hexdigits


def rows(label):
    big = "1099511627776" if label == "sqlite" else "9223372036854775807"
    return [
        "(1, 'ab  ', 'zé€😀', '%s', %s, '1234567890123456789012345678.0123456789', '3.14159265358979', "
        "'-12345678.90', 1.25e300, %s, '23:59:59.999999', '2026-11-21 08:00:00.123456', "
        "'1900-01-01')" % (LONG_TEXT, big, blob(label, "00ff00")),
        "(2, '', NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL)",
        "(3, 'é', '', '', -%s, '-0.0000000001', '-0.5', '0.01', -2.5e-300, %s, '00:00:00.000001', "
        "'1969-12-31 23:59:59.999999', '9999-12-31')" % (big, blob(label, "")),
    ]


def normal(kind, text):
    if text is None:
        return None
    if kind == "int":
        return int(text)
    if kind == "char":
        return text.rstrip(" ")  # char pads and compares without trailing blanks
    if kind == "dec":
        return decimal.Decimal(text)
    if kind == "float":
        return float(text)
    if kind == "hex":
        return text.lower()
    if kind in ("time", "ts"):
        head, _, frac = text.partition(".")
        return head + "." + (frac + "000000")[:6]
    if kind == "date":
        return text[:10]
    return text


def read_back(label, table):
    items = {"pg": {"b": "encode(b, 'hex')", "f": "f::text"}, "maria": {"b": "hex(b)"},
             # sqlite3 prints doubles to 15 digits.
             "sqlite": {"b": "CASE WHEN b IS NULL THEN NULL ELSE hex(b) END", "f": "CASE WHEN f IS NULL THEN NULL ELSE printf('%.17g', f) END"}}
    select = ", ".join(items[label].get(c, c) for c in COLUMNS)
    got = client(label, "SELECT %s FROM %s ORDER BY id" % (select, table))
    return [[normal(k, v) for k, v in zip(KINDS, r)] for r in got]


def catalog(label, table):
    """{column: (declared type, not null, key)} from the target's own catalog."""
    if label == "pg":
        sql = ("SELECT a.attname, format_type(a.atttypid, a.atttypmod), a.attnotnull, "
               "EXISTS (SELECT 1 FROM pg_index i WHERE i.indrelid = a.attrelid AND i.indisprimary "
               "AND a.attnum = ANY(i.indkey)) FROM pg_attribute a WHERE a.attrelid = '%s'::regclass "
               "AND a.attnum > 0 AND NOT a.attisdropped" % table)
        yes = "t"
    elif label == "maria":
        sql = ("SELECT column_name, column_type, is_nullable = 'NO', column_key = 'PRI' FROM "
               "information_schema.columns WHERE table_schema = DATABASE() AND table_name = '%s'" % table)
        yes = "1"
    else:
        sql = "SELECT name, type, \"notnull\", pk > 0 FROM pragma_table_info('%s')" % table
        yes = "1"
    return {r[0]: (r[1].lower(), r[2] == yes, r[3] == yes) for r in client(label, sql)}


FAITHFUL = {  # column: what each catalog must show
    "c": {"pg": "character(8)", "maria": "char(8)", "sqlite": "char(8)"},
    "v": {"pg": "character varying(20)", "maria": "varchar(20)", "sqlite": "varchar(20)"},
    "d": {"pg": "numeric(10,2)", "maria": "decimal(10,2)", "sqlite": "numeric(10,2)"},
}


class RoundTrip(unittest.TestCase):
    def make_source(self, label, table):
        client(label, "DROP TABLE IF EXISTS %s" % table)
        client(label, "CREATE TABLE %s (%s)" % (table, DDL[label]))
        client(label, "INSERT INTO %s VALUES %s" % (table, ", ".join(rows(label))))

    def test_every_ordered_pair_copies_exactly(self):
        labels = ["sqlite", "pg", "maria"]
        for src in labels:
            for dst in labels:
                if src == dst:
                    continue
                with self.subTest(src=src, dst=dst):
                    require(self, src, dst)
                    # One database holds both sides of the SQLite pairs: the names differ.
                    source, target = "orl_rt_src", "orl_rt_dst"
                    self.make_source(src, source)
                    p = orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") +
                                ["--table", source, "--to-table", target, "--create", "--drop-existing"])
                    self.assertEqual(0, p.returncode, p.stderr)
                    want, got = read_back(src, source), read_back(dst, target)
                    for w, g in zip(want, got):
                        for col, a, b in zip(COLUMNS, w, g):
                            self.assertEqual(a, b, "%s -> %s: row %s column %s" % (src, dst, w[0], col))
                    self.assertEqual(len(want), len(got))
                    cat = catalog(dst, target)
                    self.assertEqual((True, True), cat["id"][1:])
                    self.assertTrue(cat["c"][1])
                    for col, names in FAITHFUL.items():
                        self.assertEqual(names[dst], cat[col][0], "%s -> %s: %s" % (src, dst, col))

    def test_values_a_target_cant_hold_stop_the_copy_before_it_writes(self):
        # label pairs, the source's column and value, the target's word for them
        cases = [
            ("pg", "maria", "f double precision", "'NaN'", "f"),
            ("pg", "sqlite", "f double precision", "'-0'", "f"),
            ("pg", "maria", "un numeric", "'1.0000000000000000000000000000000000001'", "un"),
            # SQLite's text of an infinity doesn't read back as one there: the copy can't vouch for it.
            ("sqlite", "pg", "f DOUBLE", "9e999", "f"),
        ]
        for src, dst, column, value, name in cases:
            with self.subTest(src=src, dst=dst, column=column):
                require(self, src, dst)
                client(src, "DROP TABLE IF EXISTS orl_rt_lossy")
                client(src, "CREATE TABLE orl_rt_lossy (id integer, %s)" % column)
                client(src, "INSERT INTO orl_rt_lossy VALUES (1, %s), (2, 1)" % value)
                client(dst, "DROP TABLE IF EXISTS orl_rt_lossy")
                base = ["copy"] + conn_args(src, "from") + conn_args(dst, "to") + ["--table", "orl_rt_lossy", "--create"]
                p = orlodbc(base)
                self.assertEqual(2, p.returncode, p.stderr)
                self.assertIn("column %s: 1 row holds" % name, p.stderr)
                self.assertIn("--allow-lossy", p.stderr)
                # Nothing made, nothing written.
                self.assertEqual([], client(dst, "SELECT 1 FROM %s" % {
                    "maria": "information_schema.tables WHERE table_schema = DATABASE() AND table_name = 'orl_rt_lossy'",
                    "pg": "information_schema.tables WHERE table_schema = current_schema() "
                          "AND table_name = 'orl_rt_lossy'",
                    "sqlite": "sqlite_master WHERE name = 'orl_rt_lossy'"}[dst]))
                p = orlodbc(base + ["--allow-lossy"])
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertIn("column %s will change" % name, p.stderr)
                self.assertEqual([["2"]], client(dst, "SELECT COUNT(*) FROM orl_rt_lossy"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
