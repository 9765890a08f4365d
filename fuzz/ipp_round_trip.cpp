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

using namespace Corvix::Ipp;

constexpr int operations[] = {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 50};

struct TextField {
    std::string_view RequestFields::*field;
    const char* name;
};
// The last one is read back under a name of its own or joined with more.
constexpr TextField textFields[] = {
    {&RequestFields::language, "attributes-natural-language"},
    {&RequestFields::printerUri, "printer-uri"},
    {&RequestFields::userName, "requesting-user-name"},
    {&RequestFields::jobName, "job-name"},
    {&RequestFields::jobUri, "job-uri"},
    {&RequestFields::documentName, "document-name"},
    {&RequestFields::documentUri, "document-uri"},
    {&RequestFields::requestedAttributes, nullptr},
};
using Texts = std::array<std::string, std::size(textFields)>;

void SetNumbers(FuzzedDataProvider& input, RequestFields& fields) {
    fields.jobId = input.ConsumeIntegral<std::uint32_t>();
    fields.copies = input.ConsumeIntegral<std::uint32_t>();
    for (int RequestFields::*field :
         {&RequestFields::sides, &RequestFields::orientation, &RequestFields::quality,
          &RequestFields::multipleDocumentHandling, &RequestFields::contentOptimize,
          &RequestFields::crossFeedResolution, &RequestFields::feedResolution})
        fields.*field = input.ConsumeIntegral<int>();
    for (bool RequestFields::*field :
         {&RequestFields::completedJobs, &RequestFields::jobsOfAllUsers, &RequestFields::fidelity,
          &RequestFields::monochrome, &RequestFields::lastDocument})
        fields.*field = input.ConsumeBool();
}

// How a text reads back: commas at the end go.
void CheckPresent(const Message& message, const char* name, std::string meant) {
    meant.erase(meant.find_last_not_of(',') + 1);
    const auto text = message.ValueText(name);
    if (text) CORVIX_FUZZ_CHECK(*text == meant);
}

void CheckRequest(const Message& message, const Texts& texts, const RequestFields& fields) {
    CORVIX_FUZZ_CHECK(message.Header().requestId == 100);
    CORVIX_FUZZ_CHECK(message.GetFault() || message.HasEndTag());
    CheckPresent(message, "attributes-charset", "utf-8");
    CheckPresent(message, "copies", std::to_string(static_cast<std::int32_t>(fields.copies)));
    for (std::size_t i = 1; i + 1 < texts.size(); ++i)
        CheckPresent(message, textFields[i].name, texts[i]);
    CheckPresent(message, textFields[0].name, texts[0].empty() ? "en" : texts[0]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const int operation = input.PickValueInArray(operations);
    Texts texts;
    RequestFields fields;
    bool hasLongText = false;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] = input.ConsumeRandomLengthString(1200);
        fields.*textFields[i].field = texts[i];
        hasLongText = hasLongText || texts[i].size() > 1023;
    }
    SetNumbers(input, fields);
    std::string extra;
    if (EncodeAttribute(Tag::Keyword, "media", input.ConsumeRandomLengthString(1200), extra))
        fields.extras.push_back({input.ConsumeBool(), extra});
    std::array<unsigned char, attributePartCapacity> buffer{};
    int length = 0;
    if (FormRequest(buffer.data(), length, operation, fields) != FormResult::Formed) return 0;
    CORVIX_FUZZ_CHECK(length > 8 && length <= attributePartLimit);
    MessageReader reader(MessageKind::Request);
    const bool wantsMore =
        reader.Append({reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(length)});
    CORVIX_FUZZ_CHECK(!wantsMore);
    const Message message = reader.Finish();
    CORVIX_FUZZ_CHECK(!message.GetFault() || hasLongText);
    CORVIX_FUZZ_CHECK(message.Code() == static_cast<unsigned>(operation == 50 ? 2 : operation));
    CheckRequest(message, texts, fields);
    return 0;
}
