#include "tests/support/memory/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

struct Plan {
    uint32_t nth = 0;  // 0: nothing fails
    velmora::test::FaultSpan span = velmora::test::FaultSpan::Once;
    uint32_t seen = 0;
    uint32_t hits = 0;
};

thread_local Plan plan;
thread_local uint64_t askedFor = 0;

bool Fails()
{
    ++askedFor;
    if (plan.nth == 0) return false;
    if (!velmora::test::IsInSpan(plan.span, plan.nth, ++plan.seen)) return false;
    ++plan.hits;
    return true;
}

void* AllocateOrFail(size_t size)
{
    if (Fails()) throw std::bad_alloc();
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(size_t size) { return AllocateOrFail(size); }
void* operator new[](size_t size) { return AllocateOrFail(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace velmora::test {

uint64_t AllocationsAskedFor() { return askedFor; }

AllocationFault::AllocationFault(uint32_t nth, FaultSpan span)
{
    plan = {};
    plan.span = span;
    plan.nth = nth;
}

AllocationFault::~AllocationFault() { plan.nth = 0; }

uint32_t AllocationFault::Hits() { return plan.hits; }

}  // namespace velmora::test
