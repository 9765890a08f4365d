// Print jobs from their first piece to their end, over a printer that the test plays.
#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <new>
#include <thread>

#include "corvixdm/disposableptr.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "ippjobs/jobs.h"
#include "support/fakeprinter.h"
#include "support/jobeventturn.h"
#include "support/processresources.h"
#include "utilslib/com.h"
#include "wire/ipp/tags.h"

namespace {

using namespace CorvixTest;       // NOLINT: the printer and what it answers
using namespace Corvix::Testing;  // NOLINT
namespace Operation = Corvix::Ipp::Operation;
using Corvix::DisposablePtr;
using Corvix::IPPProviderImpl;
using Corvix::S_DEVICECANCELED;
using testing::EndsWith;

constexpr DWORD badAnswer = 1280;
constexpr DWORD jobFateUnknown = 1291;
constexpr DWORD stateUnknown = 0x20000010;
constexpr HRESULT stillRunning = 1;

/// A provider at its printer, with everything that a print job takes.
class PrintPipeline : public PrinterTest {
protected:
    PrintPipeline() { Play(); }

    /// What a printer without troubles answers.
    void Play() {
        Printer().Script(Operation::GetPrinterAttributes, {PrinterIn(3, "none")});
        for (const int operation :
             {Operation::PrintJob, Operation::PrintUri, Operation::CreateJob, Operation::SendDocument,
              Operation::SendUri, Operation::CancelJob, Operation::GetJobs})
            Printer().Script(operation, {jobAccepted});
    }

    static IPPProviderImpl::Settings Settings() {
        IPPProviderImpl::Settings settings;
        settings.resource = L"/ipp/print";
        settings.intervals = {1, 1, 1};
        return settings;
    }
    void Open() {
        provider_ = IPPProviderImpl::Create(Printer().address.Get(), Settings());
        request_ = DisposablePtr<Corvix::IPPRequestBase>(Corvix::IPPRequestAttributes::Create());
        response_ = DisposablePtr<Corvix::IPPResponseBase>(Corvix::IPPResponseAttributes::Create());
        request_->SetRequestingUserName("ann");
    }
    void OpenForDocuments() {
        Open();
        request_->SetJobID(7);
        request_->SetJobURI(JobUri(7).c_str());
        request_->SetLastDocument(true);
        request_->SetDocumentUri("http://localhost/a.pdf");
    }

    std::string Streamed() { return IppRequest::WithoutFrames(Printer().device->written); }
    using Operate = HRESULT (Corvix::IPPProvider::*)(Corvix::IPPRequestBase*, Corvix::IPPResponseBase*,
                                                     const unsigned char*, int);
    HRESULT Call(Operate operate, std::string_view piece) {
        return (provider_.Get()->*operate)(request_.Get(), response_.Get(),
                                           reinterpret_cast<const unsigned char*>(piece.data()),
                                           static_cast<int>(piece.size()));
    }
    HRESULT Print(std::string_view piece, bool wait = false) {
        return provider_->PrintJob(request_.Get(), response_.Get(),
                                   reinterpret_cast<const unsigned char*>(piece.data()),
                                   static_cast<int>(piece.size()), wait ? 1 : 0);
    }
    HRESULT PrintMore(std::string_view piece) { return Call(&Corvix::IPPProvider::PrintJobWrite, piece); }
    HRESULT Send(std::string_view piece) { return Call(&Corvix::IPPProvider::SendDocument, piece); }
    HRESULT SendMore(std::string_view piece) { return Call(&Corvix::IPPProvider::SendDocumentWrite, piece); }
    HRESULT Cancel() { return provider_->CancelJob(request_.Get(), response_.Get()); }
    bool IsFollowed() { return provider_->GetPrintStatusEventHandle() != nullptr; }

    void TearDown() override {
        provider_.Reset(), request_.Reset(), response_.Reset();
        PrinterTest::TearDown();
    }

