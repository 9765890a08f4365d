/// \file ippvalue.h
/// One value of an IPP attribute, by its type. Plain structures, for any platform.
#pragma once

#include <string_view>

namespace Corvix {

enum class IPPValueKind {
    OutOfBand,   ///< the attribute has no value; `text` says why: "no-value", "unknown", "unsupported"
    Integer,     ///< `number`
    Boolean,     ///< `number`, 0 or 1
    Enum,        ///< `number`; GetIPPEnumName() names it
    Octets,      ///< `bytes`
    DateTime,    ///< `date`
    Resolution,  ///< `resolution`
    Range,       ///< `range`
    Collection,  ///< an IPPAttribute made from the value steps through its members
    Text,        ///< `text`: a text, name, keyword, URI, charset, language or media type, as `tag` says
    Other,       ///< of a type that is not known, or badly formed: `bytes`
};

struct IPPRange {
    int lower = 0;
    int upper = 0;
};

struct IPPResolution {
    int crossFeed = 0;
    int feed = 0;
    unsigned char units = 0;  ///< 3 dots per inch, 4 dots per centimetre
};

/// A date with the clock's distance from UTC.
struct IPPDateTime {
    unsigned short year = 0;
    unsigned char month = 0;  ///< 1 to 12
    unsigned char day = 0;
    unsigned char hour = 0;
    unsigned char minute = 0;
    unsigned char second = 0;  ///< 60 for a leap second
    unsigned char decisecond = 0;
    short minutesFromUtc = 0;  ///< positive east of Greenwich
};

/// A value as the printer sent it. What belongs to another kind than its own is left empty or 0. Texts point
/// into the answer, in UTF-8 as far as the printer keeps to it, without a zero at the end.
struct IPPValue {
    IPPValueKind kind = IPPValueKind::Other;
    unsigned char tag = 0;   ///< the value tag on the wire, such as 0x44 of a keyword
    std::string_view bytes;  ///< the value on the wire
    int number = 0;
    IPPRange range;
    IPPResolution resolution;
    IPPDateTime date;
    std::string_view text;
    std::string_view language;  ///< of the text, such as "de", where the value itself names one
    unsigned members = 0;       ///< where the members of a collection begin: the library's own
};

}  // namespace Corvix
