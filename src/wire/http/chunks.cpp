#include "wire/http/chunks.h"

#include <cstdio>

namespace Corvix::Http {

std::string MakeChunkHead(size_t length) {
    char head[24];
    std::snprintf(head, sizeof head, "%llX\r\n", static_cast<unsigned long long>(length));
    return head;
}

void FormChunk(std::string_view bytes, std::string& chunk) {
    // Not assigned to `chunk` itself: a move would drop the room that it has.
    const std::string head = MakeChunkHead(bytes.size());
    chunk.clear();
    chunk.reserve(head.size() + bytes.size() + 2);
    chunk.append(head).append(bytes).append("\r\n");
}

}  // namespace Corvix::Http
