#pragma once

#include <span>
#include <string_view>

namespace qnm::run {

/// A name that a library of the reference BLAS or LAPACK has and the layer does not. A program's call of it
/// passes the layer by and goes to that library, or to what stands in its place: a second engine. The
/// libraries with 64-bit integers have the same names, and a 64 in their own.
struct PassedBy {
    std::string_view name;
    std::string_view library;
};

/// All of them, by name.
std::span<const PassedBy> passed_by();

/// The library of such a name; empty for any other name.
std::string_view passed_by_to(std::string_view name);

} // namespace qnm::run
