// The loaded layer over the recording core, as the tests of the frame use it.
#pragma once

#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <initializer_list>

namespace qnm {

using recording::Called;
using recording::core;
using recording::Printed;
using recording::Reported;
using support::Word;
using wide_int = long long;

inline const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

/// Calls an entry by any of its names; a broken calling convention fails the test.
inline support::Returned call_entry(const std::string& name, const std::vector<Word>& words)
{
    return support::call_words(layer()[name], words);
}

/// The place of an entry's verbose cell. `name` is in lower case, with `_64` for a wide entry.
inline const int*& cell(const std::string& name)
{
    return *layer().local<const int*>(name + ".verbose_ptr");
}

/// Puts the cell back to where it stands before the first call.
inline void unbind(const std::string& name)
{
    cell(name) = layer().local<const int>(name + ".verbose_unknown");
}

/// Lets the cell stand as after a first call.
inline void bind(const std::string& name)
{
    cell(name) = core().mode_word();
}

/// An address that nothing reads. The loop of letters keeps expected lines literal.
inline void* address(std::uintptr_t value)
{
    return reinterpret_cast<void*>(value);
}

class LayerTest : public recording::RecordedTest {};

} // namespace qnm
