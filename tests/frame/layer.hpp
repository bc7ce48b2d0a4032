// The loaded layer over the recording core, as the tests of the frame use it.
#pragma once

#include "support/invoke.hpp"
#include "support/recorded.hpp"

#include <optional>

namespace qnm {

using recording::Answer;
using recording::Call;
using recording::Called;
using recording::core;
using recording::Printed;
using recording::Reported;
using support::Word;
using ::testing::ElementsAre;
using tests::layer;
using wide_int = long long;

/// Calls an entry by any of its names; a broken calling convention fails the test.
inline support::Returned call_entry(const std::string& name, const std::vector<Word>& words)
{
    return support::call_words(layer()[name], words);
}

/// An entry's verbose cell, and where it points before the first call. `name` is in lower case, with `_64`
/// for a wide entry.
inline const int*& cell(const std::string& name)
{
    return *layer().local<const int*>(name + ".verbose_ptr");
}
inline const int* unknown(const std::string& name)
{
    return layer().local<const int>(name + ".verbose_unknown");
}

} // namespace qnm
