// A DOM for tests that build things from elements.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "datamodel/dom/dom.h"
#include "utilslib/com.h"

namespace CorvixTest {

/// A parsed document, in an apartment of its own.
class Document {
public:
    explicit Document(const std::wstring& xml) {
        EXPECT_EQ(Corvix::LoadDomText(xml, document_), S_OK) << "the test's own XML does not load";
    }
    IXMLDOMNode* Node() const { return document_.Get(); }
    /// The root element.
    Corvix::ComPtr<IXMLDOMElement> Root() const {
        Corvix::ComPtr<IXMLDOMElement> root;
        document_->get_documentElement(&root);
        return root;
    }

private:
    KyUtils::ComApartment apartment_;
    Corvix::ComPtr<IXMLDOMDocument> document_;
};

}  // namespace CorvixTest
