// Bytes written as "30 03 02 01 05".
#pragma once

#include <string>
#include <string_view>

inline std::string FromHex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    std::string bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ') continue;
        if (high < 0) {
            high = digit(c);
        } else {
            bytes.push_back(static_cast<char>(high * 16 + digit(c)));
            high = -1;
        }
    }
    return bytes;
}
