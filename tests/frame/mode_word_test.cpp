// The per-thread mode word, status and callback through the exported
// operations.  Each case runs on a fresh thread, whose block starts unset,
// so cases do not see each other's mode.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "qlm/qlm_vxm.h"

namespace {

template <typename Body>
void on_fresh_thread(Body body) {
    std::thread t(body);
    t.join();
}

// Runs `body` on a fresh thread with the default-mode variable set to
// `value` (or unset for null).
template <typename Body>
void with_environment(const char* value, Body body) {
    if (value != nullptr) setenv("QLM_VXM_MODE", value, 1);
    else unsetenv("QLM_VXM_MODE");
    on_fresh_thread(body);
    unsetenv("QLM_VXM_MODE");
}

int32_t callback_returning_zero(qlm_vxm_error_record*) { return 0; }

TEST(ModeWord, BuiltInDefaultWithoutEnvironment) {
    with_environment(nullptr, [] { EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1A02u); });
}

TEST(ModeWord, SetModeMergesFieldByField) {
    with_environment(nullptr, [] {
        // 0 changes nothing and returns the current word.
        EXPECT_EQ(qlm_vxm_kernel_SetMode(0), 0x1A02u);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1A02u);
        // The consistency field cannot be set.
        EXPECT_EQ(qlm_vxm_kernel_SetMode(VXM_FLOAT_CONSISTENT), 0x1A02u);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1A02u);
        // Denormal field alone.
        qlm_vxm_kernel_SetMode(VXM_FLUSH_DENORMALS);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x281A02u);
        // Accuracy and the whole error field replaced, denormal field kept.
        EXPECT_EQ(qlm_vxm_kernel_SetMode(0x0402), 0x281A02u);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x280402u);
        // Bits outside every field are dropped silently.
        qlm_vxm_kernel_SetMode(0xFF000001u);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x280401u);
        EXPECT_EQ(_vxmGetMode(), 0x280401u);
    });
}

TEST(ModeWord, SetModeZeroForcesTheEnvironmentDefaultIn) {
    with_environment("VXM_EP,VXM_ERRMODE_ERRNO", [] {
        EXPECT_EQ(qlm_vxm_kernel_SetMode(0), 0x203u);
        EXPECT_EQ(qlm_vxm_kernel_GetTTableIndex(), 2);
    });
}

TEST(ModeWord, TableIndexOperations) {
    EXPECT_EQ(qlm_vxm_kernel_GetTTableIndexM(0xDEADBEEF, 0x1A03), 2);
    EXPECT_EQ(qlm_vxm_kernel_GetTTableIndexM(0, 0x1A01), 0);
    EXPECT_EQ(qlm_vxm_kernel_GetTTableIndexM(7, 0x1A00), -1);
    with_environment(nullptr, [] {
        EXPECT_EQ(qlm_vxm_kernel_GetTTableIndex(), 1);
        qlm_vxm_kernel_SetMode(VXM_LA);
        EXPECT_EQ(qlm_vxm_kernel_GetTTableIndex(), 0);
    });
}

TEST(ModeWord, StatusOperations) {
    on_fresh_thread([] {
        EXPECT_EQ(qlm_vxm_kernel_GetErrStatus(), 0);
        EXPECT_EQ(qlm_vxm_kernel_SetErrStatus(VXM_STATUS_SING), 0);
        EXPECT_EQ(_vxmSetErrStatus(7), VXM_STATUS_SING);
        EXPECT_EQ(qlm_vxm_kernel_ClearErrStatus(), 7);
        EXPECT_EQ(_vxmGetErrStatus(), 0);
    });
}

TEST(ModeWord, CallbackSetsAndClearsTheCallbackBit) {
    with_environment(nullptr, [] {
        qlm_vxm_kernel_SetMode(VXM_ERRMODE_ERRNO);
        EXPECT_EQ(qlm_vxm_kernel_SetErrorCallBack(callback_returning_zero), nullptr);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1202u);
        EXPECT_EQ(qlm_vxm_kernel_GetErrorCallBack(), &callback_returning_zero);
        EXPECT_EQ(qlm_vxm_kernel_ClearErrorCallBack(), &callback_returning_zero);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x202u);
        EXPECT_EQ(_vxmGetErrorCallBack(), nullptr);
    });
}

TEST(ModeWord, ClearingCannotEmptyAnErrorFieldHoldingOnlyTheCallbackBit) {
    with_environment(nullptr, [] {
        qlm_vxm_kernel_SetMode(VXM_ERRMODE_CALLBACK);
        qlm_vxm_kernel_SetErrorCallBack(callback_returning_zero);
        const uint32_t before = qlm_vxm_kernel_GetMode();
        EXPECT_EQ(before, 0x1002u);
        qlm_vxm_kernel_SetErrorCallBack(nullptr);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), before);
        EXPECT_EQ(qlm_vxm_kernel_GetErrorCallBack(), nullptr);
    });
}

TEST(ModeWord, InputVectorPointerIsReturned) {
    double base[4] = {};
    EXPECT_EQ(qlm_vxm_kernel_SetInterfInputVectorPointer(base), base);
    EXPECT_EQ(_vxmSetInterfInputVectorPointer(nullptr), nullptr);
}

struct environment_case {
    const char* value;
    uint32_t mode;
};

class DefaultModeFromEnvironment : public ::testing::TestWithParam<environment_case> {};

TEST_P(DefaultModeFromEnvironment, FirstCallOfAThreadReadsIt) {
    const environment_case c = GetParam();
    with_environment(c.value, [c] { EXPECT_EQ(qlm_vxm_kernel_GetMode(), c.mode) << c.value; });
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, DefaultModeFromEnvironment,
    ::testing::Values(environment_case{"VXM_HA,VXM_ERRMODE_STDERR", 0x402},
                      environment_case{"VXM_LA,", 0x1A02},      // trailing comma fails the value
                      environment_case{"VXM_LAX", 0x1A02},      // no separator after the token
                      environment_case{"VXM_LA,VXM_HA", 0x3},   // items OR together
                      environment_case{"VXM_DOUBLE_CONSISTEN", 0x20},
                      environment_case{"VXM_DOUBLE_CONSISTENT", 0x1A02},
                      environment_case{"VXM_ERRMODE_DEFAULT,VXM_EP", 0x1A03},
                      environment_case{"vxm_LA", 0x1A02},
                      environment_case{"", 0x1A02}),
    [](const ::testing::TestParamInfo<environment_case>& info) {
        return "case" + std::to_string(info.index);
    });

TEST(ModeWord, ZeroParseStaysUnsetAndIsParsedAgain) {
    with_environment("VXM_DEFAULT_PRECISION", [] {
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0u);
        EXPECT_EQ(qlm_vxm_kernel_GetTTableIndex(), -1);
        // Still unset, so a changed environment is seen by the next call.
        setenv("QLM_VXM_MODE", "VXM_LA", 1);
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 1u);
    });
}

TEST(ModeWord, ThreadsKeepTheirOwnWords) {
    with_environment(nullptr, [] {
        qlm_vxm_kernel_SetMode(VXM_EP);
        on_fresh_thread([] { EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1A02u); });
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x1A03u);
    });
}

}  // namespace
