// The binding stubs.  Each stub keeps its cell: null until the first call,
// which binds it through the loader, then the address of the operation.
// The cell is stored plainly: two threads racing bind the same address.
// The stubs are hidden in libqlm_kernel.so, so that they never stand in for
// the companion libraries' own operations of the same names.
#include "frame/bridge.h"

#include "frame/export.h"
#include "frame/loader.h"

#define QLM_BOUND(from, result, name, parameters, arguments)                              \
    extern "C" result name parameters {                                                   \
        using operation = result(*) parameters;                                           \
        static operation cell = nullptr;                                                  \
        if (cell == nullptr)                                                              \
            cell = reinterpret_cast<operation>(                                           \
                qlm::frame::bind_operation(qlm::frame::library::from, #name));            \
        return cell arguments;                                                            \
    }
#include "frame/bridge_operations.def"
#undef QLM_BOUND

// This tier's type number: the baseline.
QLM_EXPORT int dll_cpu_version() { return 0; }
