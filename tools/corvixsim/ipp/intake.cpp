#include "ipp/intake.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace CorvixSim {
namespace {

// Documents go from the socket to the file in pieces: their size is limited by the disk alone.
constexpr size_t kPiece = 65536;

struct Ending {
    std::string_view format;
    const char* ending;
};

constexpr Ending kEndings[] = {
    {"application/pdf", "pdf"}, {"application/postscript", "ps"}, {"application/vnd.hp-PCL", "pcl"},
    {"image/jpeg", "jpg"},      {"image/pwg-raster", "pwg"},      {"image/urf", "urf"},
    {"text/plain", "txt"},
};

const char* EndingOf(std::string_view format) {
    for (const Ending& known : kEndings) {
        if (known.format == format) return known.ending;
    }
    return "prn";
}

/// A document that is arriving: unless it is finished, the job learns that it broke off.
class Receipt {
public:
    Receipt(Jobs& jobs, int id, JobDocument document) : jobs_(jobs), id_(id) {
        place_ = jobs.BeginDocument(id, std::move(document));
    }
    // Without Finish() an exception is on its way: the connection broke, or the file could not be written.
    ~Receipt() {
        if (!finished_) jobs_.EndDocument(id_, false, true);
    }
    Receipt(const Receipt&) = delete;
    Receipt& operator=(const Receipt&) = delete;

    bool Add(uint64_t octets) { return jobs_.AddOctets(id_, place_, octets); }
    void Finish(bool last) {
        finished_ = true;
        jobs_.EndDocument(id_, true, last);
    }

private:
    Jobs& jobs_;
    int id_;
    size_t place_ = 0;
    bool finished_ = false;
};

JobDocument DocumentOf(const IppMessage& request) {
    JobDocument document;
    document.name = request.OperandText("document-name");
    document.format = request.OperandText("document-format");
    document.uri = request.OperandText("document-uri");
    return document;
}

}  // namespace

std::string IppIntake::PathOf(int id, const std::string& format) const {
    if (spoolFolder_.empty()) return {};
    const std::optional<Job> job = jobs_.Find(id);
    char name[64];
    std::snprintf(name, sizeof name, "job-%04d-%zu.%s", id, job ? job->documents.size() + 1 : 1,
                  EndingOf(format));
    return spoolFolder_ + "/" + name;
}

void IppIntake::Receive(int id, const IppMessage& request, IppSource& source, bool last) {
    JobDocument document = DocumentOf(request);
    const std::string path = document.path = PathOf(id, document.format);
    // A job that takes no more documents refuses it here, before there is a file.
    Receipt receipt(jobs_, id, std::move(document));
    std::ofstream file;
    if (!path.empty()) file.open(std::filesystem::u8path(path), std::ios::binary);
    if (!file) throw IppError(IppStatus::InternalError, "cannot write " + path);
    std::vector<char> piece(kPiece);
    bool wanted = true;
    while (const size_t length = source.ReadDocument(piece.data(), piece.size())) {
        // What comes after the job was canceled is read, as it is on its way, and dropped.
        wanted = wanted && receipt.Add(length);
        if (wanted && file.is_open()) file.write(piece.data(), static_cast<std::streamsize>(length));
    }
    // The document is complete even where nobody wants it any more; the answer tells which.
    receipt.Finish(last);
    if (!wanted) throw IppError(IppStatus::JobCanceled, "the job was canceled");
}

void IppIntake::Refer(int id, const IppMessage& request, IppSource&, bool last) {
    CheckUri(request);
    Receipt(jobs_, id, DocumentOf(request)).Finish(last);
}

void IppIntake::CheckUri(const IppMessage& request) {
    const std::string uri = request.OperandText("document-uri");
    const std::string scheme = uri.substr(0, uri.find(':'));
    Demand(!uri.empty(), IppStatus::BadRequest, "document-uri is missing");
    Demand(scheme == "http" || scheme == "https" || scheme == "ftp", IppStatus::UriSchemeNotSupported,
           "not a scheme that is supported: " + scheme);
}

}  // namespace CorvixSim
