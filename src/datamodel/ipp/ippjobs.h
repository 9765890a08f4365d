/// Jobs out of an answer.
#pragma once

#include "corvixdm/ippjobs.h"
#include "datamodel/ipp/exchange/requestvalues.h"

namespace Corvix {

/// The Get-Jobs request of a query.
RequestValues ToRequestValues(const IPPJobQuery& query);

/// Reads the job whose attributes stand in this group.
IPPJob ReadJob(const IPPAttributes& answer, const IPPGroup& group);

}  // namespace Corvix
