// Any settings as a request: what was written can be read, to its end.
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

constexpr std::string_view RequestFields::*textFields[] = {
    &RequestFields::language,    &RequestFields::printerUri,
    &RequestFields::userName,    &RequestFields::jobName,
    &RequestFields::jobUri,      &RequestFields::documentName,
    &RequestFields::documentUri, &RequestFields::requestedAttributes};

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const int operation = input.PickValueInArray(operations);
    RequestFields fields;
    std::array<std::string, std::size(textFields)> texts;
    bool hasLongText = false;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] = input.ConsumeRandomLengthString(1200);
        fields.*textFields[i] = texts[i];
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
    CORVIX_FUZZ_CHECK(message.GetFault() ? hasLongText : message.HasEndTag());
    CORVIX_FUZZ_CHECK(message.Code() == static_cast<unsigned>(operation == 50 ? 2 : operation));
    const auto name = message.ValueText("document-name");
    if (name) CORVIX_FUZZ_CHECK(texts[5].substr(0, name->size()) == *name);
    return 0;
}
