/// Where the devices of each XML protocol tell who they are.
#pragma once

namespace Corvix {

struct XmlIdentity {
    const wchar_t* uri;
    const wchar_t* xpath;
    unsigned textChars;  ///< the room that an identity is given, the terminating zero included
};

constexpr XmlIdentity pavoIdentity = {L"pavo:veyraPavoProductConfigDyn", L"//dd:SerialNumber", 256};
constexpr XmlIdentity wsIdentity = {L"urn:veyra:imaging:con:service:device:DeviceService", L"//wprt:DeviceId",
                                    2048};
constexpr XmlIdentity plsxmlIdentity = {L"/veyra/device/product_information.xml", L"//ProductSerialNumber",
                                        256};

}  // namespace Corvix
