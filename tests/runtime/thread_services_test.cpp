// The thread-services table of libqlm_threads.so: every index and every
// team member runs exactly once, a team of at most the pool's size runs at
// the same time, and nested calls do not deadlock.  The pool is made with
// four workers so that real concurrency is seen on any machine.
#include <gtest/gtest.h>
#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "qlm/qlm_threads.h"

namespace {

const qlm_thread_services* services() {
    static const qlm_thread_services* table = [] {
        setenv("QLM_NUM_THREADS", "4", 1);
        const auto path = std::filesystem::path(QLM_KERNEL_PATH).parent_path() / "libqlm_threads.so";
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return static_cast<const qlm_thread_services*>(nullptr);
        auto get = reinterpret_cast<const qlm_thread_services* (*)()>(dlsym(library, "qlm_get_thread_services"));
        return get != nullptr ? get() : nullptr;
    }();
    return table;
}

struct loop_record {
    std::vector<std::atomic<int>> runs;
    std::mutex mutex;
    std::set<int64_t> threads;
    std::set<int64_t> team_sizes;
    explicit loop_record(std::size_t n) : runs(n) {}
};

void count_index(int64_t index, int64_t thread, int64_t threads, void* context) {
    auto* r = static_cast<loop_record*>(context);
    r->runs[index].fetch_add(1);
    std::lock_guard<std::mutex> lock(r->mutex);
    r->threads.insert(thread);
    r->team_sizes.insert(threads);
    // A little work, so that more than one thread gets a share.
    if (index % 64 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(ThreadServices, LoopRunsEveryIndexOnce) {
    const qlm_thread_services* s = services();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->thread_count(), 4);
    EXPECT_EQ(s->current_thread(), -1);
    loop_record record(5000);
    s->parallel_for(5000, 0, &record, count_index);
    for (std::size_t i = 0; i < record.runs.size(); ++i) ASSERT_EQ(record.runs[i].load(), 1) << i;
    EXPECT_EQ(record.team_sizes, std::set<int64_t>{4});
    EXPECT_GT(record.threads.size(), 1u) << "the loop ran on the caller alone";
    for (int64_t t : record.threads) EXPECT_LT(t, 4);

    loop_record limited(100);
    s->parallel_for(100, 2, &limited, count_index);
    for (auto& r : limited.runs) EXPECT_EQ(r.load(), 1);
    for (int64_t t : limited.threads) EXPECT_LT(t, 2);

    s->parallel_for(0, 0, &limited, count_index);  // an empty range runs nothing
    EXPECT_EQ(limited.runs[0].load(), 1);
}

struct team_block {
    std::atomic<int> arrived{0};
    std::atomic<int> members{0};
    std::atomic<int> timed_out{0};
    int size = 0;
};

// Every member waits for all others: only a team that truly runs at once
// gets past this, and a bounded wait turns a failure into a flag.
void meet(int32_t, int32_t threads, void* shared) {
    auto* b = static_cast<team_block*>(shared);
    b->members.fetch_add(1);
    b->arrived.fetch_add(1);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (b->arrived.load() < threads) {
        if (std::chrono::steady_clock::now() > limit) {
            b->timed_out.store(1);
            return;
        }
        std::this_thread::yield();
    }
}

TEST(ThreadServices, TeamRunsTogether) {
    const qlm_thread_services* s = services();
    ASSERT_NE(s, nullptr);
    team_block block;
    s->run_team(4, &block, meet);
    EXPECT_EQ(block.members.load(), 4);
    EXPECT_EQ(block.timed_out.load(), 0);
}

void count_member(int32_t thread, int32_t, void* shared) {
    static_cast<std::vector<std::atomic<int>>*>(shared)->at(thread).fetch_add(1);
}

void nested_loop(int64_t, int64_t, int64_t, void* context) {
    // A loop started inside a pool thread runs on that thread.
    auto* record = static_cast<loop_record*>(context);
    services()->parallel_for(static_cast<int64_t>(record->runs.size()), 0, record, count_index);
}

TEST(ThreadServices, LargeTeamsLimitsAndNesting) {
    const qlm_thread_services* s = services();
    ASSERT_NE(s, nullptr);
    std::vector<std::atomic<int>> members(9);
    s->run_team(9, &members, count_member);
    for (auto& m : members) EXPECT_EQ(m.load(), 1);

    s->set_thread_limit(2);
    EXPECT_EQ(s->thread_count(), 2);
    s->set_thread_limit(0);
    EXPECT_EQ(s->thread_count(), 4);

    loop_record inner(10);
    s->parallel_for(3, 0, &inner, nested_loop);
    for (auto& r : inner.runs) EXPECT_EQ(r.load(), 3);
}

}  // namespace
