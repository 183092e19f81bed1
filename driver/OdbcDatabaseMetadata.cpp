#include "driver/OdbcDatabaseMetadata.h"

#include <sqlext.h>

#include <set>
#include <typeinfo>

#include "driver/OdbcConnection.h"
#include "driver/OdbcError.h"
#include "host/Driver.h"
#include "host/LogServiceImpl.h"
#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB {

using ODBC::ByteStore;
using ODBC::OdbcCatalog;
using ODBC::OdbcCol;
using ODBC::OdbcDbc;
using ODBC::Status_NoData;
using ODBC::Status_Null;
using ODBC::Status_Ok;

namespace {
constexpr int kOk = 1;
constexpr int kFailed = 3;
constexpr unsigned int kUnknownType = 6;

const char* const kErrTableList = "801005-3_ERROR_GETTING_TABLE_LIST";
const char* const kErrColumnInfo = "801006-3_ERROR_GETTING_COLUMN_INFO";

// Result columns of the ODBC catalog functions that are read.
constexpr int kTableSchem = 2, kTableName = 3, kColumnName = 4, kDataType = 5, kTypeName = 6, kColumnSize = 7,
              kBufferLength = 8, kDecimalDigits = 9, kNullable = 11, kColumnDef = 13;

// Deletes a scan on every way out, so that no cursor (and no SQLite read
// lock) outlives the question that opened it.
class ScanHolder {
public:
    explicit ScanHolder(OdbcCatalog* scan) : scan(scan) {}
    ~ScanHolder() { delete scan; }
    ScanHolder(const ScanHolder&) = delete;
    ScanHolder& operator=(const ScanHolder&) = delete;
    OdbcCatalog* operator->() const { return scan; }
    OdbcCatalog* get() const { return scan; }
    void reset() {
        delete scan;
        scan = nullptr;
    }

private:
    OdbcCatalog* scan;
};

enum class Step { Row, End, FetchFailed, MoreFailed };

// One turn of the scan loop shared by every routine: a row, the end, or which
// call failed. A further result set counts as a row without a new Fetch.
Step nextRow(OdbcCatalog* scan) {
    ODBC::e_Status status = scan->Fetch();
    if (status == Status_Ok) return Step::Row;
    if (status != Status_NoData) return Step::FetchFailed;
    status = scan->MoreResults();
    if (status == Status_Ok) return Step::Row;
    return status == Status_NoData ? Step::End : Step::MoreFailed;
}

// The column's text, up to its first NUL as the names are C text.
bool readText(OdbcCol* col, std::string& out, ODBC::e_Status* status = nullptr) {
    ByteStore store;
    ODBC::e_Status s = col ? col->GetData(&store) : ODBC::Status_Error;
    if (status) *status = s;
    if (s != Status_Ok) return false;
    out = store.Text();
    return true;
}

// Optional catalog fields: absent, empty or NULL all read as 0.
template <typename T>
bool readTolerant(OdbcCol* col, T& value) {
    value = T();
    if (col == nullptr) return true;
    ODBC::e_Status s = col->GetData(value);
    if (s == Status_Ok) return true;
    value = T();
    return s == Status_NoData || s == Status_Null;
}

// Search arguments go to ODBC as writable C text; an empty schema is "not given".
struct Argument {
    explicit Argument(const std::string& text, bool emptyIsNull = false)
        : text(text), given(!(emptyIsNull && text.empty())) {}
    char* get() { return given ? &text[0] : nullptr; }
    std::string text;
    bool given;
};

template <typename F>
int guarded(F&& call) {
    try {
        return call();
    } catch (...) {
        // The connection is not ours (bad_cast), or memory ran out.
        return kFailed;
    }
}
} // namespace

OdbcDatabaseMetadata::OdbcDatabaseMetadata(Connection& connection) : DatabaseMetadata(connection) {}

OdbcDatabaseMetadata::~OdbcDatabaseMetadata() = default;

OdbcDbc* OdbcDatabaseMetadata::dbc() { return dynamic_cast<OdbcConnection&>(connection).getDbc(); }

