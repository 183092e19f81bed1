// The host objects a copy holds, each given back on every way out: bulk and
// classic connections with their error records, and prepared statements.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/PreparedStatement.h"
#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/DriverHost.h"

namespace orlodbc {

struct FreeRow {
    void operator()(KORVEL::Orl::DB::RowInternal2* row) const { std::free(row); }
};
typedef std::unique_ptr<KORVEL::Orl::DB::RowInternal2, FreeRow> RowPtr;

// The text of an error record, never empty.
std::string recordText(const KORVEL::Orl::DB::DBError* e);

// One bulk connection with its error record.
class BulkLink {
public:
    BulkLink(DriverHost& host, const char* role) : host_(host), role_(role) {}
    ~BulkLink();
    BulkLink(const BulkLink&) = delete;
    BulkLink& operator=(const BulkLink&) = delete;

    bool open(const KORVEL::Orl::DataService& service);
    KORVEL::Orl::DB::Connection2* connection() const { return connection_; }
    KORVEL::Orl::DB::DBError* error() const { return error_; }
    // "<role>: <text>" of the last failure.
    const std::string& why() const { return why_; }
    bool fail(const std::string& text) {
        why_ = std::string(role_) + ": " + text;
        return false;
    }
    bool failRecord() { return fail(recordText(error_)); }

private:
    DriverHost& host_;
    const char* role_;
    KORVEL::Orl::DB::Connection2* connection_ = nullptr;
    KORVEL::Orl::DB::DBError* error_ = nullptr;
    std::string why_;
    long noted_ = 0;  // the session as Interrupt knows it
};

// A prepared statement released through its connection.
class Statement {
public:
    Statement(BulkLink& link, KORVEL::Orl::DB::PreparedStatement* st) : link_(link), st_(st) {}
    ~Statement() {
        if (st_) link_.connection()->releaseStatement(st_, link_.error());
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    KORVEL::Orl::DB::PreparedStatement* operator->() const { return st_; }
    KORVEL::Orl::DB::PreparedStatement* get() const { return st_; }

private:
    BulkLink& link_;
    KORVEL::Orl::DB::PreparedStatement* st_;
};

// A classic connection, for what only it does: the database's keyword and
// catalog, and statements of our own text.
class ClassicLink {
public:
    explicit ClassicLink(DriverHost& host) : host_(host) {}
    ~ClassicLink();
    ClassicLink(const ClassicLink&) = delete;
    ClassicLink& operator=(const ClassicLink&) = delete;

    bool open(const KORVEL::Orl::DataService& service, std::string& why);
    KORVEL::Orl::DB::Connection* get() const { return c_; }
    // Always false, with the connection's last error (or log line) in `why`.
    bool failed(std::string& why);
    // How names are written for this database: from what the driver says of
    // it (DBMS name, identifier quote), else from the driver's keyword.
    Dialect dialect();

private:
    DriverHost& host_;
    KORVEL::Orl::DB::Connection* c_ = nullptr;
    long noted_ = 0;
};

// Text parameters of a classic statement: names and other data go into our
// own SQL as values, never pasted. The parameters point into `args`.
std::vector<KORVEL::Orl::DB::Parameter> textParameters(const std::vector<std::string>& args);

// Runs a classic query of our own text whose `n` columns are read as texts,
// with text parameters, and calls `f` with each row's cells (null for NULL).
// False when a step fails; the connection's errors say why.
bool eachTextRow(KORVEL::Orl::DB::Connection& c, const std::string& sql, const std::vector<std::string>& args, int n,
                 const std::function<void(const std::vector<const char*>&)>& f);

// What a statement gives: column names and the type words the driver reads them with.
struct Shape {
    std::vector<std::string> names;
    std::vector<unsigned int> types;
};

bool shapeOf(BulkLink& link, KORVEL::Orl::DB::PreparedStatement* st, Shape& shape);

// Runs a query whose columns are read as 64-bit integers (MIN/MAX, COUNT,
// whatever integer type the database answers in) and gives its first row.
bool readLongs(BulkLink& link, const std::string& sql, std::vector<int64_t>& values, std::vector<bool>& nulls);

// readLongs for a query that may give no row: then true with `found` false.
bool readLongsIfAny(BulkLink& link, const std::string& sql, std::vector<int64_t>& values, std::vector<bool>& nulls,
                    bool& found);

} // namespace orlodbc
