#include "store/detail/forkGeneration.h"

#include <pthread.h>

#include <atomic>

namespace qsml::detail {

namespace {
std::atomic<std::uint32_t> generation{0};
}

std::uint32_t forkGeneration() {
    static const int registered = pthread_atfork(
        nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); });
    (void)registered;
    return generation.load(std::memory_order_relaxed);
}

}  // namespace qsml::detail
