// Encoding requests and parsing responses, beside libcups on the same bytes.
// bench_ipp PORT [benchmark options]: PORT is that of a printer on this machine.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <map>

#include "bodies.h"
#include "support/libcups.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace CorvixBench {
namespace {

using namespace Corvix::Testing;
using Corvix::Ipp::FormResult;
using Corvix::Ipp::ReadResponseData;
using Corvix::Ipp::RequestFields;

constexpr const char* printerUri = "ipp://localhost:631/ipp/print";

struct Request {
    const char* name;
    int operation;
    RequestFields (*fields)();
    void (*addTo)(ipp_t* message);
};

RequestFields PrinterAttributesFields() {
    RequestFields fields;
    fields.printerUri = printerUri;
    fields.requestedAttributes = "all";
    return fields;
}

void AddPrinterAttributes(ipp_t* message) {
    const char* const requested[] = {"printer-name", "printer-uri-supported", "all"};
    ippAddStrings(message, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", 3, nullptr, requested);
}

RequestFields PrintJobFields() {
    RequestFields fields;
    fields.printerUri = printerUri;
    fields.userName = "ada";
    fields.jobName = "Quarterly report";
    fields.documentName = "report.pdf";
    fields.fidelity = true;
    fields.copies = 2;
    fields.sides = 1;
    fields.orientation = 4;
    fields.quality = 5;
    fields.monochrome = true;
    return fields;
}

void AddPrintJob(ipp_t* message) {
    ippAddString(message, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "ada");
    ippAddString(message, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, "Quarterly report");
    ippAddBoolean(message, IPP_TAG_OPERATION, "ipp-attribute-fidelity", 1);
    ippAddString(message, IPP_TAG_OPERATION, IPP_TAG_NAME, "document-name", nullptr, "report.pdf");
    ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", 2);
    ippAddString(message, IPP_TAG_JOB, IPP_TAG_KEYWORD, "sides", nullptr, "two-sided-long-edge");
    ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "orientation-requested", 4);
    ippAddInteger(message, IPP_TAG_JOB, IPP_TAG_INTEGER, "print-quality", 5);
    ippAddString(message, IPP_TAG_JOB, IPP_TAG_KEYWORD, "print-color-mode", nullptr, "monochrome");
}

constexpr Request requests[] = {
    {"ipp.encode.get_printer_attributes", Corvix::Ipp::Operation::GetPrinterAttributes,
     PrinterAttributesFields, AddPrinterAttributes},
    {"ipp.encode.print_job", Corvix::Ipp::Operation::PrintJob, PrintJobFields, AddPrintJob},
};

/// Forms the request as the engine does: in a cleared work area.
std::string_view Encode(const Request& request,
                        std::array<unsigned char, Corvix::Ipp::attributePartCapacity>& area) {
    area.fill(0);
    int length = 0;
    if (FormRequest(area.data(), length, request.operation, request.fields()) != FormResult::Formed)
        std::abort();
    return {reinterpret_cast<const char*>(area.data()), static_cast<std::size_t>(length)};
}

void CupsForm(const Request& request, std::string& target) {
    const CupsMessage message(ippNewRequest(static_cast<ipp_op_t>(request.operation)));
    ippAddString(message.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, printerUri);
    request.addTo(message.get());
    CupsEncode(message.get(), target);
}

void BenchEncode(benchmark::State& state, const Request& request) {
    std::array<unsigned char, Corvix::Ipp::attributePartCapacity> area;
    for (auto _ : state)
        benchmark::DoNotOptimize(Encode(request, area).data());
}

void BenchCupsEncode(benchmark::State& state, const Request& request) {
    std::string target;
    for (auto _ : state) {
        target.clear();
        CupsForm(request, target);
        benchmark::DoNotOptimize(target.data());
    }
}

struct Body {
    std::string name;
    std::string bytes;
};

void BenchParse(benchmark::State& state, const Body& body) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadResponseData(body.bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.bytes.size()));
}

void BenchCupsParse(benchmark::State& state, const Body& body) {
    for (auto _ : state)
        benchmark::DoNotOptimize(CupsParse(body.bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.bytes.size()));
}

