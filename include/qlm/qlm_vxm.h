/* Vector math of the qlm kernel tier: mode word, status, error callback,
 * kernel tables and the exported wrappers of every vector function.
 *
 * The prototypes of the vector functions are expanded from one registry,
 * qlm_vxm_functions.def: a line there names the function, its type letter,
 * its argument shape, how its three accuracies share routines, its cost
 * figures, and whether its kernels exist yet (ON) or not (OFF).  Only ON
 * functions are declared here and exported by libqlm_kernel.so.
 *
 * Names of the four accuracies of, for example, double exponential:
 *   _vxmdExp_50   low accuracy (LA)          slot 0
 *   _vxmdExp      high accuracy (HA)         slot 1, same routine as _HA
 *   _vxmdExp_HA
 *   _vxmdExp_26   enhanced performance (EP)  slot 2
 * Single and single complex use _21 and _11 in place of _50 and _26.
 */
#ifndef QLM_VXM_H
#define QLM_VXM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Mode word fields */
#define VXM_LA                   0x00000001u
#define VXM_HA                   0x00000002u
#define VXM_EP                   0x00000003u
#define VXM_DEFAULT_PRECISION    0x00000000u
#define VXM_ACCURACY_MASK        0x0000000Fu

#define VXM_FLOAT_CONSISTENT     0x00000010u
#define VXM_DOUBLE_CONSISTEN     0x00000020u
#define VXM_RESTORE              0x00000030u
#define VXM_CONSISTENCY_MASK     0x000000F0u

#define VXM_ERRMODE_IGNORE       0x00000100u
#define VXM_ERRMODE_ERRNO        0x00000200u
#define VXM_ERRMODE_STDERR       0x00000400u
#define VXM_ERRMODE_EXCEPT       0x00000800u
#define VXM_ERRMODE_CALLBACK     0x00001000u
#define VXM_ERRMODE_DEFAULT      0x00001A00u
#define VXM_ERRMODE_MASK         0x0000FF00u

#define VXM_FLUSH_DENORMALS      0x00280000u
#define VXM_KEEP_DENORMALS       0x00140000u
#define VXM_DENORMAL_MASK        0x003C0000u

/* Built-in default: HA with errno, exception and callback reporting. */
#define VXM_BUILTIN_DEFAULT_MODE 0x00001A02u

/* Status of the vector functions */
#define VXM_STATUS_OK            0
#define VXM_STATUS_BADSIZE       (-1)
#define VXM_STATUS_BADMEM        (-2)
#define VXM_STATUS_ERRDOM        1
#define VXM_STATUS_SING          2
#define VXM_STATUS_OVERFLOW      3
#define VXM_STATUS_UNDERFLOW     4

/* Interleaved complex elements, real part first. */
typedef struct { float real, imag; } qlm_complex8;
typedef struct { double real, imag; } qlm_complex16;

/* What an error callback receives.  res1 and res2 may be rewritten; a
 * callback returning 0 has them written back to the outputs, a nonzero
 * return leaves the outputs as the kernel stored them. */
typedef struct {
    int32_t status;
    int32_t index;        /* element index, relative to the input vector base if one is set */
    double  arg1;
    double  arg2;
    double  res1;
    double  res2;
    char    name[64];     /* display name, such as "vdExp" */
    int32_t name_length;
    double  arg1_imag;    /* complex types only */
    double  arg2_imag;
    double  res1_imag;
    double  res2_imag;
} qlm_vxm_error_record;

typedef int32_t (*qlm_vxm_error_callback)(qlm_vxm_error_record *record);

/* Per-thread state.  Each operation acts on the calling thread. */
uint32_t qlm_vxm_kernel_GetMode(void);
uint32_t qlm_vxm_kernel_SetMode(uint32_t mode);
int32_t  qlm_vxm_kernel_GetErrStatus(void);
int32_t  qlm_vxm_kernel_SetErrStatus(int32_t status);
int32_t  qlm_vxm_kernel_ClearErrStatus(void);
qlm_vxm_error_callback qlm_vxm_kernel_GetErrorCallBack(void);
qlm_vxm_error_callback qlm_vxm_kernel_SetErrorCallBack(qlm_vxm_error_callback callback);
qlm_vxm_error_callback qlm_vxm_kernel_ClearErrorCallBack(void);
const void *qlm_vxm_kernel_SetInterfInputVectorPointer(const void *base);
int32_t  qlm_vxm_kernel_GetTTableIndex(void);
int32_t  qlm_vxm_kernel_GetTTableIndexM(uint32_t ignored, uint32_t mode);

uint32_t _vxmGetMode(void);
uint32_t _vxmSetMode(uint32_t mode);
int32_t  _vxmGetErrStatus(void);
int32_t  _vxmSetErrStatus(int32_t status);
int32_t  _vxmClearErrStatus(void);
qlm_vxm_error_callback _vxmGetErrorCallBack(void);
qlm_vxm_error_callback _vxmSetErrorCallBack(qlm_vxm_error_callback callback);
qlm_vxm_error_callback _vxmClearErrorCallBack(void);
const void *_vxmSetInterfInputVectorPointer(const void *base);

#include "qlm/qlm_vxm_shapes.h"

/* Kernel tables (slots LA, HA, EP), cost tables and wrappers of every
 * function whose kernels exist. */
#define QLM_VXM_FUNCTION(t, f, shape, sharing, cla, cha, cep, state) \
    QLM_VXM_WHEN(state, QLM_VXM_DECLARE(t, f, shape))
#include "qlm/qlm_vxm_functions.def"
#undef QLM_VXM_FUNCTION

#ifdef __cplusplus
}
#endif

#endif /* QLM_VXM_H */
