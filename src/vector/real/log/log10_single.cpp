// Single Log10 in its three slots; method, accuracy and special results are
// described in log_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/log/log_single.h"

QLM_LOG_SINGLE_SLOTS(Log10, qlm::vector::log_single::function::log10)
