/* Random streams, basic generators and the uniform and bit distributions of
   libqlm_kernel.so.

   A stream is one 64-byte-aligned block: a 16-byte header (generator number,
   constructed flag, chunk list head) followed by the generator's state.  The
   caller holds a pointer to it and nothing else.  Every operation returns a
   signed 32-bit status, 0 for success, unless its comment says otherwise. */
#ifndef QLM_VXS_H
#define QLM_VXS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Generator numbers.  Below 0x100000 the first-generation numbering, from
   0x100000 on the second one: (row + 1) << 20 plus the sub-generator. */
#define VXS_BRNG_MCG31M1     0x100000
#define VXS_BRNG_R250        0x200000
#define VXS_BRNG_MRG32K3A    0x300000
#define VXS_BRNG_MCG59       0x400000
#define VXS_BRNG_WH          0x500000 /* + sub-generator 0 to 272 */
#define VXS_BRNG_SOBOL       0x600000
#define VXS_BRNG_NIEDERR     0x700000
#define VXS_BRNG_MT19937     0x800000
#define VXS_BRNG_MT2203      0x900000 /* + sub-generator 0 to 6023 */
#define VXS_BRNG_IABSTRACT   0xA00000
#define VXS_BRNG_DABSTRACT   0xB00000
#define VXS_BRNG_SABSTRACT   0xC00000
#define VXS_BRNG_SFMT19937   0xD00000
#define VXS_BRNG_TRNG        0xE00000

#define VXS_BRNG_FIRST_MCG31M1  0
#define VXS_BRNG_FIRST_R250     1
#define VXS_BRNG_FIRST_MRG32K3A 2
#define VXS_BRNG_FIRST_MCG59    3
#define VXS_BRNG_FIRST_WH       4   /* 4 to 276: WH sub-generator number - 4 */
#define VXS_BRNG_FIRST_SOBOL    277
#define VXS_BRNG_FIRST_NIEDERR  278

/* init_stream methods. */
#define VXS_INIT_SEED        0
#define VXS_INIT_LEAPFROG    1
#define VXS_INIT_SKIPAHEAD   2

/* Method word of the distributions: bit 30 asks the uniforms to clamp every
   value into [a, b] after scaling, guarding the endpoints against rounding. */
#define VXS_METHOD_ACCURATE  0x40000000

/* Methods of the Gaussian generators.  Only these three are methods: the
 * method word indexes the generators' table unchecked. */
#define VXS_RNG_METHOD_GAUSSIAN_BOXMULLER   0  /* one variate per pair of uniforms */
#define VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2  1  /* two per pair; a half pair waits on the stream */
#define VXS_RNG_METHOD_GAUSSIAN_ICDF        2  /* inverse distribution function */
/* The lognormal always draws its normal variates by BOXMULLER2. */
#define VXS_RNG_METHOD_LOGNORMAL_BOXMULLER2 0

/* Statuses. */
#define VXS_STATUS_OK                          0
#define VXS_ERROR_BAD_INIT_METHOD              (-2)
#define VXS_ERROR_BAD_ABSTRACT_ARGUMENT        (-3)
#define VXS_ERROR_OUT_OF_MEMORY                (-4)
#define VXS_ERROR_MISSING_FUNCTION             (-5)
#define VXS_ERROR_BAD_GENERATOR_NUMBER         (-1000)
#define VXS_ERROR_NO_LEAPFROG                  (-1002)
#define VXS_ERROR_NO_SKIP_AHEAD                (-1003)
#define VXS_ERROR_BAD_STATE_SIZE               (-1008)
#define VXS_ERROR_BAD_WORD_SIZE                (-1009)
#define VXS_ERROR_BAD_SEED_COUNT               (-1010)
#define VXS_ERROR_BAD_BIT_COUNT                (-1011)
#define VXS_ERROR_QUASI_SEQUENCE_EXHAUSTED     (-1012)
#define VXS_ERROR_BAD_LEAPFROG_COUNT           (-1013)
#define VXS_ERROR_NOT_BIT_GENERATOR            (-1014)
#define VXS_ERROR_FILE_CLOSE_FAILED            (-1100)
#define VXS_ERROR_FILE_OPEN_FAILED             (-1101)
#define VXS_ERROR_FILE_WRITE_FAILED            (-1102)
#define VXS_ERROR_FILE_READ_FAILED             (-1103)
#define VXS_ERROR_BAD_IMAGE                    (-1110)
#define VXS_ERROR_UNSUPPORTED_IMAGE_VERSION    (-1111)
#define VXS_ERROR_NO_HARDWARE_SOURCE           (-1130)
#define VXS_ERROR_BAD_MEMORY_IMAGE             (-1200)
#define VXS_ERROR_TABLE_ENTRY_NOT_FOUND        (-3000)
#define VXS_ERROR_TABLE_FULL                   (-3001)

