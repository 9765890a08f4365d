#include "datamodel/maps/protocols.h"

#include <algorithm>
#include <iterator>

#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

struct Protocol {
    DataMapTypeEnum type;
    const wchar_t* text;
};

constexpr Protocol protocols[] = {
    {DataMapTypeEnum::Pavo, L"Pavo"}, {DataMapTypeEnum::WS, L"WS"},   {DataMapTypeEnum::PLSXML, L"PLSXML"},
    {DataMapTypeEnum::IPP, L"IPP"},   {DataMapTypeEnum::OID, L"OID"},
};

template <class Predicate>
const Protocol* Find(Predicate matches) {
    const Protocol* found = std::find_if(std::begin(protocols), std::end(protocols), matches);
    return found == std::end(protocols) ? nullptr : found;
}

}  // namespace

std::wstring ProtocolText(DataMapTypeEnum type) {
    const Protocol* protocol = Find([type](const Protocol& candidate) { return candidate.type == type; });
    return protocol ? protocol->text : L"";
}

DataMapTypeEnum ProtocolType(std::wstring_view text) {
    // Documents write protocols in any letter case.
    const Protocol* protocol =
        Find([text](const Protocol& candidate) { return KyUtils::EqualsIgnoringCase(candidate.text, text); });
    return protocol ? protocol->type : DataMapTypeEnum::Unknown;
}

}  // namespace Corvix
