/* Thread services that a caller hands to the statistics and data-fitting
   operations, which start no thread of their own.  libqlm_threads.so
   provides a table backed by a pool of worker threads. */
#ifndef QLM_THREADS_H
#define QLM_THREADS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Body of a loop run over a range: called once per index, with the index,
   the number of the thread running it, the count of threads taking part and
   the caller's context. */
typedef void (*qlm_thread_loop_body)(int64_t index, int64_t thread, int64_t threads, void* context);

/* Body run on each of n threads with one shared block. */
typedef void (*qlm_thread_team_body)(int32_t thread, int32_t threads, void* shared);

typedef struct qlm_thread_services {
    /* 1: runs body(i, ...) for every i in [0, count), on at most
       max_threads threads (0: as many as the pool has), and returns when
       all have run. */
    void (*parallel_for)(int64_t count, int64_t max_threads, void* context, qlm_thread_loop_body body);
    /* 2: limits the threads the table hands out; 0 restores the pool's size. */
    void (*set_thread_limit)(int32_t threads);
    /* 3: runs body(t, n, shared) once for each t in [0, n), each on its own
       thread, and returns when all have returned. */
    void (*run_team)(int32_t threads, void* shared, qlm_thread_team_body body);
    /* 4: the number of the calling pool thread, or -1 outside the pool. */
    int32_t (*current_thread)(void);
    /* 5: the number of threads that may be used. */
    int32_t (*thread_count)(void);
} qlm_thread_services;

/* The process's table.  The pool starts at the first call and has one
   worker per processor, or QLM_NUM_THREADS workers when that is set. */
const qlm_thread_services* qlm_get_thread_services(void);

#ifdef __cplusplus
}
#endif

#endif
