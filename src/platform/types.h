// Short names of the fixed-width integers. They stand for field widths, not for arithmetic: locals
// are plain int.
#pragma once

#include <cfloat>
#include <cstdint>

// Scores would depend on the processor: where intermediate results have more digits than a double,
// others are cut to whole numbers. On 32-bit x86 the options are -msse2 -mfpmath=sse.
static_assert(FLT_EVAL_METHOD == 0, "arithmetic must be as exact as its types, no more");

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;
