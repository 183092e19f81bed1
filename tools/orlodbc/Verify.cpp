#include "tools/orlodbc/Verify.h"

#include <ostream>
#include <thread>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Checksum.h"

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

int verifyCopy(DriverHost& host, const DataService& fromService, const std::string& sourceSql,
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


} // namespace orlodbc
