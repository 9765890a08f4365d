// Sends documents to a printer.
#pragma once

#include "device/printer.h"
#include "printing/canceller.h"
#include "printing/job.h"
#include "printing/order.h"

namespace CorvixCtl {

// Sends what was ordered and returns the job that the printer made of it. Throws Failure: Refused, Aborted,
// Canceled, Unreachable or Interrupted.
JobRef Submit(const Printer& printer, Corvix::IPPProvider& provider, const PrintOrder& order,
              Canceller& canceller);

}  // namespace CorvixCtl
