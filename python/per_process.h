// SPDX-License-Identifier: MIT
// Objects that threads work in, one for each process. After fork, a child has the objects of its parent as they stood,
// perhaps in the middle of the work of a thread that it does not have: locked, or half changed.
#pragma once

#include <memory>

namespace narvo::python
{

/// How often this process was forked off another one since the module was loaded. With the interpreter lock held.
int ForkCount();

/// An object made by its first user in each process. What a child finds of its parent's is left as it is.
template <typename Object>
class PerProcess
{
public:
    /// The object of this process; `make` gives a std::unique_ptr to a new one. With the interpreter lock held, whose
    /// holder alone gets past fork.
    template <typename Make>
    Object& Get(Make make)
    {
        if (const int count = ForkCount(); count != m_count)
        {
            static_cast<void>(m_object.release());
            m_count = count;
        }
        if (m_object == nullptr)
            m_object = make();
        return *m_object;
    }

private:
    std::unique_ptr<Object> m_object;
    int m_count = ForkCount();
};

} // namespace narvo::python
