#include "inner.hpp"

#include "open/guarded.hpp"
#include "system.hpp"

namespace qnm::core::solvers::inner {

int begin(void** system, bool single, bool symmetric, int n, const int* start, const int* index)
{
    return guarded<no_memory, internal>([&] {
        const Kind kind(symmetric ? 6 : 3);
        const Wishes wishes{.scaled = true, .perturbation = -1};
        const Stored<int> all{n, start, index, 0, 1};
        auto made = make_system(kind, single, wishes, std::make_shared<const Pattern>(kind, all), {});
        const Error error = made->analyse(nullptr, nullptr);
        if (error == no_error)
            *system = made.release();
        return error;
    });
}

int factor(void* system, const void* values)
{
    return guarded<no_memory, internal>([&] { return static_cast<System*>(system)->factor(values); });
}

int solve(void* system, bool adjoint, int sides, void* x)
{
    return guarded<no_memory, internal>([&] {
        return static_cast<System*>(system)->solve(adjoint ? Turned::conjugated : Turned::no, sides, x);
    });
}

void end(void* system)
{
    delete static_cast<System*>(system);
}

} // namespace qnm::core::solvers::inner
