// Stream images: a stream saved and loaded, through a file and through
// memory, goes on with the source's sequence for every generator, with its
// chunks (a pending Gaussian pair, carried bit words); broken headers are
// refused with the statuses of each form and leave no stream behind.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "qlm/qlm_vxs.h"
#include "support/runtime_libraries.h"

namespace {

std::string temp_path(const char* what) {
    return "/tmp/qlm_image_" + std::to_string(getpid()) + "_" + what;
}

std::vector<uint8_t> memory_image(const void* s) {
    std::vector<uint8_t> image(static_cast<std::size_t>(__vxsGetStreamSize(s)));
    EXPECT_EQ(__vxsSaveStreamM(s, image.data()), 0);
    return image;
}

// A stream with some history: seeded, drawn from in an odd count, and with
// the chunks that the distributions hang on it.
void* used_stream(int32_t brng) {
    void* s = nullptr;
    const uint32_t seed[2] = {987654321u, 12345u};
    EXPECT_EQ(__vxsNewStreamEx(&s, brng, 2, seed), 0);
    std::vector<double> d(1001);
    EXPECT_EQ(_vxsdRngUniform(0, s, 1001, d.data(), 0.0, 1.0), 0);
    // Method 1 with an odd count leaves the second variate of a pair pending.
    EXPECT_EQ(_vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, s, 3, d.data(), 0.0, 1.0), 0);
    return s;
}

// The next numbers of two streams: Gaussians first (they take the pending
// pair), then uniforms.
void expect_same_future(void* a, void* b, const char* what) {
    std::vector<double> ga(5), gb(5), ua(2000), ub(2000);
    ASSERT_EQ(_vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, a, 5, ga.data(), 0.0, 1.0), 0);
    ASSERT_EQ(_vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, b, 5, gb.data(), 0.0, 1.0), 0);
    EXPECT_EQ(ga, gb) << what;
    ASSERT_EQ(_vxsdRngUniform(0, a, 2000, ua.data(), 0.0, 1.0), 0);
    ASSERT_EQ(_vxsdRngUniform(0, b, 2000, ub.data(), 0.0, 1.0), 0);
    EXPECT_EQ(ua, ub) << what;
}

const int32_t kGenerators[] = {VXS_BRNG_MCG31M1, VXS_BRNG_R250,     VXS_BRNG_MRG32K3A, VXS_BRNG_MCG59,
                               VXS_BRNG_WH + 17,  VXS_BRNG_MT19937, VXS_BRNG_MT2203 + 5, VXS_BRNG_SFMT19937};

TEST(StreamImage, MemoryAndFileCarryOnTheSequenceOfEveryGenerator) {
    const std::string path = temp_path("every");
    for (int32_t brng : kGenerators) {
        void* source = used_stream(brng);
        void* copy = nullptr;
        void* second_copy = nullptr;
        ASSERT_EQ(__vxsCopyStream(&copy, source), 0);
        ASSERT_EQ(__vxsCopyStream(&second_copy, source), 0);
        const std::vector<uint8_t> image = memory_image(source);
        ASSERT_EQ(__vxsSaveStreamF(source, path.c_str(), -1), 0);

        void* from_memory = nullptr;
        void* from_file = nullptr;
        ASSERT_EQ(__vxsLoadStreamM(&from_memory, image.data()), 0) << brng;
        ASSERT_EQ(__vxsLoadStreamF(&from_file, path.c_str(), -1), 0) << brng;
        EXPECT_EQ(__vxsGetStreamStateBrng(from_memory), brng);
        EXPECT_EQ(__vxsGetNumChunks(from_file), __vxsGetNumChunks(source));
        EXPECT_EQ(__vxsGetStreamSize(from_file), static_cast<int32_t>(image.size()));

        void* again = used_stream(brng);
        expect_same_future(from_memory, again, "memory image and a fresh stream with the same history");
        expect_same_future(from_file, copy, "file image and a copy");
        // Saving changed nothing in the source.
        expect_same_future(source, second_copy, "source after save");
        for (void* s : {source, copy, second_copy, from_memory, from_file, again}) __vxsDeleteStream(&s);
    }
    std::remove(path.c_str());
}

