// The host's record description. The driver never looks inside it.
#pragma once

namespace KORVEL { namespace Orl { namespace DB {

class RecordType {
public:
    virtual ~RecordType() = default;
};

}}} // namespace KORVEL::Orl::DB