typedef void* vxs_stream;

typedef int32_t (*vxs_init_stream_fn)(int32_t method, void* stream, int32_t n, const uint32_t* params);
typedef int32_t (*vxs_gen_single_fn)(void* stream, int32_t n, float* r, float a, float b);
typedef int32_t (*vxs_gen_double_fn)(void* stream, int32_t n, double* r, double a, double b);
typedef int32_t (*vxs_gen_integer_fn)(void* stream, int32_t n, void* r);

/* Generator record.  The five size words come first, then the four entry
   points; on this 64-bit target each entry point is a full pointer, so the
   record is 56 bytes. */
typedef struct vxs_brng_record {
    int32_t state_bytes;   /* whole stream, header included */
    int32_t seed_words;    /* moving state words, of word_bytes each */
    int32_t includes_zero;
    int32_t word_bytes;    /* 4, 8 or 16 */
    int32_t bit_count;
    vxs_init_stream_fn init_stream;
    vxs_gen_single_fn gen_single;
    vxs_gen_double_fn gen_double;
    vxs_gen_integer_fn gen_integer;
} vxs_brng_record;

/* An entry of the process-wide read-only table behind shared chunks. */
typedef struct vxs_ro_table_entry {
    uint32_t id[4];
    uint32_t references;
    void* data;
} vxs_ro_table_entry;

extern vxs_brng_record __RegBrngs[512];
extern vxs_brng_record __RegBrngsNew[512];

/* Streams. */
int32_t __vxsNewStreamEx(void** stream, int32_t brng, int32_t n, const uint32_t* params);
int32_t __vxsAllocateStream(void** stream, const vxs_brng_record* registry, int32_t brng, int32_t row, int32_t sub);
int32_t __vxsCopyStream(void** stream, const void* source);
int32_t __vxsCopyStreamState(void* destination, const void* source);
int32_t __vxsDeleteStream(void** stream);
int32_t __vxsLeapfrogStream(void* stream, int32_t k, int32_t nstreams);
int32_t __vxsSkipAheadStream(void* stream, int64_t nskip);
int32_t __vxsGetStreamStateBrng(const void* stream); /* the generator number */

/* Stream images: a file (name of `length` bytes, or a terminated string when
   `length` is negative) or a caller block of __vxsGetStreamSize bytes. */
int32_t __vxsSaveStreamF(const void* stream, const char* name, int32_t length);
int32_t __vxsLoadStreamF(void** stream, const char* name, int32_t length);
int32_t __vxsSaveStreamM(const void* stream, void* memory);
int32_t __vxsLoadStreamM(void** stream, const void* memory);
int32_t __vxsGetStreamSize(const void* stream);

/* Registry. */
int32_t __vxsIsBrngValid(const vxs_brng_record* registry, int32_t row, int32_t sub);
vxs_brng_record* __vxsGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* sub);
int32_t __vxsGetBrngProperties(int32_t brng, vxs_brng_record* record);
int32_t __vxsRegisterBrng(const vxs_brng_record* record); /* new number or status */
int32_t __vxsGetNumRegBrngs(void);