TEST(StreamImage, LayoutOfTheHeaderAndTheSize) {
    void* s = nullptr;
    const uint32_t seed = 1;
    ASSERT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_MCG31M1, 1, &seed), 0);
    EXPECT_EQ(__vxsGetStreamSize(s), 28);  // 20 of header, 8 of state
    const std::vector<uint8_t> image = memory_image(s);
    EXPECT_EQ(image[0], 1);
    EXPECT_EQ(std::memcmp(&image[4], "RNG", 3), 0);
    EXPECT_EQ(image[8] | image[9] << 8, 20);
    EXPECT_EQ(image[10] | image[11] << 8, 8);
    EXPECT_EQ(image[12] | image[13] << 8, 0);
    int32_t brng;
    std::memcpy(&brng, &image[16], 4);
    EXPECT_EQ(brng, VXS_BRNG_MCG31M1);

    // A carried 32-bit word adds a chunk of 16 bytes: 24 + 16 more.
    std::vector<uint32_t> w(5);
    void* sfmt = nullptr;
    ASSERT_EQ(__vxsNewStreamEx(&sfmt, VXS_BRNG_SFMT19937, 1, &seed), 0);
    const int32_t bare = __vxsGetStreamSize(sfmt);
    ASSERT_EQ(_vxsiRngUniformBits32(0, sfmt, 5, w.data()), 0);
    EXPECT_EQ(__vxsGetStreamSize(sfmt), bare + 40);
    void* loaded = nullptr;
    const std::vector<uint8_t> sfmt_image = memory_image(sfmt);
    ASSERT_EQ(__vxsLoadStreamM(&loaded, sfmt_image.data()), 0);
    std::vector<uint32_t> a(7), b(7);
    ASSERT_EQ(_vxsiRngUniformBits32(0, sfmt, 7, a.data()), 0);
    ASSERT_EQ(_vxsiRngUniformBits32(0, loaded, 7, b.data()), 0);
    EXPECT_EQ(a, b) << "the carried words travel with the image";
    for (void* p : {s, sfmt, loaded}) __vxsDeleteStream(&p);
}

// Writes `image` to a file and loads it back through both forms.
void load_both(std::vector<uint8_t> image, int32_t* file_status, int32_t* memory_status) {
    const std::string path = temp_path("edited");
    std::FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(image.data(), 1, image.size(), f);
    std::fclose(f);
    void* from_file = reinterpret_cast<void*>(0x1234);
    void* from_memory = reinterpret_cast<void*>(0x1234);
    *file_status = __vxsLoadStreamF(&from_file, path.c_str(), -1);
    *memory_status = __vxsLoadStreamM(&from_memory, image.data());
    std::remove(path.c_str());
    if (*file_status == 0) __vxsDeleteStream(&from_file);
    else EXPECT_EQ(from_file, reinterpret_cast<void*>(0x1234)) << "a refused header sets no stream";
    if (*memory_status == 0) __vxsDeleteStream(&from_memory);
    else EXPECT_EQ(from_memory, reinterpret_cast<void*>(0x1234));
}

