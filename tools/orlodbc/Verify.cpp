#include "tools/orlodbc/Verify.h"

#include <chrono>
#include <cstdio>
#include <ostream>
#include <thread>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Checksum.h"
#include "tools/orlodbc/Fingerprint.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;

namespace orlodbc {

namespace {

// Reads a whole query back and sums it up; false with the link's why().
bool checksumOf(BulkLink& link, const std::string& sql, TableChecksum& sum) {
    Statement st(link, link.connection()->createPreparedStatement(sql.c_str(), link.error()));
    if (st.get() == nullptr) return link.failRecord();
    Shape shape;
    if (!shapeOf(link, st.get(), shape)) return false;
    sum = TableChecksum(shape.types);
    bool more = false;
    if (st->execute(link.error()) != 0 || st->nextResultSet(more, link.error()) != 0) return link.failRecord();
    while (true) {
        if (st->hasMoreData(more, link.error()) != 0) return link.failRecord();
        if (!more) break;
        RowPtr row(st->nextRow(link.error()));
        if (!row) return link.failRecord();
        sum.add(row.get());
    }
    return true;
}

} // namespace

int verifyByReading(DriverHost& host, const DataService& fromService, const std::string& sourceSql,
               const DataService& toService, const std::string& targetSql, const Shape& shape, std::ostream& out,
               std::ostream& err) {
    BulkLink vsrc(host, "source"), vdst(host, "target");
    if (!vsrc.open(fromService) || !vdst.open(toService)) {
        err << "orlodbc: verify: " << (vsrc.why().empty() ? vdst.why() : vsrc.why()) << std::endl;
        return 1;
    }
    TableChecksum a, b;
    bool okA = false, okB = false;
    std::thread reader([&] { okA = checksumOf(vsrc, sourceSql, a); });
    okB = checksumOf(vdst, targetSql, b);
    reader.join();
    if (!okA || !okB) {
        err << "orlodbc: verify: " << (okA ? vdst.why() : vsrc.why()) << std::endl;
        return 1;
    }
    bool same = a.rows() == b.rows();
    if (!same) err << "orlodbc: verify: the source has " << a.rows() << " rows, the target " << b.rows() << std::endl;
    for (size_t j = 0; j < shape.names.size() && j < b.columnSums().size(); ++j) {
        if (a.columnSums()[j] != b.columnSums()[j]) {
            err << "orlodbc: verify: column " << shape.names[j] << " differs (" << typeToString(shape.types[j])
                << " in the source)" << std::endl;
            same = false;
        }
    }
    if (!same) return 1;
    out << "verified " << b.rows() << " rows, checksum " << b.text() << std::endl;
    return 0;
}

int verifyCopy(DriverHost& host, const VerifySide& from, const VerifySide& to, const Shape& shape,
               const std::vector<SourceColumn>& source, const std::vector<ColumnType>& target, std::ostream& out,
               std::ostream& err) {
    const auto known = [](DbKind k) { return k != DbKind::Other; };
    if (!known(from.dialect.kind) || !known(to.dialect.kind)) {
        out << "verify: " << kindName(known(from.dialect.kind) ? to.dialect.kind : from.dialect.kind)
            << " has no canonical forms here: both sides compared as the driver reads them" << std::endl;
        return verifyByReading(host, *from.service, from.readBackSql, *to.service, to.readBackSql, shape, out, err);
    }
    const size_t n = shape.names.size();
    std::vector<PrintColumn> a(n), b(n);
    for (size_t j = 0; j < n; ++j) {
        const ColumnType src = j < source.size() ? source[j].type : ColumnType();
        const ColumnType dst = j < target.size() ? target[j] : ColumnType();
        const Canon canon = canonFor(src, dst);
        a[j].name = b[j].name = shape.names[j];
        a[j].canon = b[j].canon = canon;
        a[j].type = src;
        b[j].type = dst.kind == Kind::Other ? src : dst;
    }
    // SQLite prints doubles exactly to about 16 digits only.
    const bool to15 = from.dialect.kind == DbKind::SQLite || to.dialect.kind == DbKind::SQLite;

    const auto start = std::chrono::steady_clock::now();
    ClassicLink la(host), lb(host);
    std::string whyA, whyB;
    if (!la.open(*from.service, whyA) || !lb.open(*to.service, whyB)) {
        err << "orlodbc: verify: " << (whyA.empty() ? "target: " + whyB : "source: " + whyA) << std::endl;
        return 1;
    }
    TablePrint pa, pb;
    bool okA = false, okB = false;
    std::thread reader([&] { okA = printTable(la, from.dialect, from.from, a, to15, pa, whyA, from.where); });
    okB = printTable(lb, to.dialect, to.from, b, to15, pb, whyB, to.where);
    reader.join();
    if (!okA || !okB) {
        err << "orlodbc: verify: " << (okA ? "target: " + whyB : "source: " + whyA) << std::endl;
        return 1;
    }
    bool same = pa.rows == pb.rows;
    if (!same) err << "orlodbc: verify: the source has " << pa.rows << " rows, the target " << pb.rows << std::endl;
    for (size_t j = 0; j < n; ++j) {
        const ColumnPrint &x = pa.columns[j], &y = pb.columns[j];
        if (x.values != y.values) {
            err << "orlodbc: verify: column " << shownName(shape.names[j]) << " differs: " << pa.rows - x.values
                << " NULLs in the source, " << pb.rows - y.values << " in the target" << std::endl;
            same = false;
        } else if (x.sum != y.sum || x.squares != y.squares) {
            err << "orlodbc: verify: column " << shownName(shape.names[j]) << " differs: the values compared as "
                << canonName(a[j].canon) << " aren't the same" << std::endl;
            same = false;
        }
    }
    if (!same) return 1;
    char took[32];
    std::snprintf(took, sizeof took, "%.2f",
                  std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    out << "verified " << pb.rows << " rows, checksum " << pb.text() << " in " << took << " s" << std::endl;
    for (size_t j = 0; j < n; ++j) {
        if (a[j].canon == Canon::Float && to15)
            out << "verify: column " << shownName(shape.names[j])
                << ": doubles compared to 15 significant digits, as SQLite prints no more exactly" << std::endl;
        else if (a[j].canon == Canon::AsText)
            out << "verify: column " << shownName(shape.names[j]) << ": compared as " << canonName(a[j].canon)
                << std::endl;
    }
    return 0;
}

} // namespace orlodbc
