// The WH family: for each of the 273 sub-generators, four prime moduli just
// under 2^24, their multipliers (primitive roots below 128) and the
// correctly rounded reciprocals 1/m.  Made by tools/wh_table.
#pragma once

#include <cstdint>

namespace qlm::random {

struct wh_family_row {
    uint32_t m[4];
    uint8_t a[4];
    double reciprocal[4];
};

extern const wh_family_row wh_family[273];

}  // namespace qlm::random
