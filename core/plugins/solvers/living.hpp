// Objects behind the handles of callers.
#pragma once

#include <memory>
#include <mutex>
#include <set>

namespace qnm::core::solvers {

/// Those that live: an address that is none of them is refused.
template <class X>
class Living {
public:
    X* find(void* address)
    {
        const std::lock_guard guard(lock_);
        return all_.count(address) != 0 ? static_cast<X*>(address) : nullptr;
    }
    X* add(std::unique_ptr<X> made)
    {
        const std::lock_guard guard(lock_);
        all_.insert(made.get());
        return made.release();
    }
    void end(X* one)
    {
        const std::unique_ptr<X> ended(one);
        const std::lock_guard guard(lock_);
        all_.erase(one);
    }

private:
    std::mutex lock_;
    std::set<void*> all_;
};

} // namespace qnm::core::solvers
