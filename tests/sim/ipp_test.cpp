// The simulated IPP printer, with requests that the test encodes itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "sim/peer/httpclient.h"
#include "sim/peer/simprocess.h"

namespace {

using Bytes = std::string;

constexpr uint16_t kPrintJob = 2;
constexpr uint16_t kValidateJob = 4;
constexpr uint16_t kCreateJob = 5;
constexpr uint16_t kSendDocument = 6;
constexpr uint16_t kCancelJob = 8;
constexpr uint16_t kGetJobAttributes = 9;
constexpr uint16_t kGetJobs = 10;
constexpr uint16_t kGetPrinterAttributes = 11;
constexpr uint16_t kCloseJob = 0x3b;

constexpr uint8_t kInteger = 0x21;
constexpr uint8_t kBoolean = 0x22;
constexpr uint8_t kEnum = 0x23;
constexpr uint8_t kCollection = 0x34;
constexpr uint8_t kEndCollection = 0x37;
constexpr uint8_t kName = 0x42;
constexpr uint8_t kKeyword = 0x44;
constexpr uint8_t kUri = 0x45;
constexpr uint8_t kCharset = 0x47;
constexpr uint8_t kLanguage = 0x48;
constexpr uint8_t kMimeType = 0x49;

constexpr char kIppType[] = "application/ipp";

Bytes Short(size_t number) { return {static_cast<char>(number >> 8), static_cast<char>(number)}; }
Bytes Long(uint32_t number) { return Short(number >> 16) + Short(number & 0xffff); }

Bytes Attribute(uint8_t tag, const Bytes& name, const Bytes& value) {
    return Bytes(1, static_cast<char>(tag)) + Short(name.size()) + name + Short(value.size()) + value;
}

Bytes Start(const Bytes& language = "en") {
    return "\x01" + Attribute(kCharset, "attributes-charset", "utf-8") +
           Attribute(kLanguage, "attributes-natural-language", language) +
           Attribute(kUri, "printer-uri", "ipp://localhost/ipp/print");
}

Bytes User(const Bytes& name = "tester") { return Attribute(kName, "requesting-user-name", name); }
Bytes JobId(int id) { return Attribute(kInteger, "job-id", Long(static_cast<uint32_t>(id))); }
Bytes Last(bool last) { return Attribute(kBoolean, "last-document", Bytes(1, last ? '\1' : '\0')); }
Bytes Wants(const Bytes& name) { return Attribute(kKeyword, "requested-attributes", name); }

Bytes Request(uint16_t operation, const Bytes& attributes, uint8_t major = 2, uint32_t id = 100) {
    return Bytes{static_cast<char>(major), major == 1 ? '\1' : '\0'} + Short(operation) + Long(id) +
           attributes + "\x03";
}

struct Answer {
    HttpEnd end = HttpEnd::NoAnswer;
    int httpStatus = 0;
    int version = 0;
    int status = -1;
    uint32_t id = 0;
    struct Value {
        uint8_t group;
        uint8_t tag;
        Bytes name;
        Bytes value;
    };
    std::vector<Value> values;

