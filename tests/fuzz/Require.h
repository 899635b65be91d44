#pragma once

#include <cstdlib>

namespace k470 {

/// Makes the fuzzer report the input that broke a promise.
inline void Require(bool kept) {
    if (!kept)
        std::abort();
}

} // namespace k470
