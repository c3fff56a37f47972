// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program, so that the fuzzer keeps the input, unless what is claimed of it is so.
inline void require(bool holds, const char* claim)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", claim);
    std::abort();
}
