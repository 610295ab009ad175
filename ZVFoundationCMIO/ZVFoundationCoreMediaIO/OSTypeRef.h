#pragma once

#include "Platform/CoreFoundation/CFType.h"

#include <utility>

namespace requiredCpp {

/// Owns one platform reference. \p config names its type: `config::type`.
template <class config> class T_ostyperef {
public:
    using type = typename config::type;

    T_ostyperef() = default;
    ~T_ostyperef() { Destruct(); }
    T_ostyperef(const T_ostyperef&) = delete;
    T_ostyperef& operator=(const T_ostyperef&) = delete;

    /// Lets go of what it holds and takes a reference of its own to \p reference.
    /// \return whether there is one
    bool Construct(type* reference)
    {
        Ref<type> held(reference);
        Destruct();
        m_object = std::move(held);
        return m_object != nullptr;
    }
    void Destruct() { m_object = nullptr; }
    /// Puts \p reference in place before the old one goes.
    void assign(type* reference)
    {
        T_ostyperef temporary;
        temporary.Construct(reference);
        std::swap(m_object, temporary.m_object);
    }
    type* get_object() const { return m_object; }

private:
    Ref<type> m_object;
};

}
