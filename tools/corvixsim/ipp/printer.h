// The IPP operations of the simulated printer.
#pragma once

#include <string>

#include "device/device.h"
#include "ipp/attributetext.h"
#include "ipp/intake.h"
#include "ipp/jobview.h"
#include "ipp/message.h"

namespace CorvixSim {

/// A request with what belongs to it besides its attributes.
struct IppCall {
    const IppMessage& request;
    IppSource& source;  ///< of the document that may follow
    std::string host;   ///< "host:port" as the client named it
};

/// Many threads may call at once.
class IppPrinter {
public:
    /// Documents are stored below `spoolFolder`, or nowhere when it is empty.
    IppPrinter(Device& device, std::string spoolFolder)
        : device_(device), intake_(device.jobs, std::move(spoolFolder)) {}

    /// Carries out the request. Throws IppError when it cannot.
    IppMessage Carry(const IppCall& call);

    /// "Get-Jobs" and so on; "operation-0x0013" for one that is not known.
    static std::string OperationName(uint16_t code);

private:
    struct Operation;
    static const Operation kOperations[];

    IppMessage PrintJob(const IppCall& call);
    IppMessage PrintUri(const IppCall& call);
    IppMessage ValidateJob(const IppCall& call);
    IppMessage CreateJob(const IppCall& call);
    IppMessage SendDocument(const IppCall& call);
    IppMessage SendUri(const IppCall& call);
    IppMessage CancelJob(const IppCall& call);
    IppMessage CancelMyJobs(const IppCall& call);
    IppMessage CloseJob(const IppCall& call);
    IppMessage GetJobAttributes(const IppCall& call);
    IppMessage GetJobs(const IppCall& call);
    IppMessage GetPrinterAttributes(const IppCall& call);
    IppMessage IdentifyPrinter(const IppCall& call);

    IppMessage Print(const IppCall& call, IppIntake::Way take);
    IppMessage Send(const IppCall& call, IppIntake::Way take);
    IppAttributeGroups PrinterAttributes(const IppCall& call) const;
    IppGroup UnsupportedOf(const IppCall& call) const;
    int NewJob(const IppCall& call, const IppGroup& unsupported);
    void CheckDocumentFormat(const IppCall& call) const;
    Job JobOf(const IppCall& call) const;
    std::vector<Job> JobsFor(const IppCall& call) const;
    IppMessage JobAnswer(const IppCall& call, int id, const IppGroup& unsupported) const;

    Device& device_;
    IppIntake intake_;
};

}  // namespace CorvixSim
