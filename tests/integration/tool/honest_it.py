#!/usr/bin/env python3
"""orlodbc copy checking itself: --verify sees a value the target changed
even where the driver's read of both sides would hide it; split copies carry
every row whatever their key; a failed --drop-existing copy leaves the old
table as it was. On SQLite, PostgreSQL and MariaDB.

Usage: honest_it.py PATH_TO_ORLODBC [unittest args]"""
import os
import sys
import unittest

ORLODBC = sys.argv.pop(1) if len(sys.argv) > 1 else "orlodbc"
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import roundtrip_it as rt  # noqa: E402  the clients, DSNs, require and the every-type table

rt.ORLODBC = ORLODBC
client, conn_args, orlodbc, require = rt.client, rt.conn_args, rt.orlodbc, rt.require
LABELS = ["sqlite", "pg", "maria"]


def copy(src, dst, *args):
    return orlodbc(["copy"] + conn_args(src, "from") + conn_args(dst, "to") + list(args))


def count(label, table):
    return int(client(label, "SELECT COUNT(*) FROM %s" % table)[0][0])


def tables_like(label, prefix):
    sql = {"pg": "SELECT tablename FROM pg_tables WHERE tablename LIKE '%s%%'",
           "maria": "SELECT table_name FROM information_schema.tables WHERE table_schema = DATABASE() "
                    "AND table_name LIKE '%s%%'",
           "sqlite": "SELECT name FROM sqlite_master WHERE type = 'table' AND name LIKE '%s%%'"}[label]
    return [r[0] for r in client(label, sql % prefix)]


# The source of the lossy copies: values the driver's own reads narrow.
LOSS_SOURCE = ("CREATE TABLE orl_hv_loss (id integer, un numeric, tm time(6), big bigint)",
               "INSERT INTO orl_hv_loss VALUES (1, 3.14159265358979, '12:00:00.123456', 5000000000), "
               "(2, 1, '01:02:03', 7), (3, NULL, NULL, NULL)")
LOSS_TARGET = {
    "pg": "CREATE TABLE orl_hv_loss (id integer, un numeric, tm time(6), big bigint)",
    "maria": "CREATE TABLE orl_hv_loss (id int, un decimal(65,30), tm time(6), big bigint)",
    "sqlite": "CREATE TABLE orl_hv_loss (id INTEGER, un TEXT, tm TIME, big INTEGER)",
}
# Each changes one column as the rows arrive: what the target keeps is not what was sent.
TRIGGERS = {
    "pg": ["CREATE OR REPLACE FUNCTION orl_hv_round() RETURNS trigger AS "
           "$$ BEGIN NEW.un := round(NEW.un, 6); RETURN NEW; END $$ LANGUAGE plpgsql",
           "CREATE TRIGGER orl_hv_t BEFORE INSERT ON orl_hv_loss FOR EACH ROW EXECUTE FUNCTION orl_hv_round()"],
    "maria": ["CREATE TRIGGER orl_hv_t BEFORE INSERT ON orl_hv_loss FOR EACH ROW "
              "SET NEW.tm = MAKETIME(HOUR(NEW.tm), MINUTE(NEW.tm), SECOND(NEW.tm))"],
    "sqlite": ["CREATE TRIGGER orl_hv_t AFTER INSERT ON orl_hv_loss BEGIN UPDATE orl_hv_loss SET "
               "big = ((big + 2147483648) % 4294967296) - 2147483648 WHERE rowid = NEW.rowid; END"],
}


