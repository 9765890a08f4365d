#include "sim/peer/httpclient.h"

#include <ws2tcpip.h>

#include <cstdlib>
#include <stdexcept>

namespace {

constexpr size_t kMaxBody = 16 << 20;

struct Winsock {
    Winsock() {
        WSADATA data;
        if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("WSAStartup failed");
    }
};

long long LengthOf(const HttpAnswer& answer) {
    const size_t place = answer.head.find("\r\nContent-Length: ");
    return place == std::string::npos ? -1 : std::atoll(answer.head.c_str() + place + 18);
}

}  // namespace

bool HttpAnswer::HasHeader(const std::string& line) const {
    return head.find("\r\n" + line + "\r\n") != std::string::npos;
}

HttpClient::HttpClient(const std::string& address, uint16_t port) : address_(address), port_(port) {
    static const Winsock winsock;
}

HttpClient::~HttpClient() {
    if (socket_ != INVALID_SOCKET) closesocket(socket_);
}

bool HttpClient::Connect() {
    if (socket_ != INVALID_SOCKET) return true;
    socket_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port_);
    inet_pton(AF_INET, address_.c_str(), &to.sin_addr);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) return true;
    closesocket(socket_);
    socket_ = INVALID_SOCKET;
    return false;
}

bool HttpClient::Send(const std::string& bytes) {
    if (!Connect()) return false;
    size_t sent = 0;
    while (sent < bytes.size()) {
        const int piece = send(socket_, bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
        if (piece <= 0) return false;
        sent += static_cast<size_t>(piece);
    }
    return true;
}

int HttpClient::Fill() {
    char piece[65536];
    const int length = recv(socket_, piece, sizeof piece, 0);
    if (length > 0) received_.append(piece, static_cast<size_t>(length));
    return length;
}

bool HttpClient::ReadHead(HttpAnswer& answer) {
    size_t end = std::string::npos;
    while ((end = received_.find("\r\n\r\n")) == std::string::npos) {
        const int length = Fill();
        if (length > 0) continue;
        answer.end = !received_.empty() ? HttpEnd::Truncated
                     : length == 0      ? HttpEnd::NoAnswer
                                        : HttpEnd::Reset;
        answer.body = received_;
        return false;
    }
    answer.head = received_.substr(0, end + 4);
    received_.erase(0, end + 4);
    answer.status = answer.head.size() > 9 ? std::atoi(answer.head.c_str() + 9) : 0;
    return true;
}

void HttpClient::ReadBody(HttpAnswer& answer) {
    const long long length = LengthOf(answer);
    answer.end = HttpEnd::Complete;
    while (length < 0 || received_.size() < static_cast<size_t>(length)) {
        if (received_.size() > kMaxBody && length < 0) {
            answer.end = HttpEnd::TooMuch;
            break;
        }
        if (Fill() > 0) continue;
        if (length >= 0) answer.end = HttpEnd::Truncated;
        break;
    }
    const size_t size = length < 0 ? received_.size() : static_cast<size_t>(length);
    answer.body = received_.substr(0, size);
    received_.erase(0, size);
}

HttpAnswer HttpClient::Receive(bool answerHasBody) {
    HttpAnswer answer;
    if (!ReadHead(answer)) return answer;
    answer.end = HttpEnd::Complete;
    if (answerHasBody && answer.status != 204) ReadBody(answer);
    return answer;
}

HttpAnswer HttpClient::ExchangeRaw(const std::string& bytes, bool answerHasBody) {
    if (!Connect()) {
        HttpAnswer answer;
        answer.end = HttpEnd::Refused;
        return answer;
    }
    Send(bytes);
    return Receive(answerHasBody);
}

HttpAnswer HttpClient::Exchange(const std::string& method, const std::string& path, const std::string& body,
                                const std::string& contentType) {
    std::string request = method + " " + path + " HTTP/1.1\r\nHost: " + address_ + "\r\n";
    if (!body.empty() || method == "POST") {
        request +=
            "Content-Type: " + contentType + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return ExchangeRaw(request + "\r\n" + body, method != "HEAD");
}

HttpAnswer HttpClient::PostChunked(const std::string& path, const std::vector<std::string>& chunks,
                                   const std::string& contentType) {
    std::string request = "POST " + path + " HTTP/1.1\r\nHost: " + address_ +
                          "\r\nContent-Type: " + contentType + "\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const std::string& chunk : chunks) {
        char size[20];
        snprintf(size, sizeof size, "%zx\r\n", chunk.size());
        request += size + chunk + "\r\n";
    }
    return ExchangeRaw(request + "0\r\n\r\n");
}

HttpAnswer HttpGet(const std::string& address, uint16_t port, const std::string& path) {
    HttpClient client(address, port);
    return client.Exchange("GET", path);
}