void OdbcDatabaseMetadata::report(const char* id, const std::string* table, OdbcDbc* handle, OdbcCatalog* source,
                                  bool keep) {
    // Before open() there is no handle to ask: the failure carries no text.
    std::string text = source ? getOdbcError(source) : handle ? getOdbcError(handle) : std::string();
    if (table)
        LogServiceImpl::log(id, table->c_str(), text.c_str());
    else
        LogServiceImpl::log(id, text.c_str());
    if (!keep) return;
    lastErrors += "\n";
    lastErrors += text;
}

bool OdbcDatabaseMetadata::acceptsSchema(const std::string& keyword, const std::string& wanted,
                                         const std::string& rowSchema) {
    if (keyword == "DB2") {
        for (const char* system : {"SYSIBM", "SYSCAT", "SYSSTAT", "SYSTOOLS", "SYSIBMADM"})
            if (rowSchema == system) return false;
        return true;
    }
    return wanted.empty() || wanted == rowSchema;
}

// ---- Schemas and tables ------------------------------------------------------

int OdbcDatabaseMetadata::getSchemaNames(std::vector<std::string>& names) {
    return guarded([&] {
        if (!schemaNames.empty()) {
            names = schemaNames;
            return kOk;
        }
        OdbcDbc* handle = dbc();
        char all[] = "%";
        ScanHolder scan(handle ? handle->ScanTables(nullptr, all, nullptr, nullptr) : nullptr);
        if (scan.get() == nullptr) {
            report(kErrTableList, nullptr, handle, nullptr, true);
            return kFailed;
        }
        std::set<std::string> found;
        for (;;) {
            Step step = nextRow(scan.get());
            if (step == Step::End) break;
            if (step != Step::Row) {
                report(kErrTableList, nullptr, handle, scan.get(), true);
                return kOk;  // nothing kept, and still a success
            }
            OdbcCol* col = scan->GetColumn(kTableSchem);
            if (col == nullptr) continue;
            std::string name;
            // A NULL schema (a database without schemas) ends the list empty.
            if (!readText(col, name)) return kOk;
            found.insert(name);
        }
        schemaNames.assign(found.begin(), found.end());
        names = schemaNames;
        return kOk;
    });
}

int OdbcDatabaseMetadata::getTableNames(std::vector<std::string>& names) { return getTableNames("", names); }

int OdbcDatabaseMetadata::getTableNames(const std::string& schema, std::vector<std::string>& names) {
    return guarded([&] {
        std::vector<std::string>& cache = tableNames[schema];
        if (!cache.empty()) {
            names = cache;
            return kOk;
        }
        OdbcDbc* handle = dbc();
        char types[] = "TABLE,VIEW";
        ScanHolder scan(handle ? handle->ScanTables(nullptr, nullptr, nullptr, types) : nullptr);
        if (scan.get() == nullptr) {
            report(kErrTableList, nullptr, handle, nullptr, true);
            return kFailed;
        }
        for (;;) {
            Step step = nextRow(scan.get());
            if (step == Step::End) break;
            if (step != Step::Row) {
                report(kErrTableList, nullptr, handle, scan.get(), true);
                cache.clear();
                return kOk;
            }
            std::string keyword = connection.getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE);
            std::string rowSchema;
            // A row whose schema can't be read is taken as it stands.
            if (readText(scan->GetColumn(kTableSchem), rowSchema) && !acceptsSchema(keyword, schema, rowSchema))
                continue;
            std::string table;
            if (readText(scan->GetColumn(kTableName), table)) cache.push_back(table);
        }
        names = cache;
        return kOk;
    });
}

// ---- Columns -----------------------------------------------------------------

int OdbcDatabaseMetadata::getTableAllColumnInfo(const std::string& table, bool refresh) {
    return getTableAllColumnInfo("", table, refresh);
}