    /// The values of an attribute, joined by commas; numbers of four bytes as decimal digits.
    Bytes Text(const Bytes& name) const {
        Bytes text;
        for (const Value& value : values) {
            if (value.name != name) continue;
            if (!text.empty()) text += ",";
            text += value.tag == kInteger || value.tag == kEnum ? std::to_string(Number(value.value))
                                                                : value.value;
        }
        return text;
    }
    static int Number(const Bytes& bytes) {
        uint32_t number = 0;
        for (const char c : bytes)
            number = number << 8 | static_cast<uint8_t>(c);
        return static_cast<int>(number);
    }
    int JobId() const { return std::atoi(Text("job-id").c_str()); }
};

/// Reads an answer's attributes; those of collections are kept flat.
Answer Decode(const HttpAnswer& http) {
    Answer answer;
    answer.end = http.end;
    answer.httpStatus = http.status;
    const Bytes& body = http.body;
    if (http.end != HttpEnd::Complete || http.status != 200 || body.size() < 9) return answer;
    answer.version = body[0] * 10 + body[1];
    answer.status = Answer::Number(body.substr(2, 2));
    answer.id = static_cast<uint32_t>(Answer::Number(body.substr(4, 4)));
    uint8_t group = 0;
    Bytes name;
    for (size_t at = 8; at < body.size();) {
        const auto tag = static_cast<uint8_t>(body[at++]);
        if (tag < 0x10) {
            group = tag;
            continue;
        }
        const auto nameLength = static_cast<size_t>(Answer::Number(body.substr(at, 2)));
        if (nameLength != 0) name = body.substr(at + 2, nameLength);
        at += 2 + nameLength;
        const auto length = static_cast<size_t>(Answer::Number(body.substr(at, 2)));
        answer.values.push_back({group, tag, name, body.substr(at + 2, length)});
        at += 2 + length;
    }
    EXPECT_EQ(group, 3) << "the attributes have no end";
    return answer;
}

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes SomeDocument(size_t size) {
    Bytes document(size, '\0');
    uint32_t state = 12345;
    for (char& c : document) {
        state = state * 1664525 + 1013904223;
        c = static_cast<char>(state >> 24);
    }
    return document;
}

class SimIpp : public testing::Test {
protected:
    static void SetUpTestSuite() {
        spool_ =
            std::filesystem::temp_directory_path() / ("corvixsim-" + std::to_string(GetCurrentProcessId()));
        sim_ = std::make_unique<SimProcess>(std::vector<std::wstring>{L"--spool", spool_.wstring()});
    }
    static void TearDownTestSuite() {
        sim_.reset();
        std::filesystem::remove_all(spool_);
    }
    void SetUp() override {
        sim_->Control("POST", "/sim/faults/clear");
        sim_->Control("POST", "/sim/scenario",
                      "job any\nafter 0 state processing\nafter 0 state completed\n");
        sim_->Control("POST", "/sim/values",
                      "single-job=false\nprinter-state-reasons=none\naccepting-jobs=true\n");
    }
    /// Whatever a test leaves unfinished must not hold up the printer for the next one.
    void TearDown() override {
        const Answer jobs = Ask(Request(kGetJobs, Start()));
        for (const Answer::Value& value : jobs.values) {
            if (value.name == "job-id")
                Ask(Request(kCancelJob, Start() + JobId(Answer::Number(value.value))));
        }
    }

    static Answer Ask(const Bytes& request) {
        HttpClient client(sim_->Address(), sim_->Port("631"));
        return Decode(client.Exchange("POST", "/ipp/print", request, kIppType));
    }
    static Answer Print(const Bytes& document, const Bytes& attributes = {}) {
        HttpClient client(sim_->Address(), sim_->Port("631"));
        const Bytes half = document.substr(0, document.size() / 2);
        return Decode(client.PostChunked(
            "/ipp/print",
            {Request(kPrintJob, Start() + User() + attributes), half, document.substr(half.size())},
            kIppType));
    }
    static Answer AskJob(int id) { return Ask(Request(kGetJobAttributes, Start() + JobId(id))); }
    static void Step(int id, const Bytes& step) {
        sim_->Control("POST", "/sim/jobs/" + std::to_string(id), step);
    }

