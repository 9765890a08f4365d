#include "bodies.h"

#include "wire/ipp/tags.h"

namespace CorvixBench {
namespace {

namespace Tag = Corvix::Ipp::Tag;

class BodyBuilder {
public:
    BodyBuilder() {
        body_.assign({2, 0, 0, 0, 0, 0, 0, 100, Tag::OperationAttributes});
        Text(Tag::Charset, "attributes-charset", "utf-8");
        Text(Tag::NaturalLanguage, "attributes-natural-language", "en");
    }
    void Group(unsigned char tag) { body_ += static_cast<char>(tag); }
    void Text(unsigned char tag, const std::string& name, const std::string& value) {
        body_ += static_cast<char>(tag);
        Sized(name);
        Sized(value);
    }
    void Number(unsigned char tag, const std::string& name, unsigned value) {
        Text(tag, name,
             {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
              static_cast<char>(value)});
    }
    void Begin(const std::string& name) { Text(Tag::BegCollection, name, {}); }
    void End() { Text(Tag::EndCollection, {}, {}); }
    void Member(const std::string& name) { Text(Tag::MemberAttrName, {}, name); }
    std::size_t Size() const { return body_.size(); }
    std::string Finish() {
        Group(Tag::EndOfAttributes);
        return std::move(body_);
    }

private:
    void Sized(const std::string& text) {
        body_ += static_cast<char>(text.size() >> 8);
        body_ += static_cast<char>(text.size());
        body_ += text;
    }

    std::string body_;
};

void AddMedia(BodyBuilder& builder, const std::string& name, unsigned number) {
    builder.Begin(name);
    builder.Member("media-size");
    builder.Begin({});
    builder.Member("x-dimension");
    builder.Number(Tag::Integer, {}, 10000 + number);
    builder.Member("y-dimension");
    builder.Number(Tag::Integer, {}, 15000 + number);
    builder.End();
    for (const char* margin :
         {"media-bottom-margin", "media-left-margin", "media-right-margin", "media-top-margin"}) {
        builder.Member(margin);
        builder.Number(Tag::Integer, {}, 423);
    }
    builder.Member("media-type");
    builder.Text(Tag::Keyword, {}, "stationery");
    builder.End();
}

}  // namespace

std::string PrinterBody(std::size_t size) {
    BodyBuilder builder;
    builder.Group(4);
    for (unsigned i = 0; i < 150; ++i) {
        const std::string name = "printer-attribute-" + std::to_string(i);
        builder.Text(Tag::Keyword, name, "value-" + std::to_string(i));
        for (unsigned j = 0; j < i % 8; ++j)
            builder.Text(Tag::Keyword, {}, "further-value");
    }
    AddMedia(builder, "media-col-database", 0);
    for (unsigned i = 1; builder.Size() < size; ++i)
        AddMedia(builder, {}, i);
    return builder.Finish();
}

std::string JobsBody(std::size_t size) {
    BodyBuilder builder;
    for (unsigned id = 1; builder.Size() < size; ++id) {
        const std::string number = std::to_string(id);
        builder.Group(Tag::JobAttributes);
        builder.Number(Tag::Integer, "job-id", id);
        builder.Text(Tag::Uri, "job-uri", "ipp://printer.example:631/ipp/print/" + number);
        builder.Text(Tag::Uri, "job-printer-uri", "ipp://printer.example:631/ipp/print");
        builder.Text(Tag::NameWithoutLanguage, "job-name", "Quarterly report " + number);
        builder.Text(Tag::NameWithoutLanguage, "job-originating-user-name", "ada");
        builder.Number(Tag::Enum, "job-state", 9);
        builder.Text(Tag::Keyword, "job-state-reasons", "job-completed-successfully");
        builder.Number(Tag::Integer, "time-at-creation", id);
        builder.Number(Tag::Integer, "time-at-completed", id + 9);
        builder.Number(Tag::Integer, "job-impressions-completed", id % 50);
    }
    return builder.Finish();
}

std::string SetBody(std::size_t size) {
    BodyBuilder builder;
    builder.Group(4);
    builder.Text(Tag::Keyword, "media-supported", "custom_min_100x148mm");
    for (unsigned i = 0; builder.Size() < size; ++i)
        builder.Text(Tag::Keyword, {}, "custom_" + std::to_string(i) + "x297mm");
    return builder.Finish();
}

}  // namespace CorvixBench