int OdbcDatabaseMetadata::getTableAllColumnInfo(const std::string& schema, const std::string& table, bool refresh) {
    return guarded([&] {
        std::map<std::string, std::vector<OdbcColumn>>& bySchema = columns[schema];
        if (!refresh && bySchema.find(table) != bySchema.end()) return kOk;
        // One table per schema is kept: asking for another one scans again.
        bySchema.clear();
        OdbcDbc* handle = dbc();
        Argument schemaArg(schema, true), tableArg(table);
        ScanHolder scan(handle ? handle->ScanTableColumns(nullptr, schemaArg.get(), tableArg.get(), nullptr)
                               : nullptr);
        if (scan.get() == nullptr) {
            report(kErrColumnInfo, &table, handle, nullptr, true);
            return kFailed;
        }
        std::string databaseType = handle->GetDatabaseType();
        std::vector<OdbcColumn> found;
        for (;;) {
            Step step = nextRow(scan.get());
            if (step == Step::End) break;
            if (step != Step::Row) {
                report(kErrColumnInfo, &table, handle, scan.get(), true);
                break;  // what was read so far is kept
            }
            OdbcCol* nameCol = scan->GetColumn(kColumnName);
            OdbcCol* typeCol = scan->GetColumn(kDataType);
            if (nameCol == nullptr || typeCol == nullptr) continue;
            std::string name, typeName, def;
            short dataType = 0, digits = 0;
            int size = 0, bufferLength = 0;
            bool nullable = false;
            ODBC::e_Status defStatus = Status_Ok;
            bool good = readText(nameCol, name) && typeCol->GetData(dataType) == Status_Ok &&
                        readText(scan->GetColumn(kTypeName), typeName) &&
                        readTolerant(scan->GetColumn(kDecimalDigits), digits) &&
                        readTolerant(scan->GetColumn(kColumnSize), size) &&
                        readTolerant(scan->GetColumn(kBufferLength), bufferLength) &&
                        readTolerant(scan->GetColumn(kNullable), nullable);
            if (good) {
                OdbcCol* defCol = scan->GetColumn(kColumnDef);
                if (defCol == nullptr || (!readText(defCol, def, &defStatus) && defStatus == Status_Null))
                    def = "NULL";
                else
                    good = defStatus == Status_Ok;
            }
            if (!good) {
                // One bad row costs the row only, and no lastErrors entry.
                report(kErrColumnInfo, &table, handle, scan.get(), false);
                continue;
            }
            std::string ignored;
            readText(scan->GetColumn(kTableSchem), ignored);
            readText(scan->GetColumn(kTableName), ignored);

            OdbcColumn column;
            column.databaseType = databaseType;  // before the type: the vendor float needs it
            column.name = name;
            column.scale = digits;
            column.type = column.getOrlDataType(dataType);
            column.sqlTypeName = typeName;
            column.size = size;
            column.bufferLength = bufferLength;
            column.nullable = nullable;
            column.sqlType = dataType;
            column.hasDefault = def != "NULL";
            if (dataType == SQL_NUMERIC || dataType == SQL_DECIMAL) {
                // The catalog's precision and scale complete the fixed-decimal word.
                column.type = (column.type & 0xFFu) | ((static_cast<unsigned int>(size) & 0x3FFFu) << 14) |
                              ((static_cast<unsigned int>(digits) & 0x3Fu) << 8);
            }
            found.push_back(column);
        }
        // Keyed by the argument, not TABLE_NAME: a pattern gathers all its matches here.
        bySchema.emplace(table, std::move(found));
        // Closed before the key scan: some drivers allow one active statement per connection.
        scan.reset();
        return updatePrimaryKeyInfo(schema, table);
    });
}

int OdbcDatabaseMetadata::updatePrimaryKeyInfo(const std::string& schema, const std::string& table) {
    return guarded([&] {
        OdbcDbc* handle = dbc();
        Argument schemaArg(schema, true), tableArg(table);
        ScanHolder scan(handle ? handle->ScanTablePrimaryKey(nullptr, schemaArg.get(), tableArg.get(), nullptr)
                               : nullptr);
        if (scan.get() == nullptr) {
            report(kErrColumnInfo, &table, handle, nullptr, true);
            return kFailed;
        }
        // Looked up without creating: a direct call must not plant an empty cache entry.
        std::vector<OdbcColumn>* cache = cached(schema, table);
        for (;;) {
            Step step = nextRow(scan.get());
            if (step == Step::End) return kOk;
            if (step != Step::Row) {
                // The key marks stay as far as they got; only a failed Fetch is kept as an error.
                report(kErrColumnInfo, &table, handle, scan.get(), step == Step::FetchFailed);
                return kOk;
            }
            OdbcCol* col = scan->GetColumn(kColumnName);
            if (col == nullptr) continue;
            std::string name;
            if (!readText(col, name)) {
                report(kErrColumnInfo, &table, handle, scan.get(), false);
                continue;
            }
            if (cache == nullptr) continue;
            for (OdbcColumn& column : *cache) {
                if (column.name == name) {
                    column.primaryKey = true;
                    break;
                }
            }
        }
    });
}

