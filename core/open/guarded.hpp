// The border of what throws: the engines' code may, the core's functions do not. For each source its own,
// since some are compiled once for each instruction set, and the linker must merge nothing of one set with
// that of another.
#pragma once

#include <new>
#include <type_traits>

namespace qnm::core {
namespace {

/// What work returns, or a status in place of what it throws.
template <auto no_memory, auto failed, class Work>
std::invoke_result_t<Work> guarded(const Work& work) noexcept
{
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return no_memory;
    } catch (...) {
        return failed;
    }
}

} // namespace
} // namespace qnm::core
