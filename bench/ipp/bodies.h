// Response bodies of the sizes and shapes that are measured.
#pragma once

#include <string>

namespace CorvixBench {

/// A printer's attributes with a large media database: collections in collections.
std::string PrinterBody(std::size_t size);

/// The answer to Get-Jobs: one group for each job.
std::string JobsBody(std::size_t size);

/// One attribute with many values.
std::string SetBody(std::size_t size);

}  // namespace CorvixBench