    /// Waits until the job is in this state.
    static void AwaitState(int id, const Bytes& state) {
        for (int i = 0; i < 2000 && AskJob(id).Text("job-state") != state; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_EQ(AskJob(id).Text("job-state"), state);
    }

    static std::unique_ptr<SimProcess> sim_;
    static std::filesystem::path spool_;
};

std::unique_ptr<SimProcess> SimIpp::sim_;
std::filesystem::path SimIpp::spool_;

TEST_F(SimIpp, DescribesThePrinter) {
    const Answer answer = Ask(Request(kGetPrinterAttributes, Start()));
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.id, 100u);
    EXPECT_EQ(answer.version, 20);
    EXPECT_EQ(answer.Text("printer-make-and-model"), "Veyra Corvus C4200dn");
    EXPECT_EQ(answer.Text("printer-state"), "3");
    EXPECT_EQ(answer.Text("ipp-features-supported"), "ipp-everywhere");
    EXPECT_EQ(answer.Text("media-col-database"), "") << "only when it is asked for by name";
    EXPECT_NE(answer.Text("printer-device-id").find("SN:VYR0C42A0017;"), Bytes::npos);
    EXPECT_GT(answer.values.size(), 150u);
}

TEST_F(SimIpp, HonoursRequestedAttributesAndTheVersionAndTheLanguage) {
    const Answer one = Ask(Request(kGetPrinterAttributes, Start() + Wants("printer-name"), 1));
    EXPECT_EQ(one.version, 11);
    EXPECT_EQ(one.values.size(), 3u);
    EXPECT_EQ(one.Text("printer-name"), "corvus-c4200");
    const Answer group = Ask(Request(kGetPrinterAttributes, Start() + Wants("job-template")));
    EXPECT_EQ(group.Text("printer-name"), "");
    EXPECT_EQ(group.Text("sides-default"), "one-sided");
    EXPECT_NE(Ask(Request(kGetPrinterAttributes, Start() + Wants("media-col-database"))).values.size(), 2u);
    const Bytes uri = Ask(Request(kGetPrinterAttributes, Start("de-AT") + Wants("printer-strings-uri")))
                          .Text("printer-strings-uri");
    EXPECT_EQ(uri, "http://" + sim_->Address() + "/ipp/strings/de.strings");
    EXPECT_EQ(HttpGet(sim_->Address(), sim_->Port("80"), uri.substr(uri.find("/ipp"))).status, 200);
    EXPECT_EQ(HttpGet(sim_->Address(), sim_->Port("631"), uri.substr(uri.find("/ipp"))).status, 200);
}

TEST_F(SimIpp, RefusesWithTheStatusThatSaysWhy) {
    const Bytes good = Start() + User();
    const Bytes fidelity = Attribute(kBoolean, "ipp-attribute-fidelity", "\1");
    struct {
        const char* name;
        Bytes request;
        int status;
    } const table[] = {
        {"version 0.0", Request(kGetPrinterAttributes, good, 0), 0x0503},
        {"version 3.0", Request(kGetPrinterAttributes, good, 3), 0x0503},
        {"request id 0", Request(kGetPrinterAttributes, good, 2, 0), 0x0400},
        {"no attributes", Request(kGetPrinterAttributes, ""), 0x0400},
        {"no charset", Request(kGetPrinterAttributes, "\x01" + Attribute(kUri, "printer-uri", "ipp://x/")),
         0x0400},
        {"a strange charset",
         Request(kGetPrinterAttributes, "\x01" + Attribute(kCharset, "attributes-charset", "ebcdic") +
                                            Attribute(kLanguage, "attributes-natural-language", "en")),
         0x040d},
        {"no target",
         Request(kGetPrinterAttributes, "\x01" + Attribute(kCharset, "attributes-charset", "utf-8") +
                                            Attribute(kLanguage, "attributes-natural-language", "en")),
         0x0400},
        {"an unknown operation", Request(0x4001, good), 0x0501},
        {"an unknown format",
         Request(kValidateJob, good + Attribute(kMimeType, "document-format", "image/gif")), 0x040a},
        {"compression", Request(kValidateJob, good + Attribute(kKeyword, "compression", "gzip")), 0x040f},
        {"an unknown which-jobs", Request(kGetJobs, good + Attribute(kKeyword, "which-jobs", "lost")),
         0x040b},
        {"no such job", Request(kGetJobAttributes, good + JobId(9999)), 0x0406},
        {"no job named", Request(kCancelJob, good), 0x0400},
        {"a negative job", Request(kCancelJob, good + JobId(-5)), 0x0400},
        {"no last-document", Request(kSendDocument, good + JobId(9999)), 0x0406},
        {"what is not supported, with fidelity",
         Request(kCreateJob, good + fidelity + "\x02" + Attribute(kKeyword, "sides", "three-sided")), 0x040b},
        {"what is not supported, without",
         Request(kValidateJob, good + "\x02" + Attribute(kKeyword, "sides", "three-sided")), 0x0001},
        {"too many copies", Request(kValidateJob, good + "\x02" + Attribute(kInteger, "copies", Long(5000))),
         0x0001},
        {"what is supported", Request(kValidateJob, good + "\x02" + Attribute(kInteger, "copies", Long(7))),
         0},
    };
    for (const auto& refused : table)
        EXPECT_EQ(Ask(refused.request).status, refused.status) << refused.name;
    HttpClient client(sim_->Address(), sim_->Port("631"));
    EXPECT_EQ(client.Exchange("POST", "/ipp/print", "x", "text/plain").status, 415);
}

TEST_F(SimIpp, SurvivesRequestsThatBreakOffAnywhere) {
    const Bytes size = Attribute(kCollection, "", "") + Attribute(0x4a, "", "x-dimension") +
                       Attribute(kInteger, "", Long(21000)) + Attribute(kEndCollection, "", "");
    const Bytes media = Attribute(kCollection, "media-col", "") + Attribute(0x4a, "", "media-size") + size +
                        Attribute(kEndCollection, "", "");
    const Bytes good = Request(kValidateJob, Start() + "\x02" + media);
    EXPECT_EQ(Ask(good).status, 0);
    for (size_t length = 1; length < good.size(); ++length) {
        EXPECT_EQ(Ask(good.substr(0, length)).status, 0x0400) << length;
    }
    Bytes deep = Attribute(kCollection, "media-col", "");
    for (int i = 0; i < 10000; ++i)
        deep += Attribute(0x4a, "", "m") + Attribute(kCollection, "", "");
    EXPECT_EQ(Ask(Request(kValidateJob, Start() + "\x02" + deep)).status, 0x0400);
    EXPECT_EQ(Ask(Request(kValidateJob, Attribute(kInteger, "outside", Long(1)))).status, 0x0400);
    EXPECT_EQ(Ask(Request(kValidateJob, "\x01" + Attribute(kInteger, "", Long(1)))).status, 0x0400);
    EXPECT_EQ(
        Ask(Request(kValidateJob, "\x01" + Attribute(kInteger, "n", Long(1)) + Bytes(5 << 20, 'x'))).status,
        0x0408);
    EXPECT_EQ(Ask(good).status, 0);
}

TEST_F(SimIpp, StoresWhatIsPrintedByteForByte) {
    const Bytes document = SomeDocument(300'000);
    const Answer answer = Print(document, Attribute(kMimeType, "document-format", "application/pdf") +
                                              Attribute(kName, "job-name", "Report"));
    EXPECT_EQ(answer.status, 0);
    const int id = answer.JobId();
    AwaitState(id, "9");
    char name[32];
    snprintf(name, sizeof name, "job-%04d-1.pdf", id);
    EXPECT_EQ(ReadFile(spool_ / name), document);
    const Answer job = AskJob(id);
    EXPECT_EQ(job.Text("job-name"), "Report");
    EXPECT_EQ(job.Text("job-originating-user-name"), "tester");
    EXPECT_EQ(job.Text("job-state-reasons"), "job-completed-successfully");
    EXPECT_EQ(job.Text("job-k-octets"), "293");
    EXPECT_EQ(Ask(Request(kCancelJob, Start() + JobId(id))).status, 0x0404);
}

TEST_F(SimIpp, TakesDocumentsOneAfterTheOther) {
    const Answer created =
        Ask(Request(kCreateJob, Start() + User() + "\x02" + Attribute(kInteger, "copies", Long(2))));
    const int id = created.JobId();
    EXPECT_EQ(created.Text("job-state-reasons"), "job-incoming");
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id))).status, 0x0400) << "last-document is missing";
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id) + Last(false)) + "one").status, 0);
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id) + Last(false)) + "three").status, 0);
    EXPECT_EQ(Ask(Request(kCloseJob, Start() + JobId(id))).status, 0);
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id) + Last(true)) + "late").status, 0x0404);
    char refused[32];
    snprintf(refused, sizeof refused, "job-%04d-3.prn", id);
    EXPECT_FALSE(std::filesystem::exists(spool_ / refused));
    AwaitState(id, "9");
    EXPECT_EQ(AskJob(id).Text("number-of-documents"), "2");
    EXPECT_NE(sim_->Control("GET", "/sim/jobs").find("\"octets\":8,\"attributes\":{\"copies\":\"2\"}"),
              Bytes::npos);
}

