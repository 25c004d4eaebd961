// Pack and unpack: each of the six functions in both widths of the flag
// against a plain gather or scatter, elements that are not addressed keep
// their values, and the copy rule of each type (double through the x87
// unit, which quiets a signalling NaN; single as integers).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "qlm/qlm_vxm.h"
#include "support/fpu.h"

namespace {

std::vector<double> iota_values(int n, double start) {
    std::vector<double> v(n);
    for (int i = 0; i < n; ++i) v[i] = start + i;
    return v;
}

TEST(Pack, StridedIndexedAndMaskedGathersInBothWidths) {
    const auto a = iota_values(40, 100.0);
    std::vector<double> y(10, -1.0);
    // Count with bits above the low word: the 32-bit form sees 3.
    qlm_vxm_kernel_dPackI_ttab[0](0x100000003ll, a.data(), 4, y.data(), 1);
    EXPECT_EQ(y, (std::vector<double>{100, 104, 108, -1, -1, -1, -1, -1, -1, -1}));
    // The 32-bit form reads the stride's low word only.
    qlm_vxm_kernel_dPackI_ttab[1](3, a.data(), 0x500000002ll, y.data(), 1);
    EXPECT_EQ(y[2], 104.0);
    _vxmdPackI(4, a.data(), 0, y.data());
    EXPECT_EQ(y[3], 100.0) << "stride 0 repeats element 0";
    _vxmdPackI(4, a.data() + 39, -3, y.data());
    EXPECT_EQ(y[3], 130.0) << "a negative stride walks backward";

    const int32_t idx32[] = {7, 0, 7, 31};
    const int64_t idx64[] = {7, 0, 0x700000007ll, 31};
    std::vector<double> y32(4), y64(4);
    _vxmdPackV(4, a.data(), idx32, y32.data());
    qlm_vxm_kernel_dPackV_ttab[2](4, a.data(), idx64, y64.data(), 0);
    EXPECT_EQ(y32, (std::vector<double>{107, 100, 107, 131}));
    EXPECT_EQ(y64, y32) << "a 64-bit index is read through its low word";

    const int32_t mask32[] = {0, 1, 0, -5, 0, 0};
    const int64_t mask64[] = {0, 0x0000000100000000ll, 0, 1, 0, 0};
    std::vector<double> m32(6, -1.0), m64(6, -1.0);
    _vxmdPackM(6, a.data(), mask32, m32.data());
    qlm_vxm_kernel_dPackM_ttab[0](6, a.data(), mask64, m64.data(), 2);
    EXPECT_EQ(m32, (std::vector<double>{101, 103, -1, -1, -1, -1}));
    EXPECT_EQ(m64, m32) << "a high-word-only mask entry counts as nonzero";
    const int32_t zeros[6] = {};
    std::vector<double> untouched(6, -2.0);
    _vxmdPackM(6, a.data(), zeros, untouched.data());
    EXPECT_EQ(untouched, std::vector<double>(6, -2.0));
    _vxmdPackI(0, a.data(), 1, untouched.data());
    _vxmdPackI(-4, a.data(), 1, untouched.data());
    EXPECT_EQ(untouched, std::vector<double>(6, -2.0));
}

TEST(Unpack, StridedIndexedAndMaskedScattersInBothWidths) {
    const std::vector<float> a = {1, 2, 3, 4};
    std::vector<float> y(12, -1.0f);
    _vxmsUnpackI(4, a.data(), y.data(), 3);
    EXPECT_EQ(y, (std::vector<float>{1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1}));
    std::vector<float> back(12, -1.0f);
    qlm_vxm_kernel_sUnpackI_ttab[0](4, a.data(), back.data() + 11, -3, 0);
    EXPECT_EQ(back[11], 1.0f);
    EXPECT_EQ(back[2], 4.0f);

    const int32_t idx32[] = {5, 1, 9, 0};
    const int64_t idx64[] = {5, 1, 9, 0};
    std::vector<float> v32(10, 0.0f), v64(10, 0.0f);
    _vxmsUnpackV(4, a.data(), v32.data(), idx32);
    qlm_vxm_kernel_sUnpackV_ttab[1](4, a.data(), v64.data(), idx64, 0);
    EXPECT_EQ(v32, (std::vector<float>{4, 2, 0, 0, 0, 1, 0, 0, 0, 3}));
    EXPECT_EQ(v64, v32);

    const int32_t mask32[] = {1, 0, 0, 1, 1, 0};
    const int64_t mask64[] = {1, 0, 0, 0x0000000100000000ll, 1, 0};
    std::vector<float> u32(6, -1.0f), u64(6, -1.0f);
    _vxmsUnpackM(6, a.data(), u32.data(), mask32);
    qlm_vxm_kernel_sUnpackM_ttab[2](6, a.data(), u64.data(), mask64, 0);
    EXPECT_EQ(u32, (std::vector<float>{1, -1, -1, 2, 3, -1})) << "masked-off elements keep their values";
    EXPECT_EQ(u64, u32);
}

// A signalling NaN comes out quiet in double and bit for bit in single;
// no routine touches MXCSR, so no flag appears.
TEST(PackCopyRule, SignallingNanAsymmetry) {
    const uint64_t snan = 0x7FF0000000000001ull, other = 0xFFF4000000000ABCull;
    double a[2];
    std::memcpy(&a[0], &snan, 8);
    std::memcpy(&a[1], &other, 8);
    double y[2];
    qlm::test::mxcsr_scope scope(qlm::test::kMxcsrDefault);
    _vxmdPackI(2, a, 1, y);
    uint64_t got[2];
    std::memcpy(got, y, 16);
    EXPECT_EQ(got[0], snan | 0x0008000000000000ull);
    EXPECT_EQ(got[1], other | 0x0008000000000000ull);
    double u[2] = {0, 0};
    _vxmdUnpackI(2, a, u, 1);
    std::memcpy(got, u, 16);
    EXPECT_EQ(got[0], snan | 0x0008000000000000ull);

    const uint32_t fsnan[] = {0x7F800001u, 0xFF800123u};
    float af[2], yf[2];
    std::memcpy(af, fsnan, 8);
    _vxmsPackI(2, af, 1, yf);
    uint32_t fgot[2];
    std::memcpy(fgot, yf, 8);
    EXPECT_EQ(fgot[0], fsnan[0]);
    EXPECT_EQ(fgot[1], fsnan[1]);
    EXPECT_EQ(qlm::test::get_mxcsr(), qlm::test::kMxcsrDefault);
    EXPECT_EQ(qlm_vxm_kernel_dUnpackM_ttab[0], qlm_vxm_kernel_dUnpackM_ttab[2]);
}

}  // namespace
