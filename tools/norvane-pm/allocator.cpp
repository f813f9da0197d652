// Where the allocator takes its memory from, in the builds that have one of their own.
#include <cstddef>
#include <cstdint>

#include <mimalloc.h>
#include <sys/mman.h>

namespace norvane::pm {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t size = 1024 * mebibyte;    // of addresses: memory is taken as needed
constexpr std::size_t alignment = 64 * mebibyte; // enough for any block of the allocator
constexpr std::size_t in_small_pages = 4 * mebibyte;

// A large model is millions of small pieces, and a seventh of the time would go into being handed
// their memory page by page. So the allocator works in memory that the system, where it can, gives
// in transparent huge pages; but for the beginning, which is all that a small model needs. The
// allocator's own option for that is no good: it asks for reserved huge pages first, and to touch
// one that the process has no quota for is deadly.
void offer_huge_pages() {
    void* memory = mmap(nullptr, size + alignment, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) return; // the allocator will ask for less
    const std::size_t ahead = alignment - reinterpret_cast<std::uintptr_t>(memory) % alignment;
    char* aligned = static_cast<char*>(memory) + ahead;
    madvise(aligned + in_small_pages, size - in_small_pages, MADV_HUGEPAGE);
    mi_manage_os_memory(aligned, size, true, false, true, -1);
}

// The initialisers of the libraries already allocate.
[[gnu::section(".preinit_array"), gnu::used]] void (*const before_them)() = offer_huge_pages;

} // namespace
} // namespace norvane::pm
