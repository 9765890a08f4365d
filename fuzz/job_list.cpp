// Whatever a printer lists: no job more than it has bytes for, and nothing longer than the whole.
#include "check.h"
#include "wire/joblistmessage.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    const auto list = CorvixCtl::ReadJobList({reinterpret_cast<const char*>(data), size});
    if (!list) return 0;
    CORVIX_FUZZ_CHECK(list->jobs.size() <= size);
    for (const CorvixCtl::ListedJob& job : list->jobs)
        CORVIX_FUZZ_CHECK(job.name.size() + job.user.size() + job.uri.size() + job.reasons.size() <= size);
    return 0;
}