/// Both readers must have found the same before their times mean anything.
void CheckSame(const Body& body) {
    const auto response = ReadResponseData(body.bytes);
    if (response.GetFault()) throw std::runtime_error(body.name + ": " + response.GetFault()->reason);
    const CupsMessage message = CupsParse(body.bytes);
    for (ipp_attribute_t* a = ippFirstAttribute(message.get()); a; a = ippNextAttribute(message.get())) {
        const ipp_tag_t tag = ippGetValueTag(a);
        if (!ippGetName(a) || tag < IPP_TAG_INTEGER || tag == IPP_TAG_DATE) continue;
        if (!response.ValueText(ippGetName(a)))
            throw std::runtime_error(body.name + " lacks " + ippGetName(a));
    }
}

/// What the process holds on its heap.
std::size_t HeapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Memory held by a parsed response over the size of its body.
double MemoryRatio(const Body& body) {
    const std::size_t before = HeapBytes();
    const auto response = ReadResponseData(body.bytes);
    return static_cast<double>(HeapBytes() - before) / static_cast<double>(body.bytes.size());
}

/// Shows the table, and keeps the medians of the processor time by name, in nanoseconds.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        benchmark::ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name == "median")
                medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }
    double operator[](const std::string& name) const { return medians_.at(name); }

private:
    std::map<std::string, double> medians_;
};

void PrintFigure(const std::string& name, double value, const char* unit) {
    std::printf("figure %s %.2f %s\n", name.c_str(), value, unit);
}

std::string CapturedAnswer(int port) {
    RequestFields fields = PrinterAttributesFields();
    const std::string uri = "ipp://localhost:" + std::to_string(port) + "/ipp/print";
    fields.printerUri = uri;
    std::array<unsigned char, Corvix::Ipp::attributePartCapacity> area{};
    int length = 0;
    FormRequest(area.data(), length, Corvix::Ipp::Operation::GetPrinterAttributes, fields);
    return CupsExchange(port, std::string(area.begin(), area.begin() + length));
}

int Main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) throw std::runtime_error("usage: bench_ipp PORT [benchmark options]");
    const Body bodies[] = {
        {"ipp.parse.8k", CapturedAnswer(std::atoi(argv[1]))},
        {"ipp.parse.100k", PrinterBody(100'000)},
        {"ipp.parse.1m_groups", JobsBody(1'000'000)},
        {"ipp.parse.1m_set", SetBody(1'000'000)},
    };
    for (const Request& request : requests) {
        benchmark::RegisterBenchmark(request.name, BenchEncode, request);
        benchmark::RegisterBenchmark((request.name + std::string("/libcups")).c_str(), BenchCupsEncode,
                                     request);
    }
    for (const Body& body : bodies) {
        CheckSame(body);
        benchmark::RegisterBenchmark(body.name.c_str(), BenchParse, body);
        benchmark::RegisterBenchmark((body.name + "/libcups").c_str(), BenchCupsParse, body);
    }
    MedianReporter medians;
    benchmark::RunSpecifiedBenchmarks(&medians);

    const auto ratio = [&](const std::string& name) {
        PrintFigure(name + ".vs_libcups", medians[name + "/libcups"] / medians[name], "times");
    };
    for (const Request& request : requests)
        ratio(request.name);
    const auto timePerByte = [&](const Body& body) {
        return medians[body.name] / static_cast<double>(body.bytes.size());
    };
    double memory = 0;
    for (const Body& body : bodies) {
        ratio(body.name);
        memory = std::max(memory, MemoryRatio(body));
    }
    const double large = std::max(timePerByte(bodies[2]), timePerByte(bodies[3]));
    PrintFigure("ipp.parse.flatness", large / timePerByte(bodies[0]), "times");
    PrintFigure("ipp.parse.memory_ratio", memory, "times");
    return 0;
}

}  // namespace
}  // namespace CorvixBench

int main(int argc, char** argv) {
    try {
        return CorvixBench::Main(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << '\n';
        return 1;
    }
}