    JobEventTurn turn_;
    DisposablePtr<Corvix::IPPRequestBase> request_;
    DisposablePtr<Corvix::IPPResponseBase> response_;
    DisposablePtr<Corvix::IPPProvider> provider_;
};

TEST_F(PrintPipeline, StreamsAJobAndReadsWhatBecameOfIt) {
    Open();
    ASSERT_EQ(Print("one "), S_OK);
    EXPECT_TRUE(IsFollowed());
    EXPECT_EQ(provider_->GetPrintReadyStatusEventHandle(), nullptr);
    ASSERT_EQ(PrintMore("two "), S_OK);
    ASSERT_EQ(PrintMore("three"), S_OK);
    ASSERT_EQ(PrintMore(""), S_OK);
    EXPECT_THAT(Printer().LastBody(Operation::PrintJob), EndsWith("\x03one two three"));
    EXPECT_STREQ(response_->GetSuccessStatus(), "0");
    EXPECT_STREQ(response_->GetJobID(), "7");
    EXPECT_STREQ(response_->GetJobState(), "Processing");
    EXPECT_FALSE(IsFollowed()) << "the last piece ends the following";
    EXPECT_EQ(PrintMore("late"), S_DEVICECANCELED);
}

TEST_F(PrintPipeline, WaitsForAPrinterThatIsIdleWithRoom) {
    Printer().Script(Operation::GetPrinterAttributes,
                     {PrinterIn(3, "none"), PrinterIn(4, "none"), PrinterIn(3, "spool-area-full"),
                      PrinterIn(5, "paused"), PrinterIn(3, "none")});
    Open();
    ASSERT_EQ(Print("one", true), S_OK);
    EXPECT_NE(provider_->GetPrintReadyStatusEventHandle(), nullptr);
    ASSERT_EQ(PrintMore(""), S_OK);
}

TEST_F(PrintPipeline, GivesUpWaitingWhenToldTo) {
    Printer().Script(Operation::GetPrinterAttributes,
                     {PrinterIn(3, "none"), PrinterIn(3, "spool-area-full")});
    Open();
    int asked = 0;
    Printer().watch = [&](int) {
        if (++asked == 3) provider_->StopWaiting();
    };
    EXPECT_EQ(Print("one", true), E_FAIL);
    EXPECT_EQ(Printer().LastBody(Operation::PrintJob), "");
}

TEST_F(PrintPipeline, FailsWhenThePrinterDoesNotTellItsState) {
    Printer().Script(Operation::GetPrinterAttributes, {PrinterIn(3, "none"), brokenConnection});
    Open();
    EXPECT_EQ(Print("one", true), E_FAIL);
    EXPECT_EQ(GetLastError(), stateUnknown);
}

TEST_F(PrintPipeline, JudgesAnEarlyAnswer) {
    struct {
        std::string answer;
        HRESULT result;
        bool followed;
    } const cases[] = {
        {Status(0x0507), S_OK, true},      {Status(0x0508), S_DEVICECANCELED, false},
        {Status(0x0400), E_FAIL, false},   {"not IPP", E_FAIL, false},
        {brokenConnection, E_FAIL, false},
    };
    Printer().device->earlyStatus = 200;
    for (const auto& known : cases) {
        Printer().Script(Operation::PrintJob, {known.answer});
        Open();
        EXPECT_EQ(Print("one"), known.result);
        EXPECT_EQ(IsFollowed(), known.followed);
        // The job cannot be gone on with, and above all its rest is not printed as another one.
        EXPECT_NE(PrintMore("two"), S_OK);
        EXPECT_EQ(Streamed().find("two"), std::string::npos);
    }
}

TEST_F(PrintPipeline, GoesOnWithAJobThatWasAcceptedBeforeItsEnd) {
    Printer().device->earlyStatus = 200;
    Open();
    ASSERT_EQ(Print("one "), S_OK);
    EXPECT_STREQ(response_->GetJobID(), "7");
    EXPECT_TRUE(IsFollowed());
    response_ = DisposablePtr<Corvix::IPPResponseBase>(Corvix::IPPResponseAttributes::Create());
    ASSERT_EQ(PrintMore("two "), S_OK);
    ASSERT_EQ(PrintMore("three"), S_OK);
    ASSERT_EQ(PrintMore(""), S_OK);
    EXPECT_THAT(Streamed(), EndsWith("\x03one two three"));
    EXPECT_STREQ(response_->GetJobID(), "7");
    EXPECT_NE(PrintMore("late"), S_OK);
    EXPECT_THAT(Streamed(), EndsWith("three"));
}

TEST_F(PrintPipeline, StopsAtAJobThatTheDeviceCancelled) {
    for (const Job& cancelled : {Job{7, 7, {"none"}}, Job{7, 8, {"aborted-by-system"}},
                                 Job{7, 5, {"processing-to-stop-point", "job-canceled-at-device"}}}) {
        Printer().Script(Operation::GetJobs, {jobAccepted, Jobs({cancelled})});
        Open();
        ASSERT_EQ(Print("one"), S_OK);
        WaitForSingleObject(provider_->GetPrintStatusEventHandle(), INFINITE);
        EXPECT_EQ(PrintMore("two"), S_DEVICECANCELED);
        EXPECT_EQ(Printer().LastBody(Operation::PrintJob), "");
    }
}

TEST_F(PrintPipeline, AsksWhatBecameOfAJobThatCouldNotBegin) {
    struct {
        unsigned jobId;
        std::vector<std::string> answers;
        HRESULT result;
        size_t questions;
    } const cases[] = {
        {0, {}, S_OK, 0},
        {7, {noJobs}, 0, 1},
        {7, {Jobs({{7, 9, {"none"}}})}, 0, 1},
        {7, {brokenConnection}, E_FAIL, 1},
        {7, {jobAccepted, noJobs}, 0, 2},
        {7, {jobAccepted, jobAccepted, jobAccepted}, 0, 3},
        {7, {jobAccepted, jobAccepted, noJobs}, stillRunning, 3},
    };
    for (const auto& known : cases) {
        Play();
        Printer().Script(Operation::GetJobs, known.answers);
        Open();
        request_->SetJobID(known.jobId);
        const size_t before = Printer().Exchanges();
        Printer().FailAt(1);
        SetLastError(0);
        EXPECT_EQ(Print("one"), known.result);
        EXPECT_EQ(GetLastError() == jobFateUnknown, known.result == stillRunning);
        EXPECT_EQ(Printer().Exchanges() - before, known.questions);
        EXPECT_FALSE(IsFollowed());
        Printer().Heal();
    }
}

TEST_F(PrintPipeline, AsksWhatBecameOfAJobWhosePieceWasNotTaken) {
    struct {
        std::vector<std::string> answers;
        HRESULT result;
    } const cases[] = {
        {{noJobs}, S_DEVICECANCELED},
        {{jobAccepted, jobAccepted}, S_DEVICECANCELED},
        {{jobAccepted, noJobs}, stillRunning},
        {{brokenConnection}, E_FAIL},
    };
    for (const char* piece : {"two", ""}) {
        for (const auto& known : cases) {
            OpenForDocuments();
            ASSERT_EQ(Send("one"), S_OK);
            Printer().Script(Operation::GetJobs, known.answers);
            Printer().FailAt(1);
            EXPECT_EQ(SendMore(piece), known.result);
            Printer().Heal();
        }
    }
}

TEST_F(PrintPipeline, JudgesTheAnswerToADocument) {
    struct {
        std::string answer;
        HRESULT result;
    } const cases[] = {
        {jobAccepted, S_OK},      {Status(0x0400), E_FAIL},
        {Status(0x0507), E_FAIL}, {Status(0x0508), S_DEVICECANCELED},
        {Status(0x0500), E_FAIL}, {"not IPP", E_FAIL},
    };
    OpenForDocuments();
    for (const auto& known : cases) {
        Printer().Script(Operation::SendDocument, {known.answer});
        ASSERT_EQ(provider_->CreateJob(request_.Get(), response_.Get()), S_OK);
        ASSERT_EQ(Send("one "), S_OK);
        ASSERT_EQ(SendMore("two"), S_OK);
        EXPECT_EQ(SendMore(""), known.result);
        EXPECT_THAT(Printer().LastBody(Operation::SendDocument), EndsWith("\x03one two"));
        EXPECT_NE(SendMore("late"), S_OK);
    }
}

TEST_F(PrintPipeline, PrintsByReference) {
    OpenForDocuments();
    EXPECT_EQ(provider_->PrintUri(request_.Get(), response_.Get()), S_OK);
    EXPECT_TRUE(IsFollowed());
    EXPECT_EQ(provider_->SendURI(request_.Get(), response_.Get()), S_OK);
    EXPECT_STREQ(response_->GetJobID(), "7");
    for (const int operation : {Operation::PrintUri, Operation::SendUri})
        EXPECT_NE(Printer().LastBody(operation).find("http://localhost/a.pdf"), std::string::npos);
    Printer().Script(Operation::SendUri, {"not IPP"});
    EXPECT_EQ(provider_->SendURI(request_.Get(), response_.Get()), E_FAIL);
    EXPECT_EQ(GetLastError(), badAnswer);
    Printer().Script(Operation::PrintUri, {Status(0x0508)});
    EXPECT_EQ(provider_->PrintUri(request_.Get(), response_.Get()), S_DEVICECANCELED);
    EXPECT_FALSE(IsFollowed());
}

TEST_F(PrintPipeline, FollowsTheJobsOfOneUserAtATime) {
    OpenForDocuments();
    ASSERT_EQ(provider_->PrintUri(request_.Get(), response_.Get()), S_OK);
    ASSERT_EQ(Send("one"), S_OK);
    EXPECT_TRUE(IsFollowed());
    request_->SetRequestingUserName("bob");
    ASSERT_EQ(Send("one"), S_OK);
    EXPECT_FALSE(IsFollowed());
}

TEST_F(PrintPipeline, CancelsAJob) {
    OpenForDocuments();
    ASSERT_EQ(Print("one"), S_OK);
    EXPECT_EQ(Cancel(), S_OK);
    EXPECT_FALSE(IsFollowed());
    EXPECT_NE(Printer().LastBody(Operation::CancelJob).find(JobUri(7)), std::string::npos);
    EXPECT_EQ(response_->GetJobID(), nullptr) << "a cancellation tells of no job";
    Printer().FailAt(1, true);
    EXPECT_EQ(Cancel(), E_FAIL);
    Printer().Heal();
    EXPECT_EQ(PrintMore("two"), S_DEVICECANCELED);
}

TEST_F(PrintPipeline, CancelsAJobThatIsKnownByItsNumber) {
    const std::string others = Jobs({{6, 5, {"none"}}, {8, 5, {"none"}}});
    struct {
        std::vector<std::string> answers;
        std::string uri;
    } const cases[] = {
        {{jobAccepted}, JobUri(7)},
        {{Jobs({{6, 5, {"a"}}, {7, 5, {"none"}}})}, JobUri(7)},
        {{noJobs, jobAccepted}, JobUri(7)},
        {{others, others}, "ipp://localhost:631/ipp/print/7"},
        {{brokenConnection}, "ipp://localhost:631/ipp/print/7"},
    };
    for (const auto& known : cases) {
        Printer().Script(Operation::GetJobs, known.answers);
        Open();
        request_->SetJobID(7);
        const size_t before = Printer().Count(Operation::GetJobs);
        EXPECT_EQ(Cancel(), S_OK);
        EXPECT_THAT(Printer().LastBody(Operation::CancelJob),
                    EndsWith(Bytes::Value(0x45, "job-uri", known.uri) +
                             Bytes::Value(0x42, "requesting-user-name", "ann") + Bytes::endTag));
        EXPECT_EQ(Printer().Count(Operation::GetJobs) - before, known.answers.size());
    }
}

TEST_F(PrintPipeline, StopsAfterAPollThatRanOutOfMemory) {
    Open();
    std::atomic<int> polls{0};
    Printer().watch = [&](int operation) {
        if (operation != Operation::GetJobs) return;
        ++polls;
        throw std::bad_alloc();
    };
    constexpr int rounds = 20;
    for (int round = 1; round <= rounds; ++round) {
        ASSERT_EQ(Print("one"), S_OK);
        while (polls < round)
            Sleep(1);
        provider_->StopAllThreadsRunning();
        EXPECT_FALSE(IsFollowed());
    }
    EXPECT_EQ(polls, rounds) << "each ended its thread";
}

TEST_F(PrintPipeline, TellsFromTheJobsOfAUserWhetherOneRuns) {
    struct {
        std::string answer;
        HRESULT result;
    } const cases[] = {
        {Jobs({{7, 5, {"job-printing"}}}), stillRunning},
        {Jobs({{7, 9, {"job-completed-successfully"}}}), 0},
        {Jobs({{7, 3, {"job-canceled-by-user"}}}), 0},
        {noJobs, stillRunning},
        {"not IPP", E_FAIL},
        {brokenConnection, E_FAIL},
    };
    Open();
    for (const auto& known : cases) {
        Printer().Script(Operation::GetJobs, {known.answer});
        EXPECT_EQ(provider_->GetJobs(1u), known.result);
        EXPECT_EQ(provider_->GetJobs(0u), known.result);
    }
}

// Each job is judged by what the printer tells of it, and by nothing that it tells of another.
TEST_F(PrintPipeline, JudgesOneJobAmongSeveral) {
    const Job runs{7, 5, {"none"}};
    const Job stopping{8, 5, {"processing-to-stop-point", "job-canceled-by-user"}};
    const Job canceled{9, 7, {"none"}};
    const std::string several =
        Jobs({runs, stopping, canceled, {10, 4, {"job-incoming", "job-hold-until-specified"}}});
    struct {
        std::string list;
        unsigned id;
        const char* uri;
        const char* whichJobs;
        HRESULT result;
    } const cases[] = {
        {several, 7, nullptr, "not-completed", stillRunning},
        {several, 8, nullptr, "not-completed", 0},
        {several, 9, nullptr, "not-completed", 0},
        {several, 10, nullptr, "not-completed", stillRunning},
        {several, 11, nullptr, "not-completed", 0},
        {several, 0, "ipp://localhost/jobs/7", "not-completed", stillRunning},
        {several, 0, "ipp://localhost/jobs/8", "not-completed", 0},
        {several, 0, "ipp://localhost/jobs/11", "not-completed", 0},
        {several, 7, nullptr, "completed", 0},
        {several, 11, nullptr, "completed", stillRunning},
        // Without a name every listed job is meant.
        {several, 0, nullptr, "not-completed", stillRunning},
        {Jobs({stopping, canceled}), 0, nullptr, "not-completed", 0},
        {Jobs({stopping}), 0, "", "not-completed", 0},
        {noJobs, 0, nullptr, "not-completed", 0},
    };
    Open();
    for (const auto& known : cases) {
        SCOPED_TRACE(&known - cases);
        Printer().Script(Operation::GetJobs, {known.list});
        request_->SetJobID(known.id);
        request_->SetJobURI(known.uri);
        EXPECT_EQ(provider_->GetJobs(request_.Get(), known.whichJobs), known.result);
    }
}

TEST_F(PrintPipeline, RefusesWhatIsIncomplete) {
    Open();
    Corvix::IPPProvider& printer = *provider_;
    Corvix::IPPRequestBase* request = request_.Get();
    Corvix::IPPResponseBase* response = response_.Get();
    const unsigned char byte = 1;
    const std::function<HRESULT()> calls[] = {
        [&] { return printer.PrintJob(nullptr, response, &byte, 1, 0); },
        [&] { return printer.PrintJob(request, nullptr, &byte, 1, 0); },
        [&] { return printer.PrintJob(request, response, nullptr, 1, 0); },
        [&] { return printer.PrintJob(request, response, &byte, 0, 0); },
        [&] { return printer.PrintJob(request, response, &byte, -1, 0); },
        [&] { return printer.PrintJobWrite(nullptr, response, &byte, 1); },
        [&] { return printer.PrintJobWrite(request, nullptr, &byte, 1); },
        [&] { return printer.PrintJobWrite(request, response, nullptr, 1); },
        [&] { return printer.PrintJobWrite(request, response, &byte, -1); },
        [&] { return printer.SendDocumentWrite(request, response, nullptr, 1); },
        [&] { return printer.CreateJob(request, nullptr); },
        [&] { return printer.CancelJob(nullptr, response); },
        [&] { return printer.PrintUri(request, response); },
        [&] { return printer.SendURI(request, response); },
        [&] { return printer.GetJobs(nullptr, "completed"); },
        [&] { return printer.GetJobs(request, nullptr); },
    };
    const size_t before = Printer().Exchanges();
    for (const auto& call : calls) {
        SetLastError(0);
        EXPECT_EQ(call(), E_FAIL) << &call - calls;
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << &call - calls;
    }
    EXPECT_EQ(Send("one"), E_FAIL) << "neither job nor last-document";
    request->SetRequestingUserName("");
    EXPECT_EQ(printer.CreateJob(request, response), E_FAIL);
    EXPECT_EQ(Cancel(), E_FAIL);
    EXPECT_EQ(Printer().Exchanges(), before) << "nothing was sent";
}

/// One thread prints, cancels and goes away with its provider while others stop it at any moment, look at its
/// events, and read over the same address.
class BusyPrinting : public PrintPipeline {
protected:
    static constexpr int rounds = 25;
    static constexpr int stoppers = 3;