/* Chunks and the shared read-only table. */
int32_t __vxsAddChunk(void* stream, uint32_t key, const uint32_t* table_id, void* data, uint32_t size);
void* __vxsSearchChunk(const void* stream, uint32_t key);
int32_t __vxsGetNumChunks(const void* stream);
int32_t __vxsDeleteChunks(void* stream);
int32_t __vxsCopyChunks(void* destination, const void* source);
int32_t __vxsFindGlobRODataTableEntry(vxs_ro_table_entry** entry, const uint32_t* table_id);
int32_t __vxsCreateGlobRODataTableEntry(vxs_ro_table_entry** entry, const uint32_t* table_id, void* data);
int32_t __vxsRegisterGlobRODataReference(void* chunk, const uint32_t* table_id);
int32_t __vxsUnregisterGlobRODataReference(const uint32_t* table_id);
int32_t __vxsGenerateNewGlobalRODataTableEntryId(uint32_t* table_id, int32_t value);

/* Basic generators: init_stream, gen_single, gen_double, gen_integer. */
#define QLM_VXS_DECLARE_BRNG(name)                                                           \
    int32_t __vxsBRng##name##InitStream(int32_t method, void* stream, int32_t n, const uint32_t* params); \
    int32_t __vxssBRng##name(void* stream, int32_t n, float* r, float a, float b);           \
    int32_t __vxsdBRng##name(void* stream, int32_t n, double* r, double a, double b);        \
    int32_t __vxsiBRng##name(void* stream, int32_t n, void* r);
QLM_VXS_DECLARE_BRNG(MCG31M1)
QLM_VXS_DECLARE_BRNG(MCG59)
QLM_VXS_DECLARE_BRNG(MRG32K3A)
QLM_VXS_DECLARE_BRNG(R250)
QLM_VXS_DECLARE_BRNG(WH)
QLM_VXS_DECLARE_BRNG(MT19937)
QLM_VXS_DECLARE_BRNG(MT2203)
QLM_VXS_DECLARE_BRNG(SFMT19937)

/* Modular powers. */
uint32_t __vxsiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus);
uint32_t __vxsiPowMod2P31M1(uint32_t base, uint64_t exponent);
uint64_t __vxsiPowMod2P59(uint64_t base, uint64_t exponent);
void __vxsiVect3PowMod(uint32_t* vector, const uint32_t* row, uint32_t modulus, uint64_t exponent);

/* Uniform and bit distributions. */
int32_t _vxsdRngUniform(int32_t method, void* stream, int32_t n, double* r, double a, double b);
int32_t _vxssRngUniform(int32_t method, void* stream, int32_t n, float* r, float a, float b);
int32_t _vxsiRngUniform(int32_t method, void* stream, int32_t n, int32_t* r, int32_t a, int32_t b);
int32_t _vxsiRngUniformBits(int32_t method, void* stream, int32_t n, void* r);
int32_t _vxsiRngUniformBits32(int32_t method, void* stream, int32_t n, uint32_t* r);
int32_t _vxsiRngUniformBits64(int32_t method, void* stream, int32_t n, uint64_t* r);

/* Gaussian family: a is the mean and sigma the standard deviation; in the
 * lognormal they apply to the logarithm, b is the displacement and beta
 * the scale.  Parameters are the caller's to validate. */
int32_t _vxsdRngGaussian(int32_t method, void* stream, int32_t n, double* r, double a, double sigma);
int32_t _vxssRngGaussian(int32_t method, void* stream, int32_t n, float* r, float a, float sigma);
int32_t _vxsdRngLognormal(int32_t method, void* stream, int32_t n, double* r, double a, double sigma,
                          double b, double beta);
int32_t _vxssRngLognormal(int32_t method, void* stream, int32_t n, float* r, float a, float sigma,
                          float b, float beta);

#ifdef __cplusplus
}
#endif

#endif /* QLM_VXS_H */
