/* What the core asks of an engine of Fourier transforms that it opens at run time: a library
 * libqnm_core_NAME.so in the core's own folder with the function below. Statuses are those of DFTI; nothing
 * is thrown. */
#ifndef QNM_CORE_DFT_PLUGIN_H
#define QNM_CORE_DFT_PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { DFT_PLUGIN_EDITION = 1 };
enum { DFT_PLUGIN_DONE = 0, DFT_PLUGIN_NO_MEMORY = 1, DFT_PLUGIN_UNABLE = 6, DFT_PLUGIN_FAILED = 7 };

typedef struct {
    int64_t count, in, out; /* steps, in reals */
} dft_plugin_dimension;

/* One direction of transforms without scale. Dimensions stand slowest first; the last one of real data has
 * half a spectrum on its complex side. */
typedef struct {
    int32_t single, real, forward;
    int32_t in_place;
    int32_t spoils_input; /* may do so, out of place */
    int32_t measure;      /* take time for a plan */
    int32_t threads;      /* at most */
    int32_t rank, batch_rank;
    dft_plugin_dimension dimension[7], batch[8];
    int64_t in_apart, out_apart; /* reals from a real part to its imaginary one; 0: they have arrays of their
                                  * own, or there are none */
} dft_plugin_problem;

/* Only read by its runs: several threads may be at it. */
typedef struct dft_plugin_plan dft_plugin_plan;

typedef struct {
    const char* version;
    int64_t (*plan)(const dft_plugin_problem* problem, dft_plugin_plan** made);
    int64_t (*run)(const dft_plugin_plan* plan, void* in, void* out); /* addresses of the first elements */
    void (*free)(dft_plugin_plan* plan);
} dft_plugin;

/* What the core lends: its memory, and its threads, which share the items of some work. */
typedef struct {
    void* (*allocate)(size_t bytes); /* whole lines of cache; null if there is no more */
    void (*release)(void* block);
    int64_t (*divide)(int64_t (*part)(void* work, int64_t item), void* work, int64_t items);
} dft_plugin_host;

/* Null if the edition is none that the library knows, or if it cannot work here. The host outlives it. */
typedef const dft_plugin* dft_plugin_open(int edition, const dft_plugin_host* host);
dft_plugin_open qnm_core_plugin;

#ifdef __cplusplus
}
#endif

#endif
