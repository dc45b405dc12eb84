// Pointers, held by value, to objects that count who points at them.
//
// The count is interlocked, so that threads may point at one object; a pointer itself belongs to one thread at a time.
#ifndef VELMORA_COMMON_UNKNOWNPTR_H
#define VELMORA_COMMON_UNKNOWNPTR_H

#include <atomic>
#include <cstdint>
#include <functional>

namespace velmora {

// What a counted pointer may point at. The order of the virtual operations is the contract, and so is the place of the
// count, first behind them.
class Unknown {
public:
    Unknown(const Unknown&) = delete;
    Unknown& operator=(const Unknown&) = delete;

    // Destroys and frees the object.
    virtual void Destroy() = 0;
    // The number of counted pointers at it.
    virtual uint32_t References() const { return Count; }
    // Called just before Destroy, when the last counted pointer lets go.
    virtual void BeforeDestroy() {}

    std::atomic<uint32_t> Count{0};

protected:
    Unknown() = default;
    ~Unknown() = default;
};

// Points and does not count. T is an Unknown. The order of the virtual operations is the contract.
template <typename T>
class UnknownWeakPtr {
public:
    explicit UnknownWeakPtr(T* pointer = nullptr) : Pointer(pointer) {}
    UnknownWeakPtr(const UnknownWeakPtr& other) : Pointer(other.Pointer) {}

    virtual ~UnknownWeakPtr() = default;
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): it has its place in the order.
    virtual UnknownWeakPtr& operator=(const UnknownWeakPtr& other)
    {
        if (this != &other) AssignPointer(other);
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
    UnknownPtr& operator=(const UnknownPtr& other)
    {
        if (this != &other) this->AssignPointer(other);
        return *this;
    }
    using UnknownWeakPtr<T>::operator=;

    void SetPointer(T* pointer) override
    {
        if (pointer == this->Pointer) return;
        // The object that goes may hold the only other pointer at the new one.
        const UnknownPtr meanwhile(pointer);
        ReleaseReference();
        this->Pointer = pointer;
        AddReference();
    }
    virtual void AddReference()
    {
        if (this->Pointer) ++this->Pointer->Count;
    }
    virtual void ReleaseReference()
    {
        T* const left = this->Pointer;
        this->Pointer = nullptr;
        if (!left || left->Count-- != 1) return;
        left->BeforeDestroy();
        left->Destroy();
    }
};

}  // namespace velmora

#endif