TEST(StreamImage, BrokenHeadersAreRefusedByEachForm) {
    void* s = used_stream(VXS_BRNG_MCG59);
    const std::vector<uint8_t> image = memory_image(s);
    __vxsDeleteStream(&s);
    const int64_t live = qlm::test::live_blocks();

    struct edit {
        const char* what;
        int byte;
        uint8_t value;
        int32_t file_status, memory_status;
    };
    const edit edits[] = {
        {"reserved byte 7", 7, 0xAB, 0, 0},
        {"magic", 5, 'X', VXS_ERROR_BAD_IMAGE, VXS_ERROR_BAD_MEMORY_IMAGE},
        {"version 2", 0, 2, VXS_ERROR_UNSUPPORTED_IMAGE_VERSION, VXS_ERROR_BAD_MEMORY_IMAGE},
        {"state size one off", 10, static_cast<uint8_t>(image[10] + 1), VXS_ERROR_BAD_IMAGE,
         VXS_ERROR_BAD_MEMORY_IMAGE},
        {"header size 19", 8, 19, VXS_ERROR_BAD_IMAGE, VXS_ERROR_BAD_MEMORY_IMAGE},
        {"generator 279", 16, 23, VXS_ERROR_BAD_IMAGE, VXS_ERROR_BAD_MEMORY_IMAGE},  // 279 = 0x117
        {"negative generator", 19, 0x80, VXS_ERROR_BAD_IMAGE, VXS_ERROR_BAD_MEMORY_IMAGE},
    };
    for (const edit& e : edits) {
        std::vector<uint8_t> edited = image;
        edited[e.byte] = e.value;
        if (e.byte == 16) edited[17] = 1, edited[18] = 0, edited[19] = 0;
        int32_t file_status, memory_status;
        load_both(edited, &file_status, &memory_status);
        EXPECT_EQ(file_status, e.file_status) << e.what;
        EXPECT_EQ(memory_status, e.memory_status) << e.what;
    }
    EXPECT_EQ(qlm::test::live_blocks(), live) << "refused loads release everything";
}

TEST(StreamImage, VersionZeroChunksCarryNoId) {
    void* s = used_stream(VXS_BRNG_MCG31M1);
    ASSERT_EQ(__vxsGetNumChunks(s), 1);
    const std::vector<uint8_t> v1 = memory_image(s);
    // Version 0: the same image without the 16 id bytes of each chunk.
    std::vector<uint8_t> v0(v1.begin(), v1.begin() + 28 + 4);
    v0.insert(v0.end(), v1.begin() + 28 + 4 + 16, v1.end());
    v0[0] = 0;
    void* loaded = nullptr;
    ASSERT_EQ(__vxsLoadStreamM(&loaded, v0.data()), 0);
    // Saved again it is a version-1 image with a zero id, equal otherwise.
    std::vector<uint8_t> resaved = memory_image(loaded);
    ASSERT_EQ(resaved.size(), v1.size());
    EXPECT_EQ(resaved[0], 1);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(resaved[28 + 4 + i], 0) << i;
    EXPECT_TRUE(std::equal(resaved.begin() + 48, resaved.end(), v1.begin() + 48));
    expect_same_future(s, loaded, "version 0 image");
    __vxsDeleteStream(&s);
    __vxsDeleteStream(&loaded);
}

TEST(StreamImage, FileNames) {
    void* s = nullptr;
    const uint32_t seed = 5;
    ASSERT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_MRG32K3A, 1, &seed), 0);
    // An explicit length reads only that many bytes of the name.
    const std::string path = temp_path("named");
    const std::string padded = path + "IGNORED";
    ASSERT_EQ(__vxsSaveStreamF(s, padded.c_str(), static_cast<int32_t>(path.size())), 0);
    void* loaded = nullptr;
    ASSERT_EQ(__vxsLoadStreamF(&loaded, path.c_str(), -1), 0);
    expect_same_future(s, loaded, "named file");
    std::remove(path.c_str());
    // A length of 0 is an empty name, which no file has.
    EXPECT_EQ(__vxsSaveStreamF(s, path.c_str(), 0), VXS_ERROR_FILE_OPEN_FAILED);
    EXPECT_EQ(__vxsLoadStreamF(&loaded, "/nonexistent/dir/image", -1), VXS_ERROR_FILE_OPEN_FAILED);
    // A file shorter than a header.
    std::FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite("RNG", 1, 3, f);
    std::fclose(f);
    EXPECT_EQ(__vxsLoadStreamF(&loaded, path.c_str(), -1), VXS_ERROR_FILE_READ_FAILED);
    std::remove(path.c_str());
    __vxsDeleteStream(&s);
    __vxsDeleteStream(&loaded);
}

}  // namespace
