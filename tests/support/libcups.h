// The second opinion on IPP: messages written and read by libcups.
#pragma once

#include <cups/cups.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

namespace Corvix::Testing {

struct DeleteIpp {
    void operator()(ipp_t* message) const { ippDelete(message); }
};
using CupsMessage = std::unique_ptr<ipp_t, DeleteIpp>;

struct CloseHttp {
    void operator()(http_t* http) const { httpClose(http); }
};
using CupsConnection = std::unique_ptr<http_t, CloseHttp>;

struct ReadSource {
    const char* next;
    std::size_t left;
};

inline ssize_t ReadBytes(void* context, ipp_uchar_t* buffer, std::size_t bytes) {
    auto* source = static_cast<ReadSource*>(context);
    const std::size_t count = std::min(bytes, source->left);
    std::memcpy(buffer, source->next, count);
    source->next += count;
    source->left -= count;
    return static_cast<ssize_t>(count);
}

inline CupsMessage CupsParse(const std::string& body) {
    CupsMessage message(ippNew());
    ReadSource source{body.data(), body.size()};
    while (true) {
        const ipp_state_t state = ippReadIO(&source, ReadBytes, 1, nullptr, message.get());
        if (state == IPP_STATE_ERROR)
            throw std::runtime_error(std::string("libcups: ") + cupsLastErrorString());
        if (state == IPP_STATE_DATA) return message;
    }
}

inline ssize_t WriteBytes(void* context, ipp_uchar_t* buffer, std::size_t bytes) {
    auto* target = static_cast<std::string*>(context);
    target->append(reinterpret_cast<const char*>(buffer), bytes);
    return static_cast<ssize_t>(bytes);
}

inline void CupsEncode(ipp_t* message, std::string& target) {
    ippSetState(message, IPP_STATE_IDLE);  // a message that was read has its end behind it
    while (true) {
        const ipp_state_t state = ippWriteIO(&target, WriteBytes, 1, nullptr, message);
        if (state == IPP_STATE_ERROR) throw std::runtime_error("libcups cannot write the request");
        if (state == IPP_STATE_DATA) return;
    }
}

/// The bytes that a printer on this machine answers to a request, as they come.
inline std::string CupsExchange(int port, const std::string& request) {
    const CupsConnection http(
        httpConnect2("localhost", port, nullptr, AF_UNSPEC, HTTP_ENCRYPTION_IF_REQUESTED, 1, 5000, nullptr));
    if (!http) throw std::runtime_error("cannot connect to the printer");
    httpClearFields(http.get());  // sets "Host"
    httpSetField(http.get(), HTTP_FIELD_CONTENT_TYPE, "application/ipp");
    httpSetLength(http.get(), request.size());
    if (httpPost(http.get(), "/ipp/print") != 0 || httpWrite2(http.get(), request.data(), request.size()) < 0)
        throw std::runtime_error("cannot send to the printer");
    http_status_t status = HTTP_STATUS_CONTINUE;
    while (status == HTTP_STATUS_CONTINUE)
        status = httpUpdate(http.get());
    if (status != HTTP_STATUS_OK)
        throw std::runtime_error("the printer answers with HTTP status " + std::to_string(status));
    std::string answer;
    char buffer[4096];
    for (ssize_t count = 1; count > 0;) {
        count = httpRead2(http.get(), buffer, sizeof buffer);
        if (count > 0) answer.append(buffer, static_cast<std::size_t>(count));
    }
    return answer;
}

}  // namespace Corvix::Testing