TEST_F(SimIpp, TakesOneDocumentAJobWhenItIsToldTo) {
    sim_->Control("POST", "/sim/values", "multiple-documents=false");
    const int id = Ask(Request(kCreateJob, Start() + User())).JobId();
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id) + Last(false)) + "one").status, 0);
    EXPECT_EQ(Ask(Request(kSendDocument, Start() + JobId(id) + Last(true)) + "two").status, 0x0509);
    sim_->Control("POST", "/sim/values", "multiple-documents=true");
}

TEST_F(SimIpp, ListsTheJobsThatAreAskedFor) {
    sim_->Control("POST", "/sim/scenario", "");
    const int mine = Print("mine").JobId();
    const int other = Ask(Request(kPrintJob, Start() + User("somebody")) + "other").JobId();
    const Answer open = Ask(Request(kGetJobs, Start() + User()));
    EXPECT_EQ(open.Text("job-id"), std::to_string(mine) + "," + std::to_string(other));
    EXPECT_EQ(open.Text("job-name"), "");
    const Answer own =
        Ask(Request(kGetJobs, Start() + User() + Attribute(kBoolean, "my-jobs", "\1") + Wants("all")));
    EXPECT_EQ(own.Text("job-id"), std::to_string(mine));
    EXPECT_EQ(own.Text("job-name"), "Untitled");
    Step(mine, "state canceled job-canceled-at-device");
    const Answer ended =
        Ask(Request(kGetJobs, Start() + Attribute(kKeyword, "which-jobs", "completed") +
                                  Attribute(kInteger, "limit", Long(1)) + Wants("job-state-reasons")));
    EXPECT_EQ(ended.Text("job-state-reasons"), "job-canceled-at-device");
}