std::vector<OdbcColumn>* OdbcDatabaseMetadata::cached(const std::string& schema, const std::string& table) {
    auto bySchema = columns.find(schema);
    if (bySchema == columns.end()) return nullptr;
    auto entry = bySchema->second.find(table);
    return entry == bySchema->second.end() ? nullptr : &entry->second;
}

OdbcColumn* OdbcDatabaseMetadata::cachedColumn(const std::string& schema, const std::string& table, int column) {
    std::vector<OdbcColumn>* cache = cached(schema, table);
    if (cache == nullptr || column < 0 || static_cast<size_t>(column) >= cache->size()) return nullptr;
    return &(*cache)[static_cast<size_t>(column)];
}

int OdbcDatabaseMetadata::getTableNumColumns(const std::string& table, int& count) {
    return getTableNumColumns("", table, count);
}

int OdbcDatabaseMetadata::getTableNumColumns(const std::string& schema, const std::string& table, int& count) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    std::vector<OdbcColumn>* cache = cached(schema, table);
    if (cache == nullptr) return kFailed;
    count = static_cast<int>(cache->size());
    return kOk;
}

int OdbcDatabaseMetadata::getTableColumnName(const std::string& table, int column, std::string& name) {
    return getTableColumnName("", table, column, name);
}

int OdbcDatabaseMetadata::getTableColumnName(const std::string& schema, const std::string& table, int column,
                                             std::string& name) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    return guarded([&] {
        OdbcColumn* found = cachedColumn(schema, table, column);
        name = found ? found->name : std::string();
        return found ? kOk : kFailed;
    });
}

int OdbcDatabaseMetadata::getTableColumnType(const std::string& table, int column, unsigned int& type) {
    return getTableColumnType("", table, column, type);
}

int OdbcDatabaseMetadata::getTableColumnType(const std::string& schema, const std::string& table, int column,
                                             unsigned int& type) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    OdbcColumn* found = cachedColumn(schema, table, column);
    type = found ? found->type : kUnknownType;
    return found ? kOk : kFailed;
}

int OdbcDatabaseMetadata::getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) {
    return getTableColumnPrimaryKey("", table, column, primaryKey);
}

int OdbcDatabaseMetadata::getTableColumnPrimaryKey(const std::string& schema, const std::string& table, int column,
                                                   bool& primaryKey) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    // Callers are to pass a good index; a bad one fails instead of reading past the cache.
    OdbcColumn* found = cachedColumn(schema, table, column);
    if (found == nullptr) return kFailed;
    primaryKey = found->primaryKey;
    return kOk;
}

int OdbcDatabaseMetadata::getTableColumnInfo(const std::string& table, int column, std::string& name,
                                             unsigned int& type) {
    return getTableColumnInfo("", table, column, name, type);
}

int OdbcDatabaseMetadata::getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                             std::string& name, unsigned int& type) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    return guarded([&] {
        OdbcColumn* found = cachedColumn(schema, table, column);
        name = found ? found->name : std::string();
        type = found ? found->type : kUnknownType;
        return found ? kOk : kFailed;
    });
}

int OdbcDatabaseMetadata::getTableColumnInfo(const std::string& table, int column, const Column*& info) {
    return getTableColumnInfo("", table, column, info);
}

int OdbcDatabaseMetadata::getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                             const Column*& info) {
    int status = getTableAllColumnInfo(schema, table, false);
    if (status != kOk) return status;
    info = cachedColumn(schema, table, column);
    return info ? kOk : kFailed;
}

int OdbcDatabaseMetadata::getLastErrors(std::string& out) {
    out.swap(lastErrors);
    lastErrors.clear();
    return kOk;
}

}}} // namespace KORVEL::Orl::DB
