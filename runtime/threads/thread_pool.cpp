// The pool behind the thread-services table.
//
// Workers wait on one condition for a job; a job is a body with a number of
// participants, each participant taking the next free slot of the job.  The
// caller takes part as participant 0, so a team of n uses n - 1 workers, and
// a job is never waiting for a worker that waits for it.  A call made from
// inside a pool thread runs its job on the calling thread alone: nested
// jobs cannot deadlock the pool.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "qlm/qlm_threads.h"
#include "runtime_export.h"

namespace {

thread_local int32_t pool_thread_number = -1;

class pool {
public:
    explicit pool(int size) : size_(size < 1 ? 1 : size) {
        for (int i = 1; i < size_; ++i) workers_.emplace_back([this, i] { work(i); });
    }
    ~pool() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        for (std::thread& t : workers_) t.join();
    }

    int size() const { return size_; }

    // Runs task(slot) for slot in [0, participants) and waits for all.
    void run(int participants, const std::function<void(int)>& task) {
        participants = std::clamp(participants, 1, size_);
        if (participants == 1 || pool_thread_number >= 0) {
            for (int slot = 0; slot < participants; ++slot) task(slot);
            return;
        }
        std::unique_lock<std::mutex> job_lock(job_mutex_);  // one job at a time
        {
            std::lock_guard<std::mutex> lock(mutex_);
            task_ = &task;
            next_slot_ = 1;
            slots_ = participants;
            unfinished_ = participants - 1;
            ++generation_;
        }
        wake_.notify_all();
        pool_thread_number = 0;
        task(0);
        pool_thread_number = -1;
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [this] { return unfinished_ == 0; });
        task_ = nullptr;
    }

private:
    void work(int number) {
        pool_thread_number = number;
        uint64_t seen = 0;
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [&] { return stopping_ || (generation_ != seen && next_slot_ < slots_); });
            if (stopping_) return;
            seen = generation_;
            const int slot = next_slot_++;
            const std::function<void(int)>* task = task_;
            lock.unlock();
            (*task)(slot);
            lock.lock();
            if (--unfinished_ == 0) done_.notify_all();
        }
    }

    const int size_;
    std::vector<std::thread> workers_;
    std::mutex job_mutex_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    const std::function<void(int)>* task_ = nullptr;
    uint64_t generation_ = 0;
    int next_slot_ = 0;
    int slots_ = 0;
    int unfinished_ = 0;
    bool stopping_ = false;
};

int configured_size() {
    if (const char* text = std::getenv("QLM_NUM_THREADS")) {
        const int n = std::atoi(text);
        if (n > 0) return n;
    }
    const unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(n);
}

pool& the_pool() {
    static pool p(configured_size());
    return p;
}

std::atomic<int32_t> thread_limit{0};

int32_t thread_count() {
    const int32_t limit = thread_limit.load();
    const int32_t size = the_pool().size();
    return limit > 0 && limit < size ? limit : size;
}

void parallel_for(int64_t count, int64_t max_threads, void* context, qlm_thread_loop_body body) {
    if (count <= 0 || body == nullptr) return;
    int64_t threads = thread_count();
    if (max_threads > 0) threads = std::min(threads, max_threads);
    threads = std::min(threads, count);
    std::atomic<int64_t> next{0};
    the_pool().run(static_cast<int>(threads), [&](int slot) {
        for (int64_t i = next.fetch_add(1); i < count; i = next.fetch_add(1))
            body(i, slot, threads, context);
    });
}

void set_thread_limit(int32_t threads) { thread_limit.store(threads > 0 ? threads : 0); }

// A team is as large as asked: members beyond the pool's size run one after
// another on the threads that there are.
void run_team(int32_t threads, void* shared, qlm_thread_team_body body) {
    if (threads <= 0 || body == nullptr) return;
    const int workers = std::min<int32_t>(threads, the_pool().size());
    std::atomic<int32_t> next{0};
    the_pool().run(workers, [&](int) {
        for (int32_t t = next.fetch_add(1); t < threads; t = next.fetch_add(1))
            body(t, threads, shared);
    });
}

int32_t current_thread() { return pool_thread_number; }

constexpr qlm_thread_services services = {parallel_for, set_thread_limit, run_team,
                                          current_thread, thread_count};

}  // namespace

QLM_RUNTIME_EXPORT const qlm_thread_services* qlm_get_thread_services() { return &services; }
