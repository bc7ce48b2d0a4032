// Calls of the core's LAPACK by name.
#pragma once

#include "core.hpp"

namespace qnm::test {

template <class R = void, class... A>
R lapack(const std::string& name, const A&... arguments)
{
    return by_value<R>("qnm_lapack_" + name, reference(arguments)...);
}

} // namespace qnm::test