    /// Runs work until the printing is done.
    template <class Work>
    void Beside(Work work) {
        threads_.emplace_back([this, work] {
            while (!done_) {
                work();
                Sleep(1);
            }
        });
    }
    void PrintOnce(int round) {
        Print("one", round % 3 == 0);
        PrintMore("two");
        if (round % 2 == 0) Cancel();
        PrintMore("");
    }
    void ReadState() {
        KyUtils::Variant state;
        reader_->GetIPPValue("printer-state", 0, state.Receive(), nullptr, nullptr, 0, 0, " ");
    }
    void PrintAmidst() {
        Open();
        reader_ = IPPProviderImpl::Create(Printer().address.Get(), Settings());
        // Every poll stops the polling as well, out of the transport, even while its provider goes.
        Printer().watch = [provider = provider_.Get()](int operation) {
            if (operation == Operation::GetJobs) provider->StopAllThreadsRunning();
        };
        for (int i = 0; i < stoppers; ++i)
            Beside([this] { provider_->StopAllThreadsRunning(); });
        Beside([this] { ReadState(); });
        Beside(
            [this] { provider_->GetPrintStatusEventHandle(), provider_->GetPrintReadyStatusEventHandle(); });
        for (int round = 0; round < rounds; ++round)
            PrintOnce(round);
        done_ = true;
        for (std::thread& thread : threads_)
            thread.join();
        threads_.clear();
        Print("left running");
        provider_.Reset(), reader_.Reset(), request_.Reset(), response_.Reset();
        done_ = false;
    }

