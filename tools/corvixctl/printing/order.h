// What is to be printed, and how.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/commandline.h"
#include "corvixdm/disposableptr.h"
#include "corvixdm/ipprequest.h"
#include "printing/joblist.h"

namespace CorvixCtl {

extern const OptionGroup printOptions;

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

// Reads the options and the files' names. Throws UsageError.
PrintOrder ReadOrder(const Arguments& arguments);

// A request of the job's user, for the job's name.
Corvix::DisposablePtr<Corvix::IPPRequestBase> NewRequest(const PrintOrder& order);
// Adds what the request says of the document that it carries.
void AddDocument(const PrintOrder& order, const DocumentFile& file, Corvix::IPPRequestBase& request);
// Adds how the job is to be printed.
void AddWishes(const PrintOrder& order, Corvix::IPPRequestBase& request);

}  // namespace CorvixCtl
