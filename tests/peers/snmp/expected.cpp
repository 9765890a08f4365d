#include "expected.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace SnmpPeer {
namespace {

std::vector<unsigned long> ArcsOf(const std::string& oid) {
    std::vector<unsigned long> arcs;
    std::istringstream text(oid);
    for (std::string arc; std::getline(text, arc, '.');) {
        if (!arc.empty()) arcs.push_back(std::stoul(arc));
    }
    return arcs;
}

std::vector<unsigned long> ArcsOf(const std::wstring& oid) {
    return ArcsOf(std::string(oid.begin(), oid.end()));
}

ExpectedValue ParseValue(const std::string& text) {
    const size_t colon = text.find(": ");
    if (text == "\"\"") return {"Hex-STRING", ""};
    if (colon == std::string::npos) return {"Timeticks", text};
    return {text.substr(0, colon), text.substr(colon + 2)};
}

std::string OctetsOf(const std::string& hex) {
    std::string octets;
    std::istringstream text(hex);
    for (std::string octet; text >> octet;)
        octets.push_back(static_cast<char>(std::stoi(octet, nullptr, 16)));
    return octets;
}

VARIANT TextVariant(const std::wstring& text) {
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return value;
}

VARIANT BytesVariant(const std::string& octets) {
    VARIANT value;
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(octets.size()));
    std::memcpy(value.parray->pvData, octets.data(), octets.size());
    return value;
}

VARIANT OctetVariant(const std::string& octets) {
    if (octets.empty()) return TextVariant({});
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    wchar_t text[1024];
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, octets.data(),
                                           static_cast<int>(octets.size()), text, ARRAYSIZE(text));
    if (length == 0 || std::any_of(octets.begin(), octets.end(), isControl)) return BytesVariant(octets);
    return TextVariant({text, static_cast<size_t>(length)});
}

VARIANT NumberVariant(const std::string& digits) {
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = static_cast<LONG>(static_cast<ULONG>(std::stoll(digits)));
    return value;
}

}  // namespace

ExpectedObjects ExpectedObjects::Load(const std::wstring& path) {
    std::ifstream file(std::string(path.begin(), path.end()));
    ExpectedObjects loaded;
    ExpectedValue* last = nullptr;
    for (std::string line; std::getline(file, line);) {
        const size_t equals = line.find(" = ");
        if (equals != std::string::npos) {
            last = &(loaded.objects_[ArcsOf(line.substr(0, equals))] = ParseValue(line.substr(equals + 3)));
        } else if (last) {
            last->text += line;  // octets go on in lines of their own
        }
    }
    if (loaded.objects_.empty()) throw std::runtime_error("no objects are expected");
    return loaded;
}

const ExpectedValue* ExpectedObjects::Find(const std::wstring& oid) const {
    const auto found = objects_.find(ArcsOf(oid));
    return found == objects_.end() ? nullptr : &found->second;
}

std::vector<const ExpectedValue*> ExpectedObjects::Below(const std::wstring& oid) const {
    const std::vector<unsigned long> root = ArcsOf(oid);
    std::vector<const ExpectedValue*> values;
    for (auto at = objects_.upper_bound(root); at != objects_.end(); ++at) {
        if (at->first.size() < root.size() || !std::equal(root.begin(), root.end(), at->first.begin())) break;
        values.push_back(&at->second);
    }
    return values;
}

VARIANT ToVariant(const ExpectedValue& value) {
    if (value.type == "Hex-STRING") return OctetVariant(OctetsOf(value.text));
    if (value.type == "OID") return TextVariant({value.text.begin() + 1, value.text.end()});
    return NumberVariant(value.text);
}

}  // namespace SnmpPeer
