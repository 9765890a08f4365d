// The managed objects of the simulated device.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "device/values.h"
#include "wire/snmp/message.h"

namespace CorvixSim {

namespace Snmp = Corvix::Snmp;

/// Objects by OID, read from a text:
///
///     1.3.6.1.2.1.1.5.0  rw str {{host-name}}        an object: OID, "rw" if it may be set, type, value
///     table 1.3.6.1.2.1.43.11.1.1 rows 1.1 1.2       a table: its entry and the indices of its rows
///     .6  str Black Toner | Cyan Toner               a column of it: a value for each row, "~" for none
///
/// Types are int, str, hex, oid, ip, counter, gauge, ticks and counter64. Any thread may call any operation.
class SnmpTable {
public:
    /// Throws std::invalid_argument, naming the line, for a text that is not of this form.
    SnmpTable(std::string_view text, Values& values);

    std::optional<Snmp::Value> Get(const Snmp::Oid& oid) const;

    /// The first object behind `oid`, whether it exists or not.
    std::optional<Snmp::VarBind> Next(const Snmp::Oid& oid) const;

    /// Whether any object lies below `oid`.
    bool HasBelow(const Snmp::Oid& oid) const;

    /// The error status that setting the object to the value would answer; nothing is changed.
    int32_t CheckSet(const Snmp::VarBind& binding) const;

    /// Sets an object for which CheckSet() found no error. One that shows a value of the device changes that.
    void Set(const Snmp::VarBind& binding);

private:
    struct Type;
    struct Object {
        const Type* type;
        bool writable;
        std::string text;
    };
    struct Rows {
        Snmp::Oid entry;
        std::vector<Snmp::Oid> indices;
    };

    static const Type kTypes[];
    static const Type& FindType(std::string_view name);

    void ParseLine(std::string_view line, Rows& rows);
    void ParseTable(std::string_view line, Rows& rows) const;
    void AddColumn(std::string_view column, std::string_view rest, const Rows& rows);
    void AddObject(const Snmp::Oid& oid, std::string_view typeAndText);
    Snmp::Value ValueOf(const Object& object) const;

    Values& values_;
    mutable std::mutex mutex_;
    std::map<Snmp::Oid, Object> objects_;
};

}  // namespace CorvixSim
