// The error path through its entries: status, callback, errno, message,
// exception and write-back under the error-field combinations that matter.
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <string>

#include "frame/error_path.h"
#include "frame/thread_block.h"
#include "support/child_process.h"

namespace {

using qlm::frame::raise_status_c;
using qlm::frame::raise_status_d;
using qlm::frame::raise_status_s;
using qlm::test::run_in_child;

qlm_vxm_error_record seen;
int callback_calls = 0;

int32_t keep_and_return(qlm_vxm_error_record* r, int32_t value) {
    seen = *r;
    ++callback_calls;
    r->res1 = 42.0;
    return value;
}
int32_t callback_zero(qlm_vxm_error_record* r) { return keep_and_return(r, 0); }
int32_t callback_one(qlm_vxm_error_record* r) { return keep_and_return(r, 1); }

// Each case starts from a clean thread state with the given mode.
void reset(uint32_t mode, qlm_vxm_error_callback callback = nullptr) {
    auto* block = qlm::frame::get_thread_block();
    block->mode = mode;
    block->status = 0;
    block->callback = callback;
    block->input_base = nullptr;
    callback_calls = 0;
    errno = 0;
}

TEST(ErrorPath, IgnoreAloneStoresTheStatusOnly) {
    reset(0x102, callback_zero);
    const double a[3] = {1, 2, 3};
    double y[3] = {7, 8, 9};
    raise_status_d(VXM_STATUS_SING, 1, a, a, y, y, "vdLn");
    EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_SING);
    EXPECT_EQ(callback_calls, 0);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(y[1], 8.0);
}

TEST(ErrorPath, IgnoreWithAnotherBitIsNotIgnored) {
    reset(0x302);
    const double a[1] = {-1};
    double y[1] = {NAN};
    raise_status_d(VXM_STATUS_ERRDOM, 0, a, a, y, y, "vdLn");
    EXPECT_EQ(errno, 33);
}

TEST(ErrorPath, CallbackReturningNonzeroOwnsTheResult) {
    reset(0x1A02, callback_one);
    const double a[2] = {0, -0.0};
    double y[2] = {-INFINITY, -INFINITY};
    feclearexcept(FE_ALL_EXCEPT);
    raise_status_d(VXM_STATUS_SING, 1, a, a, y, y, "vdLn");
    EXPECT_EQ(callback_calls, 1);
    EXPECT_EQ(seen.status, VXM_STATUS_SING);
    EXPECT_EQ(seen.index, 1);
    EXPECT_STREQ(seen.name, "vdLn");
    EXPECT_EQ(seen.name_length, 4);
    EXPECT_TRUE(std::signbit(seen.arg1));
    EXPECT_EQ(seen.res1, -INFINITY);
    EXPECT_EQ(y[1], -INFINITY);
    EXPECT_EQ(errno, 0);
    EXPECT_FALSE(fetestexcept(FE_DIVBYZERO));
}

TEST(ErrorPath, CallbackReturningZeroChangesTheResultAndReportsRun) {
    reset(0x1A02, callback_zero);
    const double a[1] = {0};
    double y[1] = {-INFINITY};
    feclearexcept(FE_ALL_EXCEPT);
    raise_status_d(VXM_STATUS_SING, 0, a, a, y, y, "vdLn");
    EXPECT_EQ(y[0], 42.0);
    EXPECT_EQ(errno, 34);
    EXPECT_TRUE(fetestexcept(FE_DIVBYZERO));
    feclearexcept(FE_ALL_EXCEPT);
}

TEST(ErrorPath, CallbackBitWithNullPointerStillWritesBack) {
    reset(0x1002, nullptr);
    const float a[1] = {2.0f};
    float y[1] = {NAN};
    raise_status_s(VXM_STATUS_ERRDOM, 0, a, a, y, y, "vsAcos");
    EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), VXM_STATUS_ERRDOM);
    EXPECT_EQ(errno, 0);
    EXPECT_TRUE(std::isnan(y[0]));
}