    DisposablePtr<Corvix::IPPProvider> reader_;

private:
    std::atomic<bool> done_{false};
    std::vector<std::thread> threads_;
};

TEST_F(BusyPrinting, LeavesNothingBehind) {
    PrintAmidst();  // what is made once and kept is made here
    const size_t objects = KyUtils::LiveObjectCount();
    const size_t threads = ThreadsOfProcess();
    const size_t handles = HandlesOfProcess();
    for (int provider = 0; provider < 10; ++provider)
        PrintAmidst();
    EXPECT_EQ(KyUtils::LiveObjectCount(), objects);
    EXPECT_EQ(ThreadsOfProcess(), threads);
    EXPECT_LE(HandlesOfProcess(), handles + handlesOfLivingLocks);
}

/// What a caller does; run over and over with a transport that fails somewhere.
class PrintPipelineFaults : public PrintPipeline {
public:
    void PrintWaiting() { Print("one", true), PrintMore("two"), PrintMore(""); }
    void PrintAndCancel() {
        Print("one");
        Cancel();
    }
    void SendDocuments() {
        provider_->CreateJob(request_.Get(), response_.Get());
        Send("one"), SendMore("two"), SendMore("");
    }
    void PrintByReference() {
        provider_->PrintUri(request_.Get(), response_.Get());
        provider_->SendURI(request_.Get(), response_.Get());
        provider_->GetJobs(request_.Get(), "completed");
    }

