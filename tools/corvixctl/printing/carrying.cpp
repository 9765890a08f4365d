#include "printing/carrying.h"

#include <fstream>
#include <vector>

#include "base/console.h"
#include "base/exitcodes.h"
#include "device/ippanswers.h"
#include "printing/job.h"
#include "printing/progress.h"

namespace CorvixCtl {
namespace {

// Hands out a file piece by piece.
class DocumentReader {
public:
    explicit DocumentReader(const DocumentFile& file)
        : file_(file), stream_(file.path.c_str(), std::ios::binary) {}

    // The length of the next piece; 0 at the end.
    int Next() {
        stream_.read(reinterpret_cast<char*>(piece_.data()), static_cast<std::streamsize>(piece_.size()));
        if (stream_.bad() || (stream_.fail() && !stream_.eof()))
            throw Failure(ExitCode::Incomplete, L"file " + file_.path + L" cannot be read to its end");
        return static_cast<int>(stream_.gcount());
    }
    const unsigned char* Piece() const { return piece_.data(); }

private:
    const DocumentFile& file_;
    std::ifstream stream_;
    std::vector<unsigned char> piece_ = std::vector<unsigned char>(64 * 1024);
};

// While the printer says that its spool is full, what it is sent would only fill the buffers on the way. Should
// nobody ask the printer any more, the next piece shows what is the matter.
void AwaitRoom(Corvix::IPPProvider& provider, unsigned long patience, Progress& progress) {
    const HANDLE ready = provider.GetPrintReadyStatusEventHandle();
    if (!ready || WaitForSingleObject(ready, 0) == WAIT_OBJECT_0) return;
    progress.Explain(L"spool area full");
    const HANDLE events[] = {InterruptEvent(), ready, provider.GetPrintStatusEventHandle()};
    WaitForMultipleObjects(3, events, FALSE, patience);
}

}  // namespace

bool Carry(const DocumentFile& file, const Carrier& carrier, Corvix::IPPProvider& provider,
           unsigned long patience) {
    DocumentReader reader(file);
    Progress progress(file.name, file.size);
    uint64_t sent = 0;
    while (const int length = reader.Next()) {
        StopIfInterrupted();
        const HRESULT result = (sent == 0 ? carrier.begin : carrier.goOn)(reader.Piece(), length);
        // A printer may refuse amid the document; the rest would be sent for nothing.
        const std::optional<unsigned> early = StatusOf(carrier.response);
        if (result != S_OK || (early && !IsIppSuccess(*early))) return false;
        sent += static_cast<unsigned>(length);
        progress.Update(sent);
        AwaitRoom(provider, patience, progress);
    }
    StopIfInterrupted();
    // No bytes end the document; only then the printer answers.
    if (carrier.goOn(nullptr, 0) == S_OK) progress.Finish();
    return true;
}

}  // namespace CorvixCtl