TEST(ErrorPath, IndexIsBaseRelativeWhileTheKernelsElementIsWritten) {
    reset(0x1002, callback_zero);
    double storage[10] = {};
    double y[4] = {};
    qlm_vxm_kernel_SetInterfInputVectorPointer(storage);
    raise_status_d(VXM_STATUS_OVERFLOW, 2, storage + 5, storage + 5, y, y, "vdExp");
    qlm_vxm_kernel_SetInterfInputVectorPointer(nullptr);
    EXPECT_EQ(seen.index, 7);
    EXPECT_EQ(y[2], 42.0);
}

TEST(ErrorPath, ComplexEntryCarriesBothParts) {
    reset(0x1002, callback_zero);
    const qlm_complex8 a[2] = {{1, 2}, {3, 4}};
    qlm_complex8 y[2] = {{5, 6}, {7, 8}};
    raise_status_c(VXM_STATUS_SING, 1, a, a, y, y, "vcLn");
    EXPECT_EQ(seen.arg1, 3.0);
    EXPECT_EQ(seen.arg1_imag, 4.0);
    EXPECT_EQ(seen.res1_imag, 8.0);
    EXPECT_EQ(y[1].real, 42.0f);
    EXPECT_EQ(y[1].imag, 8.0f);
}

TEST(ErrorPath, BadSizeLeavesOperandsAlone) {
    reset(0x1002, callback_zero);
    double y[1] = {3};
    raise_status_d(VXM_STATUS_BADSIZE, 0, nullptr, nullptr, nullptr, nullptr, "vdExp");
    EXPECT_EQ(callback_calls, 1);
    EXPECT_EQ(y[0], 3.0);
}

// Messages are printed on standard output; capture them in a child.
std::string messages_of(void (*body)()) {
    const auto result = run_in_child(body);
    EXPECT_EQ(result.exit_code, 0);
    return result.output;
}

TEST(ErrorPathMessages, OneArgumentOneResult) {
    const std::string out = messages_of([] {
        reset(0x402);
        const double a[2] = {0.5, 0};
        double y[2] = {0, -INFINITY};
        raise_status_d(VXM_STATUS_SING, 1, a, a, y, y, "vdLn");
    });
    EXPECT_EQ(out, "Error (VXM_STATUS_SING) in vdLn: argument caused singularity.\na(1)=0\nr(1)=-inf\n");
}

// The operand count is told by value and a NaN never compares equal, so a
// NaN result prints as two results.  Kept on purpose.
TEST(ErrorPathMessages, NanResultPrintsAsTwoResults) {
    const std::string out = messages_of([] {
        reset(0x402);
        const double a[2] = {0.5, -1};
        double y[2] = {0, NAN};
        raise_status_d(VXM_STATUS_ERRDOM, 1, a, a, y, y, "vdLn");
    });
    EXPECT_EQ(out, "Error (VXM_STATUS_ERRDOM) in vdLn: argument is out of domain.\na(1)=-1\ny(1)=nan\nz(1)=nan\n");
}

TEST(ErrorPathMessages, TwoArgumentsPrintUnlessTheSecondIsZeroOrEqual) {
    const std::string out = messages_of([] {
        reset(0x402);
        const double a[1] = {0}, b[1] = {-2}, zero[1] = {0};
        double y[1] = {INFINITY};
        raise_status_d(VXM_STATUS_SING, 0, a, b, y, y, "vdPow");
        raise_status_d(VXM_STATUS_SING, 0, b, zero, y, y, "vdPow");
    });
    EXPECT_EQ(out,
              "Error (VXM_STATUS_SING) in vdPow: argument caused singularity.\n"
              "a(0)=0\nb(0)=-2\ny(0)=inf\n"
              "Error (VXM_STATUS_SING) in vdPow: argument caused singularity.\n"
              "a(0)=-2\nr(0)=inf\n");
}

TEST(ErrorPathMessages, TwoResultsAndUnknownStatus) {
    const std::string out = messages_of([] {
        reset(0x602);
        const double a[1] = {3};
        double y[1] = {1}, z[1] = {2};
        raise_status_d(7, 0, a, a, y, z, "vdSinCos");
        std::printf("errno=%d\n", errno);
    });
    EXPECT_EQ(out, "Unknown error in vdSinCos.\na(0)=3\ny(0)=1\nz(0)=2\nerrno=14\n");
}

