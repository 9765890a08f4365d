/// The pieces of a body whose length is not known when it begins ("Transfer-Encoding: chunked").
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Corvix::Http {

/// What stands before the bytes of a chunk: their number in upper-case hexadecimal digits and a line end.
std::string MakeChunkHead(size_t length);

/// A whole chunk: head, bytes, line end. That of no bytes is the one that ends a body. The room that `chunk` has
/// is used again, because allocating it for each piece of a document costs more than filling it.
void FormChunk(std::string_view bytes, std::string& chunk);

/// What ends a chunked body.
constexpr std::string_view lastChunk = "0\r\n\r\n";

}  // namespace Corvix::Http
