// Integers of the caller's width: what group batches are given.
#pragma once

#include "core.hpp"

namespace qnm::core {

class Integers {
public:
    Integers(void* data, bool narrow) : data_(data), narrow_(narrow) {}

    core_int operator[](core_int i) const
    {
        return narrow_ ? static_cast<const std::int32_t*>(data_)[i] : static_cast<const core_int*>(data_)[i];
    }
    void set(core_int i, core_int value) const
    {
        if (narrow_)
            static_cast<std::int32_t*>(data_)[i] = static_cast<std::int32_t>(value);
        else
            static_cast<core_int*>(data_)[i] = value;
    }

private:
    void* data_;
    bool narrow_;
};

} // namespace qnm::core
