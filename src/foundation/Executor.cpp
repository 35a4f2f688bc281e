#include "foundation/DispatchQueue.h"
#include "foundation/detail/WorkerPool.h"

namespace qsml {

Executor::~Executor() = default;

std::shared_ptr<Executor> Executor::threadPool() {
    constexpr std::size_t mostThreads = 64;
    constexpr std::size_t stayingThreads = 4;
    static auto& pool = *new std::shared_ptr<Executor>(
        std::make_shared<detail::WorkerPool>(mostThreads, stayingThreads));
    return pool;
}

}  // namespace qsml
