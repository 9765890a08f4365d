// Whoever asks a provider for values reads the one answer that it keeps, and the threads that follow a job form
// requests beside the caller's.
#include <gmock/gmock.h>

#include <array>

#include "crowd.h"
#include "support/ippbytes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

TEST(CodecInThreads, OneAnswerIsReadByAllAndEachFormsItsOwnRequests) {
    std::string attributes = Begin("media-col") + MemberInteger("x-dimension", 21000) + End();
    for (int i = 0; i < 50; ++i)
        attributes += Keyword("a" + std::to_string(i), std::to_string(i));
    const Message answer = ReadResponseData(Body(attributes));
    CorvixTest::RunInCrowd([&](int thread) {
        const std::string user = "user-" + std::to_string(thread);
        RequestFields fields;
        fields.userName = user;
        for (int i = 0; i < 200; ++i) {
            const std::string number = std::to_string((i + thread) % 50);
            EXPECT_EQ(answer.ValueText("a" + number), number);
            EXPECT_EQ(answer.ValueText("media-col.x-dimension"), "21000");
            std::array<unsigned char, attributePartCapacity> buffer{};
            int length = 0;
            EXPECT_EQ(FormRequest(buffer.data(), length, 2, fields), FormResult::Formed);
            const std::string request(buffer.begin(), buffer.begin() + length);
            EXPECT_EQ(ReadResponseData(request).ValueText("requesting-user-name"), user);
        }
    });
}

}  // namespace
}  // namespace Corvix::Ipp
