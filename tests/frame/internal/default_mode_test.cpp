// The default-mode grammar, exercised directly on the parser.
#include <gtest/gtest.h>

#include <thread>

#include <string>

#include "frame/frame_heap.h"
#include "frame/thread_block.h"

namespace {

using qlm::frame::kNoDefaultMode;
using qlm::frame::parse_default_mode;

TEST(DefaultModeParser, AcceptsEachTokenAlone) {
    EXPECT_EQ(parse_default_mode("VXM_LA"), 0x1u);
    EXPECT_EQ(parse_default_mode("VXM_HA"), 0x2u);
    EXPECT_EQ(parse_default_mode("VXM_EP"), 0x3u);
    EXPECT_EQ(parse_default_mode("VXM_DEFAULT_PRECISION"), 0x0u);
    EXPECT_EQ(parse_default_mode("VXM_FLOAT_CONSISTENT"), 0x10u);
    EXPECT_EQ(parse_default_mode("VXM_DOUBLE_CONSISTEN"), 0x20u);
    EXPECT_EQ(parse_default_mode("VXM_RESTORE"), 0x30u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_IGNORE"), 0x100u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_ERRNO"), 0x200u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_STDERR"), 0x400u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_EXCEPT"), 0x800u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_CALLBACK"), 0x1000u);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_DEFAULT"), 0x1A00u);
}

TEST(DefaultModeParser, RejectsMalformedValues) {
    for (const char* bad : {"", "V", "VX", "VXM", "VXM_", "XVM_LA", "VXM_LA,", "VXM_LA,,VXM_HA",
                            "VXM_LAX", "VXM_LA VXM_HA", "VXM_LA,HA", "VXM_DOUBLE_CONSISTENT",
                            "VXM_ERRMODE_", "VXM_la", " VXM_LA"})
        EXPECT_EQ(parse_default_mode(bad), kNoDefaultMode) << '"' << bad << '"';
}

TEST(DefaultModeParser, FirstMatchWinsWithoutLongestMatch) {
    // "ERRMODE_DEFAULT" is tried after "DEFAULT_PRECISION" only by order;
    // a token that is a prefix of the text but leaves letters fails.
    EXPECT_EQ(parse_default_mode("VXM_HAX"), kNoDefaultMode);
    EXPECT_EQ(parse_default_mode("VXM_ERRMODE_STDERR,VXM_LA,VXM_ERRMODE_EXCEPT"), 0xC01u);
}

TEST(DefaultModeParser, LongValuesAreMalformed) {
    std::string value = "VXM_LA";
    while (value.size() < 250) value += ",VXM_LA";
    EXPECT_EQ(parse_default_mode(value.c_str()), 0x1u) << value.size();
    while (value.size() < 256) value += ",VXM_LA";
    EXPECT_EQ(parse_default_mode(value.c_str()), kNoDefaultMode) << value.size();
}

TEST(ThreadBlock, FreeingTheOwnBlockGivesItBackAndTheNextUseMakesANewOne) {
    auto* block = qlm::frame::get_thread_block();
    block->mode = 0x1A01;
    const std::size_t live = qlm::frame::frame_heap_live_blocks();
    qlm::frame::free_thread_block(nullptr);
    EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live - 1);
    auto* fresh = qlm::frame::get_thread_block();
    EXPECT_EQ(fresh->mode, 0u);
    EXPECT_EQ(fresh->status, 0);
    EXPECT_EQ(fresh->callback, nullptr);
    EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live);
}

TEST(ThreadBlock, EachThreadHasItsOwnBlockAndGivesItBackWhenItEnds) {
    auto* main_block = qlm::frame::get_thread_block();
    const std::size_t live = qlm::frame::frame_heap_live_blocks();
    std::thread([&] {
        auto* block = qlm::frame::get_thread_block();
        EXPECT_NE(block, main_block);
        EXPECT_EQ(qlm::frame::get_thread_block(), block);
        EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live + 1);
        // A block freed and made again is the one later reads see.
        qlm::frame::free_thread_block(nullptr);
        EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live);
        auto* fresh = qlm::frame::get_thread_block();
        EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live + 1);
        fresh->mode = 0x201;
        EXPECT_EQ(qlm_vxm_kernel_GetMode(), 0x201u);
    }).join();
    EXPECT_EQ(qlm::frame::frame_heap_live_blocks(), live);
    EXPECT_EQ(qlm::frame::get_thread_block(), main_block);
}

}  // namespace
