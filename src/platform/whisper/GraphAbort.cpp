#include "platform/whisper/GraphAbort.h"

#ifdef QUILLMERE_WHISPER_GRAPH_HOOK
#include <ggml-backend.h>
#include <ggml-cpu.h>
#endif

namespace quillmere {
namespace {

thread_local const std::atomic<bool>* stopOfThread = nullptr;

}  // namespace

GraphAbort::GraphAbort(const std::atomic<bool>& stop) {
  stopOfThread = &stop;
}
GraphAbort::~GraphAbort() {
  stopOfThread = nullptr;
}

#ifdef QUILLMERE_WHISPER_GRAPH_HOOK
namespace {

bool isStopped(void* stop) {
  return static_cast<const std::atomic<bool>*>(stop)->load(std::memory_order_acquire);
}

}  // namespace

extern "C" {

// The linker gives these two names their meaning. NOLINTBEGIN(bugprone-reserved-identifier)
ggml_status __real_ggml_backend_sched_graph_compute(ggml_backend_sched_t scheduler, ggml_cgraph* graph);
ggml_status __wrap_ggml_backend_sched_graph_compute(ggml_backend_sched_t scheduler, ggml_cgraph* graph);

ggml_status __wrap_ggml_backend_sched_graph_compute(ggml_backend_sched_t scheduler, ggml_cgraph* graph) {
  const std::atomic<bool>* stop = stopOfThread;
  for (int i = 0; i < ggml_backend_sched_get_n_backends(scheduler); ++i) {
    ggml_backend_t backend = ggml_backend_sched_get_backend(scheduler, i);
    if (!ggml_backend_is_cpu(backend)) continue;
    ggml_backend_cpu_set_abort_callback(backend, stop ? &isStopped : nullptr, const_cast<std::atomic<bool>*>(stop));
  }
  return __real_ggml_backend_sched_graph_compute(scheduler, graph);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
#endif

}  // namespace quillmere
