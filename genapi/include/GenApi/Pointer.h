// Smart pointers over node interfaces. Constructing one from a node of another
// interface type yields an invalid pointer; using an invalid pointer raises
// LogicalErrorException "NULL pointer dereferenced".
#pragma once

#include <cstddef>

#include "GenApi/Interfaces.h"
#include "GenICam/exceptions.h"

namespace GenApi {

template <class T, class B = IBase>
class CPointer {
public:
    CPointer() = default;
    CPointer(std::nullptr_t) {}
    CPointer(T* t) : p_(t) {}
    template <class U, class = std::enable_if_t<!std::is_convertible_v<U*, T*> &&
                                                std::is_convertible_v<U*, B*>>>
    CPointer(U* u) : p_(u ? dynamic_cast<T*>(static_cast<B*>(u)) : nullptr) {}
    template <class T2, class B2>
    CPointer(const CPointer<T2, B2>& other) : CPointer(other.get()) {}

    template <class U>
    CPointer& operator=(U* u) {
        *this = CPointer(u);
        return *this;
    }

    T* operator->() const { return checked(); }
    T& operator*() const { return *checked(); }
    operator T*() const { return checked(); }

    bool IsValid() const noexcept { return p_ != nullptr; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    T* get() const noexcept { return p_; }
    void Release() noexcept { p_ = nullptr; }

    friend bool operator==(const CPointer& a, const CPointer& b) { return a.p_ == b.p_; }

private:
    T* checked() const {
        if (!p_) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return p_;
    }
    T* p_ = nullptr;
};

using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CIntegerPtr = CPointer<IInteger>;
using CFloatPtr = CPointer<IFloat>;
using CBooleanPtr = CPointer<IBoolean>;
using CCommandPtr = CPointer<ICommand>;
using CStringPtr = CPointer<IString>;
using CRegisterPtr = CPointer<IRegister>;
using CCategoryPtr = CPointer<ICategory>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CSelectorPtr = CPointer<ISelector>;
using CPortPtr = CPointer<IPort>;

} // namespace GenApi
