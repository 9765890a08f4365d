// Any settings as a request: what was written reads back as what was meant.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <string>

#include "check.h"
#include "wire/ipp/encodedattributes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace {

using Corvix::Ipp::FormResult;
using Corvix::Ipp::Message;
using Corvix::Ipp::RequestFields;

constexpr int operations[] = {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 50};
constexpr std::size_t longestText = 1023;

struct Texts {
    std::string language, printerUri, requested, jobUri, userName, jobName, documentName, documentUri, media;
};

Texts TakeTexts(FuzzedDataProvider& input) {
    const auto text = [&] { return input.ConsumeRandomLengthString(1200); };
    return {text(), text(), text(), text(), text(), text(), text(), text(), text()};
}

RequestFields MakeFields(FuzzedDataProvider& input, const Texts& texts) {
    RequestFields fields;
    fields.language = texts.language;
    fields.printerUri = texts.printerUri;
    fields.requestedAttributes = texts.requested;
    fields.jobUri = texts.jobUri;
    fields.userName = texts.userName;
    fields.jobName = texts.jobName;
    fields.documentName = texts.documentName;
    fields.documentUri = texts.documentUri;
    fields.jobId = input.ConsumeIntegral<std::uint32_t>();
    fields.copies = input.ConsumeIntegral<std::uint32_t>();
    fields.sides = input.ConsumeIntegral<int>();
    fields.orientation = input.ConsumeIntegral<int>();
    fields.quality = input.ConsumeIntegral<int>();
    fields.multipleDocumentHandling = input.ConsumeIntegralInRange(-1, 4);
    fields.contentOptimize = input.ConsumeIntegralInRange(0, 6);
    fields.crossFeedResolution = input.ConsumeIntegral<std::int32_t>();
    fields.feedResolution = input.ConsumeIntegral<std::int32_t>();
    fields.resolutionUnits = input.ConsumeIntegral<unsigned char>();
    fields.completedJobs = input.ConsumeBool();
    fields.fidelity = input.ConsumeBool();
    fields.monochrome = input.ConsumeBool();
    fields.lastDocument = input.ConsumeBool();
    return fields;
}

// How a text reads back: commas at the end go.
std::string AsRead(std::string text) {
    text.erase(text.find_last_not_of(',') + 1);
    return text;
}

void CheckPresent(const Message& response, const char* name, const std::string& meant) {
    const auto text = response.ValueText(name);
    if (text) CORVIX_FUZZ_CHECK(*text == AsRead(meant));
}

void CheckAnswer(const Message& response, int operation, const Texts& texts, const RequestFields& fields) {
    CORVIX_FUZZ_CHECK(response.Header().requestId == 100);
    CORVIX_FUZZ_CHECK(response.Code() == static_cast<unsigned>(operation == 50 ? 2 : operation));
    CheckPresent(response, "attributes-charset", "utf-8");
    CheckPresent(response, "attributes-natural-language", texts.language.empty() ? "en" : texts.language);
    CheckPresent(response, "printer-uri", texts.printerUri);
    CheckPresent(response, "requesting-user-name", texts.userName);
    CheckPresent(response, "job-name", texts.jobName);
    CheckPresent(response, "job-uri", texts.jobUri);
    CheckPresent(response, "document-name", texts.documentName);
    CheckPresent(response, "document-uri", texts.documentUri);
    CheckPresent(response, "media", texts.media);
    CheckPresent(response, "copies", std::to_string(static_cast<std::int32_t>(fields.copies)));
    if (operation == Corvix::Ipp::Operation::GetPrinterAttributes && !response.GetFault())
        CheckPresent(response, "requested-attributes",
                     "printer-name,printer-uri-supported," + texts.requested);
    CORVIX_FUZZ_CHECK(response.GetFault() || response.HasEndTag());
}

bool HasLongText(const Texts& texts) {
    for (const std::string* text :
         {&texts.language, &texts.printerUri, &texts.requested, &texts.jobUri, &texts.userName,
          &texts.jobName, &texts.documentName, &texts.documentUri}) {
        if (text->size() > longestText) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const int operation = input.PickValueInArray(operations);
    Texts texts = TakeTexts(input);
    RequestFields fields = MakeFields(input, texts);
    std::string extra;
    if (Corvix::Ipp::EncodeAttribute(Corvix::Ipp::Tag::Keyword, "media", texts.media, extra))
        fields.extras.push_back({input.ConsumeBool(), extra});

    std::array<unsigned char, Corvix::Ipp::attributePartCapacity> buffer{};
    int length = 0;
    if (FormRequest(buffer.data(), length, operation, fields) != FormResult::Formed) return 0;
    CORVIX_FUZZ_CHECK(length > 8 && length <= Corvix::Ipp::attributePartLimit);
    const std::string_view body(reinterpret_cast<const char*>(buffer.data()),
                                static_cast<std::size_t>(length));
    const Message response = Corvix::Ipp::ReadResponseData(body);
    CORVIX_FUZZ_CHECK(!response.GetFault() || HasLongText(texts));
    CheckAnswer(response, operation, texts, fields);
    return 0;
}
