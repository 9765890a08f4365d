// A fake device that speaks Pavo.
#pragma once

#include <string>

#include "support/faketransport.h"

namespace CorvixTest {

/// One entry of a discovery tree.
inline std::string PavoEntry(const std::string& type, const std::string& uri) {
    return "<s><dd:ResourceType>" + type + "</dd:ResourceType><dd:ResourceURI>" + uri +
           "</dd:ResourceURI></s>";
}

/// Serves a discovery tree that lists the product configuration and `more`, and a configuration with the serial
/// number "SN1".
inline void ServePavo(FakeDevice& device, const std::string& more = {}) {
    device.resources[L"/DevMgmt/DiscoveryTree.xml"] = {
        200, "<t xmlns:dd='d'>" + PavoEntry("pavo:veyraPavoProductConfigDyn", "/config.xml") + more + "</t>"};
    device.resources[L"/config.xml"] = {200, "<c xmlns:dd='d'><dd:SerialNumber>SN1</dd:SerialNumber></c>"};
}

}  // namespace CorvixTest