    /// \return whether the fault was reached.
    bool RunWithFault(void (PrintPipelineFaults::*scenario)(), int call, bool forGood) {
        Printer().FailAt(1 + call, forGood);
        OpenForDocuments();
        if (provider_) (this->*scenario)();
        provider_.Reset();
        return Printer().HasFailed();
    }
};

TEST_F(PrintPipelineFaults, EndWithoutLossWhereverTheTransportFails) {
    constexpr int mostCalls = 500;
    const size_t objects = KyUtils::LiveObjectCount();
    const size_t threads = ThreadsOfProcess();
    for (const auto scenario :
         {&PrintPipelineFaults::PrintWaiting, &PrintPipelineFaults::PrintAndCancel,
          &PrintPipelineFaults::SendDocuments, &PrintPipelineFaults::PrintByReference}) {
        for (const bool forGood : {false, true}) {
            int call = 0;
            while (call < mostCalls && RunWithFault(scenario, call, forGood))
                ++call;
            EXPECT_GT(call, 5);
            EXPECT_LT(call, mostCalls);
            request_.Reset(), response_.Reset();
            EXPECT_EQ(KyUtils::LiveObjectCount(), objects);
            EXPECT_EQ(ThreadsOfProcess(), threads);
        }
    }
}

}  // namespace
