#include "store/faults/FailingAllocations.h"

#include <sqlite3.h>

#include <cstdlib>
#include <new>

namespace qsml::failingAllocations {
namespace {

thread_local bool armed = false;
std::uint64_t calls = 0, failures = 0;  // of the armed thread
std::uint64_t firstFailing = 0;
Repeat repeating = Repeat::once;

bool fails() {
    if (!armed) return false;
    const std::uint64_t call = ++calls;
    if (call < firstFailing || (call > firstFailing && repeating == Repeat::once)) return false;
    failures++;
    return true;
}

sqlite3_mem_methods plain;

void* sqliteAllocate(int size) { return fails() ? nullptr : plain.xMalloc(size); }
void* sqliteReallocate(void* memory, int size) {
    return fails() ? nullptr : plain.xRealloc(memory, size);
}

void* allocate(std::size_t size, std::size_t alignment = 0) {
    if (fails()) return nullptr;
    if (!alignment) return std::malloc(size ? size : 1);
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 0) {
    void* memory = allocate(size, alignment);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

void install() {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &plain);
    sqlite3_mem_methods failing = plain;
    failing.xMalloc = sqliteAllocate;
    failing.xRealloc = sqliteReallocate;
    if (sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) != SQLITE_OK) std::abort();
}

void fail(std::uint64_t number, Repeat repeat) {
    calls = failures = 0;
    firstFailing = number;
    repeating = repeat;
    armed = true;
}

std::uint64_t heal() {
    armed = false;
    return failures;
}

}  // namespace qsml::failingAllocations

namespace failing = qsml::failingAllocations;

void* operator new(std::size_t size) { return failing::allocateOrThrow(size); }
void* operator new[](std::size_t size) { return failing::allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return failing::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return failing::allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return failing::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return failing::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
