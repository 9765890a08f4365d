/// What a request record says, in the words of the codec.
#pragma once

#include "corvixdm/ipprequest.h"
#include "datamodel/ipp/codec/requestbuilder.h"

namespace Corvix {

/// Copies the record's settings into the fields; a text that the record does not have leaves the field as it
/// is. The fields then point into the record.
void TakeFromRecord(const IPPRequestBase& record, Ipp::RequestFields& fields);

}  // namespace Corvix
