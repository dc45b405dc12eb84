// A growable array on the C heap, the building block of items and read buffers.
#ifndef VELMORA_COMMON_ARRAY_H
#define VELMORA_COMMON_ARRAY_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <type_traits>

#include "common/Exception.h"

namespace velmora {

// Growth: mode 0 adds `growthFactor` elements to the capacity, mode 1 multiplies the capacity by it; what is needed is
// taken when that is more. Elements are moved by realloc, so only trivial types fit.
template <typename T>
class Array {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    explicit Array(uint32_t capacity = 0, uint32_t growthFactor = 8, uint32_t growthMode = 0)
        : GrowthFactor(growthFactor), GrowthMode(growthMode)
    {
        Reserve(capacity);
    }
    virtual ~Array() { std::free(Data); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;

    uint32_t Count() const { return Size; }
    uint32_t Room() const { return Capacity; }
    T* Begin() { return Data; }
    const T* Begin() const { return Data; }

    // Throws Exception "Array index out of bounds".
    T& operator[](uint32_t index)
    {
        CheckIndex(index);
        return Data[index];
    }
    const T& operator[](uint32_t index) const
    {
        CheckIndex(index);
        return Data[index];
    }

    // What is appended may stand in this array, which moves when it grows.
    void Append(const T& value)
    {
        const T copy = value;
        if (Size == Capacity) GrowFor(uint64_t{Size} + 1);
        Data[Size++] = copy;
    }
    void Append(const T* values, uint32_t count)
    {
        if (count == 0) return;
        if (uint64_t{Size} + count > Capacity) {
            const bool own = !std::less<const T*>()(values, Data) && std::less<const T*>()(values, Data + Size);
            const size_t at = own ? static_cast<size_t>(values - Data) : 0;
            GrowFor(uint64_t{Size} + count);
            if (own) values = Data + at;
        }
        std::memcpy(Data + Size, values, sizeof(T) * count);
        Size += count;
    }

    // Makes room for at least `capacity` elements; throws Exception "Out of memory".
    void Reserve(uint64_t capacity)
    {
        if (capacity <= Capacity) return;
        T* grown = capacity > UINT32_MAX ? nullptr : static_cast<T*>(std::realloc(Data, sizeof(T) * capacity));
        if (!grown) throw Exception("Out of memory", "Array");
        Data = grown;
        Capacity = static_cast<uint32_t>(capacity);
    }

    // Cuts, or extends with `fill`.
    void Resize(uint32_t size, const T& fill)
    {
        const T copy = fill;
        if (size > Capacity) GrowFor(size);
        for (uint32_t i = Size; i < size; ++i) Data[i] = copy;
        Size = size;
    }
    void Clear() { Size = 0; }

private:
    void CheckIndex(uint32_t index) const
    {
        if (index >= Size) throw Exception("Array index out of bounds", "Array", 102);
    }

    void GrowFor(uint64_t needed)
    {
        uint64_t capacity = GrowthMode == 0 ? uint64_t{Capacity} + GrowthFactor : uint64_t{Capacity} * GrowthFactor;
        if (capacity < needed) capacity = needed;
        if (capacity <= Capacity)
            throw Exception("Reallocation attempt resulted in smaller capacity; reallocation mode and factor invalid", "Array", 457);
        Reserve(capacity);
    }

    T* Data = nullptr;
    uint32_t Capacity = 0;
    uint32_t Size = 0;
    uint32_t GrowthFactor;
    uint32_t GrowthMode;
};

}  // namespace velmora

#endif
