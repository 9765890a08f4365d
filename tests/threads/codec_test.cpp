// The polling threads form requests and read answers beside the caller's thread, and whoever asks a provider for
// values reads the one answer that it keeps.
#include <gmock/gmock.h>

#include <array>
#include <memory>
#include <set>

#include "crowd.h"
#include "support/ippbytes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/requestbuilder.h"
#include "wire/ipp/requestwriter.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

constexpr int rounds = 200;

TEST(CodecInThreads, OneResponseIsReadByAll) {
    std::string attributes;
    for (int i = 0; i < 50; ++i)
        attributes += Keyword("attribute-" + std::to_string(i), "value-" + std::to_string(i));
    attributes += Begin("media-col") + MemberInteger("x-dimension", 21000) + End();
    const auto response = std::make_shared<const Message>(ReadResponseData(Body(attributes), {}));
    CorvixTest::RunInCrowd([response](int thread) {
        for (int i = 0; i < rounds; ++i) {
            const std::string number = std::to_string((i + thread) % 50);
            EXPECT_EQ(response->ValueText("attribute-" + number), "value-" + number);
            EXPECT_EQ(response->ValueText("media-col.x-dimension"), "21000");
            EXPECT_FALSE(response->Contains("missing"));
        }
    });
}

TEST(CodecInThreads, EachFormsAndReadsItsOwn) {
    CorvixTest::RunInCrowd([](int thread) {
        const std::string user = "user-" + std::to_string(thread);
        RequestFields fields;
        fields.printerUri = "ipp://printer/ipp/print";
        fields.userName = user;
        fields.jobName = "job";
        fields.sides = thread % 3;
        std::set<std::string> formed;
        for (int i = 0; i < rounds; ++i) {
            std::array<unsigned char, attributePartCapacity> buffer{};
            int length = 0;
            EXPECT_EQ(FormRequest(buffer.data(), length, Operation::PrintJob, fields), FormResult::Formed);
            formed.emplace(reinterpret_cast<const char*>(buffer.data()), static_cast<size_t>(length));
            EXPECT_EQ(ReadResponseData(Body(Keyword("state", user)), {}).ValueText("state"), user);
        }
        EXPECT_EQ(formed.size(), 1u);
        EXPECT_NE(formed.begin()->find(user), std::string::npos);
    });
}

}  // namespace
}  // namespace Corvix::Ipp