TEST_F(SimIpp, PrintsOneJobAtATimeAndShowsItsStateInEveryService) {
    sim_->Control("POST", "/sim/scenario", "job any\nafter 0 state processing\n");
    const int first = Print("first").JobId();
    const int second = Print("second").JobId();
    AwaitState(first, "5");
    EXPECT_EQ(AskJob(second).Text("job-state"), "3");
    EXPECT_EQ(Ask(Request(kGetPrinterAttributes, Start() + Wants("printer-state"))).Text("printer-state"),
              "4");
    EXPECT_NE(
        HttpGet(sim_->Address(), sim_->Port("8080"), "/DevMgmt/ProductStatusDyn.xml").body.find("processing"),
        Bytes::npos);
    Step(first, "state processing-stopped printer-stopped");
    Step(first, "set printer-state-reasons=spool-area-full");
    const Answer stopped = Ask(Request(kGetPrinterAttributes, Start()));
    EXPECT_EQ(stopped.Text("printer-state"), "5");
    EXPECT_EQ(stopped.Text("printer-state-reasons"), "spool-area-full");
    EXPECT_EQ(Ask(Request(kCancelJob, Start() + JobId(first))).status, 0);
    EXPECT_EQ(AskJob(first).Text("job-state-reasons"), "job-canceled-by-user");
    AwaitState(second, "5");
    Step(second, "state completed");
    EXPECT_EQ(Ask(Request(kGetPrinterAttributes, Start())).Text("printer-state"), "3");
}

TEST_F(SimIpp, AJobCanceledAtThePanelWhileItArrivesIsReadToItsEnd) {
    sim_->Control("POST", "/sim/scenario", "job any\nat 1000 state canceled job-canceled-at-device\n");
    const Answer answer = Print(SomeDocument(2'000'000));
    EXPECT_EQ(answer.status, 0x0508);
    const Answer jobs = Ask(Request(kGetJobs, Start() + Attribute(kKeyword, "which-jobs", "completed") +
                                                  Attribute(kInteger, "limit", Long(1)) + Wants("all")));
    EXPECT_EQ(jobs.Text("job-state"), "7");
    EXPECT_EQ(jobs.Text("job-state-reasons"), "job-canceled-at-device");
}