TEST(ErrorPathMessages, BadSizeAndBadMem) {
    const std::string out = messages_of([] {
        reset(0x402);
        raise_status_d(VXM_STATUS_BADSIZE, -3, nullptr, nullptr, nullptr, nullptr, "vdExp");
        raise_status_d(VXM_STATUS_BADMEM, 0, nullptr, nullptr, nullptr, nullptr, "vdExp");
    });
    EXPECT_EQ(out,
              "Error (VXM_STATUS_BADSIZE) in vdExp: array size -3 is not positive.\n"
              "Error (VXM_STATUS_BADMEM) in vdExp: NULL pointer is passed.\n");
}

TEST(ErrorPathExceptions, EachStatusRaisesItsException) {
    const struct { int32_t status; int flag; } cases[] = {
        {VXM_STATUS_ERRDOM, FE_INVALID}, {VXM_STATUS_SING, FE_DIVBYZERO},
        {VXM_STATUS_OVERFLOW, FE_OVERFLOW}, {VXM_STATUS_UNDERFLOW, FE_UNDERFLOW}, {7, 0}};
    for (const auto& c : cases) {
        reset(0x802);
        const double a[1] = {1};
        double y[1] = {1};
        feclearexcept(FE_ALL_EXCEPT);
        raise_status_d(c.status, 0, a, a, y, y, "vdExp");
        const int raised = fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
        EXPECT_EQ(raised, c.flag) << "status " << c.status;
    }
    feclearexcept(FE_ALL_EXCEPT);
}

}  // namespace

namespace {

// Each entry translates the index by its own element width: a base set ten
// elements before the first input must give index + 10 for all four types.
TEST(ErrorPath, IndexTranslationUsesEachEntrysElementWidth) {
    float fs[16] = {};
    double ds[16] = {};
    qlm_complex8 cs[16] = {};
    qlm_complex16 zs[16] = {};
    auto check = [](const void* base, auto* first, auto raise) {
        reset(0x1002, callback_zero);
        qlm_vxm_kernel_SetInterfInputVectorPointer(base);
        raise(first);
        qlm_vxm_kernel_SetInterfInputVectorPointer(nullptr);
        return seen.index;
    };
    EXPECT_EQ(check(fs, fs + 10, [](float* p) { raise_status_s(1, 3, p, p, p, p, "vsLn"); }), 13);
    EXPECT_EQ(check(ds, ds + 10, [](double* p) { raise_status_d(1, 3, p, p, p, p, "vdLn"); }), 13);
    EXPECT_EQ(check(cs, cs + 10, [](qlm_complex8* p) { raise_status_c(1, 3, p, p, p, p, "vcLn"); }), 13);
    EXPECT_EQ(check(zs, zs + 10, [](qlm_complex16* p) { qlm::frame::raise_status_z(1, 3, p, p, p, p, "vzLn"); }), 13);
}

TEST(ErrorPathMessages, PrintedIndexIsBaseRelative) {
    const std::string out = messages_of([] {
        reset(0x402);
        double storage[8] = {0, 0, 0, 0, 0, 0.5, 0, 0};
        double y[4] = {0, 0, 0, 1.5};
        qlm_vxm_kernel_SetInterfInputVectorPointer(storage);
        raise_status_d(VXM_STATUS_OVERFLOW, 3, storage + 2, storage + 2, y, y, "vdExp");
    });
    EXPECT_EQ(out, "Error (VXM_STATUS_OVERFLOW) in vdExp: argument caused overflow.\na(5)=0.5\nr(5)=1.5\n");
}

TEST(ErrorPathExceptions, NoExceptionWithoutTheExceptBit) {
    reset(0x202);
    const double a[1] = {1};
    double y[1] = {1};
    feclearexcept(FE_ALL_EXCEPT);
    raise_status_d(VXM_STATUS_SING, 0, a, a, y, y, "vdLn");
    EXPECT_FALSE(fetestexcept(FE_DIVBYZERO));
    EXPECT_EQ(errno, 34);
}

}  // namespace
