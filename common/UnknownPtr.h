// Pointers, held by value, to objects that count who points at them.
//
// The count is interlocked, so that threads may point at one object; a pointer itself belongs to one thread at a time.
#ifndef VELMORA_COMMON_UNKNOWNPTR_H
#define VELMORA_COMMON_UNKNOWNPTR_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>

namespace velmora {

// What a counted pointer may point at. The order of the virtual operations is the contract, and so is the place of the
// count, first behind them. An object that holds the next one ends it in its own end: a chain of them takes as much stack as
// it is long.
class Unknown {
public:
    Unknown(const Unknown&) = delete;
    Unknown& operator=(const Unknown&) = delete;

    // Destroys and frees the object.
    virtual void Destroy() = 0;
    // The number of counted pointers at it.
    // Between the two that a counted pointer calls.
    virtual uint32_t References() const { return Count; }
    // Called just before Destroy, when the last counted pointer lets go.
    virtual void BeforeDestroy() {}

    std::atomic<uint32_t> Count{0};

protected:
    Unknown() = default;
    ~Unknown() = default;
};

// Points and does not count. T is an Unknown. The order of the virtual operations is the contract; compilers here give the
// destructor, the first of them, two places in their tables.
template <typename T>
class UnknownWeakPtr {
public:
    explicit UnknownWeakPtr(T* pointer = nullptr) : Pointer(pointer) {}
    UnknownWeakPtr(const UnknownWeakPtr& other) : Pointer(other.Pointer) {}

    virtual ~UnknownWeakPtr() = default;
    // Virtual, since it has its place in the order; an assignment to itself ends in SetPointer, as one of the same pointer.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator,bugprone-unhandled-self-assignment,cert-oop54-cpp)
    virtual UnknownWeakPtr& operator=(const UnknownWeakPtr& other)
    {
        AssignPointer(other);
        return *this;
    }
    virtual UnknownWeakPtr& operator=(T* pointer)
    {
        SetPointer(pointer);
        return *this;
    }
    virtual operator T*() const { return Pointer; }
    virtual T* operator->() const { return Pointer; }
    virtual bool operator==(const UnknownWeakPtr& other) const { return IsEqual(other.Pointer); }
    virtual bool operator==(T* pointer) const { return IsEqual(pointer); }
    virtual bool operator!=(const UnknownWeakPtr& other) const { return !IsEqual(other.Pointer); }
    virtual bool operator!=(T* pointer) const { return !IsEqual(pointer); }
    virtual bool operator<(const UnknownWeakPtr& other) const { return IsLess(other.Pointer); }
    virtual bool operator<(T* pointer) const { return IsLess(pointer); }
    virtual bool operator>(const UnknownWeakPtr& other) const { return IsGreater(other.Pointer); }
    virtual bool operator>(T* pointer) const { return IsGreater(pointer); }
    virtual bool operator!() const { return Pointer == nullptr; }
    virtual void AssignPointer(const UnknownWeakPtr& other) { SetPointer(other.Pointer); }
    virtual void SetPointer(T* pointer) { Pointer = pointer; }
    virtual bool IsEqual(T* pointer) const { return Pointer == pointer; }
    // By address, in one order of all objects.
    virtual bool IsLess(T* pointer) const { return std::less<T*>()(Pointer, pointer); }
    virtual bool IsGreater(T* pointer) const { return std::greater<T*>()(Pointer, pointer); }

protected:
    T* Pointer;
};

// Points and counts. The object goes with the last pointer at it.
template <typename T>
class UnknownPtr : public UnknownWeakPtr<T> {
public:
    explicit UnknownPtr(T* pointer = nullptr) : UnknownWeakPtr<T>(pointer) { UnknownPtr::AddReference(); }
    UnknownPtr(const UnknownPtr& other) : UnknownWeakPtr<T>(other) { UnknownPtr::AddReference(); }

    ~UnknownPtr() override { UnknownPtr::ReleaseReference(); }
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment,cert-oop54-cpp)
    UnknownPtr& operator=(const UnknownPtr& other)
    {
        static_cast<UnknownWeakPtr<T>&>(*this) = other;
        return *this;
    }
    using UnknownWeakPtr<T>::operator=;

    void SetPointer(T* pointer) override
    {
        if (pointer == this->Pointer) return;
        // The object that goes may hold the only other pointer at the new one.
        const UnknownPtr meanwhile(pointer);
        ReleaseReference();
        // Its end may have set this pointer again.
        T* const setMeanwhile = std::exchange(this->Pointer, pointer);
        AddReference();
        LetGo(setMeanwhile);
    }
    virtual void AddReference()
    {
        if (this->Pointer) ++this->Pointer->Count;
    }
    // The pointer is cleared before the object's operations are called: they may look at it, or set it.
    virtual void ReleaseReference() { LetGo(std::exchange(this->Pointer, nullptr)); }

private:
    static void LetGo(T* object)
    {
        constexpr uint32_t kEnding = uint32_t{1} << 31;
        if (!object || object->Count-- != 1) return;
        // Pointers that its own end makes and lets go of do not end it again.
        object->Count = kEnding;
        object->BeforeDestroy();
        object->Destroy();
    }
};

}  // namespace velmora

#endif