TEST_F(SimIpp, AConnectionDroppedAmidADocumentAbortsTheJob) {
    sim_->Control("POST", "/sim/faults", "service=ipp receive=5000 times=1");
    HttpClient client(sim_->Address(), sim_->Port("631"));
    client.Send(
        "POST /ipp/print HTTP/1.1\r\nContent-Type: application/ipp\r\nTransfer-Encoding: chunked\r\n\r\n");
    const Bytes data = Request(kPrintJob, Start() + User()) + SomeDocument(20'000);
    char size[16];
    snprintf(size, sizeof size, "%zx\r\n", data.size());
    client.Send(size + data);
    EXPECT_EQ(client.Receive().end, HttpEnd::Reset);
    const Answer jobs = Ask(Request(kGetJobs, Start() + Attribute(kKeyword, "which-jobs", "completed") +
                                                  Attribute(kInteger, "limit", Long(1)) + Wants("all")));
    EXPECT_EQ(jobs.Text("job-state"), "8");
    EXPECT_EQ(jobs.Text("job-state-reasons"), "aborted-by-system");
}

TEST_F(SimIpp, SaysThatItIsBusyOrTakesNoJobs) {
    sim_->Control("POST", "/sim/scenario", "");
    sim_->Control("POST", "/sim/values", "single-job=true");
    const int id = Print("first").JobId();
    EXPECT_EQ(Print(SomeDocument(3'000'000)).status, 0x0507);
    Step(id, "state completed");
    sim_->Control("POST", "/sim/values", "accepting-jobs=false");
    EXPECT_EQ(Print("second").status, 0x0506);
}

TEST_F(SimIpp, FaultsStrikeSingleOperations) {
    sim_->Control("POST", "/sim/faults",
                  "service=ipp operation=Get-Jobs omit=job-state\n"
                  "service=ipp operation=Validate-Job ipp-status=1287 times=1\n"
                  "service=ipp operation=Cancel-Job status=401\n"
                  "service=ipp operation=Create-Job truncate=20");
    Print("document");
    const Bytes all = Attribute(kKeyword, "which-jobs", "all") + Wants("all");
    const Answer jobs = Ask(Request(kGetJobs, Start() + all));
    EXPECT_NE(jobs.Text("job-id"), "");
    EXPECT_EQ(jobs.Text("job-state"), "");
    EXPECT_EQ(Ask(Request(kValidateJob, Start())).status, 1287);
    EXPECT_EQ(Ask(Request(kValidateJob, Start())).status, 0);
    EXPECT_EQ(Ask(Request(kCancelJob, Start() + JobId(1))).httpStatus, 401);
    EXPECT_EQ(Ask(Request(kCreateJob, Start())).end, HttpEnd::Truncated);
    sim_->Control("POST", "/sim/faults/clear");
}

TEST_F(SimIpp, RefusesScenariosAndStepsThatItDoesNotUnderstand) {
    const int id = Print("document").JobId();
    AwaitState(id, "9");
    HttpClient client(sim_->Address(), sim_->ControlPort());
    for (const char* text :
         {"after 0 state completed", "job x", "job any\nafter soon state completed",
          "job any\nafter 0 state lost", "job any\nat 5", "job any\nafter 0 set nothing"}) {
        EXPECT_EQ(client.Exchange("POST", "/sim/scenario", text).status, 400) << text;
    }
    EXPECT_EQ(client.Exchange("POST", "/sim/jobs/" + std::to_string(id), "state completed").status, 400);
    EXPECT_EQ(client.Exchange("POST", "/sim/jobs/99999", "state completed").status, 404);
    EXPECT_EQ(client.Exchange("POST", "/sim/jobs/x", "state completed").status, 400);
}

TEST_F(SimIpp, PrintsFromManyClientsAtOnce) {
    std::vector<std::thread> clients;
    std::vector<int> good(6);
    for (int& count : good) {
        clients.emplace_back([&count] {
            for (int i = 0; i < 10; ++i) {
                count += Print("a small document").status == 0;
                count += Ask(Request(kGetJobs, Start())).status == 0;
            }
        });
    }
    for (std::thread& client : clients)
        client.join();
    for (const int count : good)
        EXPECT_EQ(count, 20);
}

}  // namespace
