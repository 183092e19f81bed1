// The host's description of one table column.
#pragma once
#include <string>

namespace KORVEL { namespace Orl { namespace DB {

class Column {
public:
    Column() = default;
    Column(const std::string& name, int scale, unsigned int type, int size, int bufferLength, bool nullable,
           bool primaryKey, const std::string& databaseType = std::string())
        : name(name), scale(scale), type(type), size(size), bufferLength(bufferLength), nullable(nullable),
          primaryKey(primaryKey), databaseType(databaseType) {}
    Column(const Column&) = default;
    Column& operator=(const Column&) = default;
    virtual ~Column() = default;

    // SQL type number to type word, and type word to a column-definition type name.
    virtual unsigned int getOrlDataType(int sqlType) = 0;
    virtual std::string getSqlTypeString(unsigned int type, bool primaryKey) = 0;

    std::string name;
    int scale = 0;
    unsigned int type = 0;
    int size = 0;
    int bufferLength = 0;
    bool nullable = true;
    bool primaryKey = false;
    std::string databaseType;
};

}}} // namespace KORVEL::Orl::DB
