// Where the allocator takes its memory from, in the builds that have one of their own.
#include <cstddef>
#include <cstdint>
#include <new>

#include <mimalloc.h>
#include <sys/mman.h>

namespace norvane::driver {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t size = 1024 * mebibyte;    // of addresses: memory is taken as needed
constexpr std::size_t alignment = 64 * mebibyte; // enough for any block of the allocator
constexpr std::size_t in_small_pages = 4 * mebibyte;

// A large model is millions of small pieces, and a seventh of the time would go into getting their
// memory page by page. So the allocator works in memory for which the system uses transparent huge
// pages where it can, except at the beginning, which is all that a small model needs. The
// allocator's own option asks for reserved huge pages first, and the system kills a process that
// touches one beyond its quota.
void offer_huge_pages() {
    void* memory = mmap(nullptr, size + alignment, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) return; // the allocator asks for less
    const std::size_t ahead = alignment - reinterpret_cast<std::uintptr_t>(memory) % alignment;
    char* aligned = static_cast<char*>(memory) + ahead;
    madvise(aligned + in_small_pages, size - in_small_pages, MADV_HUGEPAGE);
    mi_manage_os_memory(aligned, size, true, false, true, -1);
}

// Before the initialisers of the libraries, which already allocate.
[[gnu::section(".preinit_array"), gnu::used]] void (*const before_them)() = offer_huge_pages;

// Null is a reason to throw.
void* not_null(void* memory) {
    if (!memory) throw std::bad_alloc();
    return memory;
}

} // namespace
} // namespace norvane::driver

// The allocator's own operators end the process where there is no memory, since they are not C++
// and cannot throw. What is taken by these is released by its delete, as all memory is.

void* operator new(std::size_t size) {
    return norvane::driver::not_null(mi_malloc(size));
}

void* operator new[](std::size_t size) {
    return norvane::driver::not_null(mi_malloc(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return norvane::driver::not_null(mi_malloc_aligned(size, static_cast<std::size_t>(alignment)));
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return norvane::driver::not_null(mi_malloc_aligned(size, static_cast<std::size_t>(alignment)));
}