class Verify(unittest.TestCase):
    def test_exact_copies_of_every_type_verify_between_every_pair(self):
        for src in LABELS:
            for dst in LABELS:
                if src == dst:
                    continue
                with self.subTest(src=src, dst=dst):
                    require(self, src, dst)
                    client(src, "DROP TABLE IF EXISTS orl_hv_src")
                    client(src, "CREATE TABLE orl_hv_src (%s)" % rt.DDL[src])
                    client(src, "INSERT INTO orl_hv_src VALUES %s" % ", ".join(rt.rows(src)))
                    p = copy(src, dst, "--table", "orl_hv_src", "--to-table", "orl_hv_dst", "--create",
                             "--drop-existing", "--verify")
                    self.assertEqual(0, p.returncode, p.stderr)
                    self.assertRegex(p.stdout, r"verified 3 rows, checksum [0-9a-f]{16}")

    def test_a_target_that_changes_values_fails_verify(self):
        # target, column it changes, the copy's extra flags; None: the trigger of TRIGGERS.
        cases = [
            ("pg", "un", None),
            ("maria", "tm", None),
            ("sqlite", "big", None),
            # A narrower type taken knowingly: the fraction of a second goes.
            ("maria", "tm", "time"),
        ]
        for dst, column, narrower in cases:
            with self.subTest(dst=dst, column=column, narrower=narrower):
                require(self, "pg", dst)
                client("pg", "DROP TABLE IF EXISTS orl_hv_loss")
                for s in LOSS_SOURCE:
                    client("pg", s)
                src = "pg" if dst != "pg" else "maria"
                if src == "maria":
                    client("maria", "DROP TABLE IF EXISTS orl_hv_loss")
                    client("maria", LOSS_TARGET["maria"])
                    client("maria", LOSS_SOURCE[1])
                client(dst, "DROP TABLE IF EXISTS orl_hv_loss")
                client(dst, LOSS_TARGET[dst])
                # Untouched, the same copy verifies.
                p = copy(src, dst, "--table", "orl_hv_loss", "--verify")
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertIn("verified 3 rows", p.stdout)
                client(dst, "DELETE FROM orl_hv_loss")
                if narrower:
                    client(dst, "DROP TABLE orl_hv_loss")
                    client(dst, LOSS_TARGET[dst].replace("tm time(6)", "tm " + narrower))
                else:
                    for s in TRIGGERS[dst]:
                        client(dst, s)
                p = copy(src, dst, "--table", "orl_hv_loss", "--verify", "--allow-lossy")
                self.assertEqual(1, p.returncode, p.stdout + p.stderr)
                self.assertIn("verify: column %s differs" % column, p.stderr)
                self.assertNotIn("verified", p.stdout)
                for other in {"un", "tm", "big"} - {column}:
                    self.assertNotIn("column %s differs" % other, p.stderr)


SPLIT_DDL = {
    "pg": "id integer, amount numeric(7,2), f double precision, name varchar(20)",
    "maria": "id int, amount decimal(7,2), f double, name varchar(20)",
    "sqlite": "id INTEGER, amount NUMERIC(7,2), f DOUBLE, name VARCHAR(20)",
}


def make_split_source(label):
    """10,002 rows: keys from -5000 on, amounts of two decimals in no order, two rows without either."""
    client(label, "DROP TABLE IF EXISTS orl_hv_digits")
    client(label, "CREATE TABLE orl_hv_digits (d integer)")
    client(label, "INSERT INTO orl_hv_digits VALUES (0), (1), (2), (3), (4), (5), (6), (7), (8), (9)")
    client(label, "DROP TABLE IF EXISTS orl_hv_split")
    client(label, "CREATE TABLE orl_hv_split (%s)" % SPLIT_DDL[label])
    key = "(a.d * 1000 + b.d * 100 + c.d * 10 + e.d - 5000)"
    client(label, "INSERT INTO orl_hv_split SELECT %s, (%s * 7919 %% 99999) / 100.0, %s / 3.0, 'r' "
                  "FROM orl_hv_digits a, orl_hv_digits b, orl_hv_digits c, orl_hv_digits e" % (key, key, key))
    client(label, "INSERT INTO orl_hv_split VALUES (NULL, NULL, NULL, 'none'), (NULL, NULL, NULL, 'none')")


