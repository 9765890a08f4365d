// The Get-Jobs request and its answer, in good order and broken off.
#include "wire/joblistmessage.h"

#include <gmock/gmock.h>

#include <string>

namespace CorvixCtl {
namespace {

using testing::HasSubstr;

constexpr unsigned char integer = 0x21;
constexpr unsigned char enumeration = 0x23;
constexpr unsigned char nameWithLanguage = 0x36;
constexpr unsigned char name = 0x42;
constexpr unsigned char keyword = 0x44;
constexpr unsigned char uri = 0x45;
const std::string end = "\x03";
const std::string job = "\x02";

std::string Short(size_t number) { return {static_cast<char>(number >> 8), static_cast<char>(number)}; }

std::string Number(unsigned number) { return Short(number >> 16) + Short(number & 0xFFFF); }

std::string Value(unsigned char tag, const std::string& attribute, const std::string& value) {
    return std::string(1, static_cast<char>(tag)) + Short(attribute.size()) + attribute +
           Short(value.size()) + value;
}

std::string Answer(const std::string& groups, unsigned status = 0) {
    return std::string("\x02\x00", 2) + Short(status) + Number(1) + "\x01" +
           Value(0x47, "attributes-charset", "utf-8") + groups + end;
}

std::string TwoJobs() {
    return Answer(
        job + Value(integer, "job-id", Number(7)) + Value(uri, "job-uri", "ipp://p/7") +
        Value(name, "job-name",
              "B\xC3\xBC"
              "cher") +
        Value(name, "job-originating-user-name", "ada") + Value(enumeration, "job-state", Number(6)) +
        Value(keyword, "job-state-reasons", "media-empty") + Value(keyword, "", "printer-stopped") +
        Value(integer, "job-k-octets", Number(12)) + Value(integer, "time-at-creation", Number(100)) +
        Value(integer, "job-printer-up-time", Number(130)) + job + Value(integer, "job-id", Number(8)) +
        Value(nameWithLanguage, "job-name", Short(2) + "de" + Short(5) + "Brief"));
}

TEST(JobListMessage, AsksInTheNameOfAUser) {
    const std::string request = FormGetJobs("ipp://p/x", "ada", WhichJobs::Completed);
    EXPECT_EQ(request.substr(0, 9), std::string("\x02\x00\x00\x0A\x00\x00\x00\x01\x01", 9));
    EXPECT_THAT(request, HasSubstr(Value(uri, "printer-uri", "ipp://p/x")));
    EXPECT_THAT(request, HasSubstr(Value(name, "requesting-user-name", "ada")));
    EXPECT_THAT(request, HasSubstr(Value(keyword, "which-jobs", "completed")));
    EXPECT_THAT(request,
                HasSubstr(Value(keyword, "requested-attributes", "job-id") + Value(keyword, "", "job-uri")));
    EXPECT_EQ(request.substr(request.size() - 1), end);
    EXPECT_THAT(FormGetJobs("ipp://p/x", "ada", WhichJobs::NotCompleted),
                HasSubstr(Value(keyword, "which-jobs", "not-completed")));
}

TEST(JobListMessage, ReadsEachJob) {
    const auto list = ReadJobList(TwoJobs());
    ASSERT_TRUE(list);
    EXPECT_EQ(list->status, 0u);
    ASSERT_EQ(list->jobs.size(), 2u);
    const ListedJob& first = list->jobs[0];
    EXPECT_EQ(first.id, 7);
    EXPECT_EQ(first.uri, "ipp://p/7");
    EXPECT_EQ(first.name,
              "B\xC3\xBC"
              "cher");
    EXPECT_EQ(first.user, "ada");
    EXPECT_EQ(first.state, JobState::ProcessingStopped);
    EXPECT_EQ(first.reasons, "media-empty,printer-stopped");
    EXPECT_EQ(first.kilobytes, 12);
    EXPECT_EQ(first.Age(), 30);
    EXPECT_EQ(list->jobs[1].id, 8);
    EXPECT_EQ(list->jobs[1].name, "Brief");
    EXPECT_FALSE(list->jobs[1].Age());
}

TEST(JobListMessage, ReadsARefusal) {
    const auto list = ReadJobList(Answer("", 0x0401));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->status, 0x0401u);
    EXPECT_TRUE(list->jobs.empty());
}

TEST(JobListMessage, RefusesAnAnswerThatBreaksOffAnywhere) {
    const std::string whole = TwoJobs();
    for (size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(ReadJobList(whole.substr(0, length))) << length;
}

TEST(JobListMessage, PassesOverWhatItDoesNotUnderstand) {
    const struct {
        const char* what;
        std::string groups;
    } cases[] = {
        {"a number of another size", job + Value(integer, "job-id", "12")},
        {"a text whose language is cut", job + Value(nameWithLanguage, "job-name", Short(9) + "de")},
        {"a value before any name", job + Value(keyword, "", "alone")},
        {"attributes of no job", Value(integer, "job-id", Number(9)) + job},
        {"a group that nobody knows", std::string("\x0E") + Value(integer, "job-id", Number(9)) + job},
    };
    for (const auto& odd : cases) {
        const auto list = ReadJobList(Answer(odd.groups));
        ASSERT_TRUE(list) << odd.what;
        ASSERT_EQ(list->jobs.size(), 1u) << odd.what;
        EXPECT_EQ(list->jobs[0].id, 0) << odd.what;
        EXPECT_EQ(list->jobs[0].name, "") << odd.what;
    }
}

}  // namespace
}  // namespace CorvixCtl
