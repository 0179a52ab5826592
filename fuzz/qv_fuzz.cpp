// libFuzzer target: one input is one careless host session (see fuzz_driver.cpp). A behaviour
// that differs from the frame-buffer rules aborts with the reason; AddressSanitizer and
// UndefinedBehaviorSanitizer report everything else.
#include <cstdio>
#include <cstdlib>

#include "fuzz_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const qvfuzz::Outcome outcome = qvfuzz::RunInput(data, size);
    if (!outcome.failure.empty()) {
        std::fprintf(stderr, "qv_fuzz: %s\n", outcome.failure.c_str());
        std::abort();
    }
    return 0;
}