class Split(unittest.TestCase):
    def test_integer_and_decimal_keys_carry_every_row(self):
        for src in LABELS:
            dst = "maria" if src == "pg" else "pg"
            with self.subTest(src=src, dst=dst):
                require(self, src, dst)
                make_split_source(src)
                for key in ("id", "amount"):
                    for jobs in ("1", "3"):
                        p = copy(src, dst, "--table", "orl_hv_split", "--create", "--drop-existing", "--verify",
                                 "--jobs", jobs, "--split-by", key)
                        self.assertEqual(0, p.returncode, "%s %s: %s" % (key, jobs, p.stderr))
                        self.assertIn("copied 10002 rows", p.stdout)
                        self.assertEqual(10002, count(dst, "orl_hv_split"))
                        self.assertEqual(2, int(client(dst, "SELECT COUNT(*) FROM orl_hv_split WHERE id IS NULL")[0][0]))

    def test_a_double_key_is_refused_before_anything_is_made(self):
        for src in LABELS:
            dst = "maria" if src == "pg" else "pg"
            with self.subTest(src=src):
                require(self, src, dst)
                make_split_source(src)
                client(dst, "DROP TABLE IF EXISTS orl_hv_split")
                p = copy(src, dst, "--table", "orl_hv_split", "--create", "--jobs", "3", "--split-by", "f")
                self.assertEqual(2, p.returncode, p.stderr)
                self.assertIn("an integer or decimal key", p.stderr)
                self.assertEqual([], tables_like(dst, "orl_hv_split"))

    def test_rows_that_differ_from_the_count_fail_the_copy(self):
        # A view whose rows move on at each read: the count before the copy sees 5 of them, the copy 6.
        require(self, "pg", "sqlite")
        client("pg", "DROP VIEW IF EXISTS orl_hv_moving")
        client("pg", "DROP SEQUENCE IF EXISTS orl_hv_seq")
        client("pg", "CREATE SEQUENCE orl_hv_seq")
        client("pg", "CREATE VIEW orl_hv_moving AS SELECT x FROM generate_series(1, 11) x "
                     "WHERE nextval('orl_hv_seq') % 2 = 0")
        client("sqlite", "DROP TABLE IF EXISTS orl_hv_moving")
        p = copy("pg", "sqlite", "--table", "orl_hv_moving", "--create")
        self.assertEqual(1, p.returncode, p.stdout + p.stderr)
        self.assertIn("the source counted 5 rows before the copy and the 1 job copied 6", p.stderr)
        self.assertNotIn("copied 6 rows", p.stdout)


class Replace(unittest.TestCase):
    def make_old(self, label):
        client(label, "DROP TABLE IF EXISTS orl_hv_keep")
        client(label, "CREATE TABLE orl_hv_keep (id integer PRIMARY KEY, old_name varchar(10))")
        client(label, "INSERT INTO orl_hv_keep VALUES (1, 'one'), (2, 'two'), (3, 'three')")

    def test_a_copy_that_fails_on_its_first_row_leaves_the_old_table(self):
        client_src = "pg"
        for dst in LABELS:
            with self.subTest(dst=dst):
                require(self, client_src, dst)
                client("pg", "DROP TABLE IF EXISTS orl_hv_new")
                client("pg", "CREATE TABLE orl_hv_new (id integer PRIMARY KEY, v integer)")
                client("pg", "INSERT INTO orl_hv_new VALUES (1, 10), (2, 20)")
                # The table to replace; on PostgreSQL beside the source, under another name.
                self.make_old(dst)
                # A copy killed outright (no chance to drop its fresh table) leaves one behind:
                # only what these copies leave counts.
                left = tables_like(dst, "orl_new_")
                # PostgreSQL divides at run time: the read fails before its first row.
                p = copy("pg", dst, "--query", "SELECT id, v / (id - id) AS v FROM orl_hv_new",
                         "--to-table", "orl_hv_keep", "--create", "--drop-existing")
                self.assertEqual(1, p.returncode, p.stderr)
                self.assertIn("orl_hv_keep is as it was", p.stderr)
                self.assertEqual([["1", "one"], ["2", "two"], ["3", "three"]],
                                 client(dst, "SELECT id, old_name FROM orl_hv_keep ORDER BY id"))
                self.assertEqual(left, tables_like(dst, "orl_new_"))
                # Whole, it takes the old one's place, key and all.
                p = copy("pg", dst, "--table", "orl_hv_new", "--to-table", "orl_hv_keep", "--create",
                         "--drop-existing", "--verify")
                self.assertEqual(0, p.returncode, p.stderr)
                self.assertEqual([["1", "10"], ["2", "20"]], client(dst, "SELECT id, v FROM orl_hv_keep ORDER BY id"))
                self.assertEqual(left, tables_like(dst, "orl_new_"))
                self.assertEqual([], tables_like(dst, "orl_old_"))
                p = copy("pg", dst, "--table", "orl_hv_new", "--to-table", "orl_hv_keep", "--create",
                         "--drop-existing")
                self.assertEqual(0, p.returncode, p.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
