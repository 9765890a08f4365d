// Sends documents to a printer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "canceller.h"
#include "job.h"
#include "joblist.h"
#include "printer.h"

namespace CorvixCtl {

struct DocumentFile {
    std::wstring path;
    std::wstring name;  // without the folder
    uint64_t size = 0;
};

// A job attribute that a printer may honour, with its value as it is encoded.
struct JobAttribute {
    unsigned char tag;
    std::string name;
    std::string value;
};

// What is to be printed, and how.
struct PrintOrder {
    std::vector<DocumentFile> files;
    JobOwner owner;
    unsigned copies = 1;
    std::vector<JobAttribute> attributes;
    std::string format;         // a MIME type; empty: the printer is to find out
    bool asDocuments = false;   // Create-Job and Send-Document in place of Print-Job
    bool waitForReady = false;  // begin only when the printer is idle
    // How long the printer may take no data, in milliseconds.
    unsigned long patience = 0;
};

// A text as IPP takes it for a name: UTF-8 of 255 bytes at most.
std::string ToIppName(const std::wstring& text);

// Sends what was ordered and returns the job that the printer made of it. Throws Failure: Refused, Aborted,
// Canceled, Unreachable or Interrupted.
JobRef Submit(const Printer& printer, Corvix::IPPProvider& provider, const PrintOrder& order,
              Canceller& canceller);

}  // namespace CorvixCtl
