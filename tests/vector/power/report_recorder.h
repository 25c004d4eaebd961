// A fixture that records every report of the error path through the
// callback, with the mode set to call it and nothing else.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "qlm/qlm_vxm.h"

namespace qlm::test {

struct report {
    int32_t status, index;
};

inline std::vector<report> reports;

inline int32_t record_report(qlm_vxm_error_record* r) {
    reports.push_back({r->status, r->index});
    return 0;
}

class recording_reports : public ::testing::Test {
protected:
    void SetUp() override {
        saved_mode_ = qlm_vxm_kernel_SetMode(VXM_ERRMODE_CALLBACK | VXM_HA);
        qlm_vxm_kernel_SetErrorCallBack(record_report);
        qlm_vxm_kernel_ClearErrStatus();
        reports.clear();
    }
    void TearDown() override {
        qlm_vxm_kernel_ClearErrorCallBack();
        qlm_vxm_kernel_SetMode(saved_mode_);
    }
    uint32_t saved_mode_ = 0;
};

}  // namespace qlm::test
