// Memory whose first or last byte lies beside a page that nobody may touch.
#pragma once

#include <cstddef>
#include <cstring>
#include <sys/mman.h>

namespace qnm::tests {

class Guarded {
public:
    /// A copy of so many bytes.
    Guarded(const void* from, std::size_t count, bool at_end)
        : bytes_((count + page - 1) / page * page + 2 * page),
          map_(static_cast<char*>(mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          data_(at_end ? map_ + bytes_ - page - count : map_ + page)
    {
        mprotect(map_ + page, bytes_ - 2 * page, PROT_READ | PROT_WRITE);
        std::memcpy(data_, from, count);
    }
    Guarded(Guarded&& other) noexcept : bytes_(other.bytes_), map_(other.map_), data_(other.data_)
    {
        other.map_ = nullptr;
    }
    Guarded& operator=(Guarded&&) = delete;
    ~Guarded()
    {
        if (map_ != nullptr)
            munmap(map_, bytes_);
    }
    void* data() const { return data_; }

private:
    static constexpr std::size_t page = 4096;
    std::size_t bytes_;
    char* map_;
    char* data_;
};

} // namespace qnm::tests
