// GoogleTest's words for recorded calls, and a fixture that holds the core's accounts.
#pragma once

#include "recording/recorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qnm::recording {

inline void PrintTo(const Call& call, std::ostream* out)
{
    *out << call;
}

/// Turns an expected word (integer, pointer, or a matcher of std::uint64_t) into its matcher.
template <class T>
::testing::Matcher<std::uint64_t> word_matcher(T expected)
{
    if constexpr (std::is_integral_v<T>)
        return ::testing::Eq(static_cast<std::uint64_t>(static_cast<std::int64_t>(expected)));
    else if constexpr (std::is_null_pointer_v<T>)
        return ::testing::Eq(std::uint64_t{0});
    else if constexpr (std::is_pointer_v<T>)
        return ::testing::Eq(reinterpret_cast<std::uint64_t>(expected));
    else
        return expected;
}

MATCHER_P2(WordIs, index, matcher, "word " + ::testing::PrintToString(index))
{
    *result_listener << "whose word " << index << " is " << arg.int64(index);
    return ::testing::ExplainMatchResult(matcher, arg.word(index), result_listener);
}

/// A well-formed call of this name, whose first words are as given: Called("qnm_serv_deallocate", block).
template <class... Words>
::testing::Matcher<const Call&> Called(const std::string& name, Words... expected)
{
    std::size_t index = 0;
    // Braces keep the order of the list.
    std::vector<::testing::Matcher<const Call&>> all{
        ::testing::Field("name", &Call::name, name), ::testing::Property("aligned", &Call::aligned, true),
        ::testing::Matcher<const Call&>(WordIs(index++, word_matcher(expected)))...};
    return ::testing::AllOfArray(all);
}

/// Scratch for Fortran-style entries: qnm_serv_allocate(bytes, alignment).
inline ::testing::Matcher<const Call&> Allocated(std::size_t bytes, std::int32_t alignment)
{
    return ::testing::AllOf(Called("qnm_serv_allocate", bytes),
                            ::testing::ResultOf(
                                "alignment", [](const Call& call) { return call.int32(1); }, alignment));
}

/// A report: the name with its padding, exactly as long as the length that came with it, and the code in the
/// defined 32 bits.
inline ::testing::Matcher<const Call&> Reported(const std::string& srname, std::int32_t code)
{
    return ::testing::AllOf(Called("qnm_serv_xerbla"), ::testing::Field("text", &Call::text, srname),
                            ::testing::Property("code", &Call::code, code));
}

/// A trace line: printed as enabled, in a line buffer that ends in zero, with its seconds.
inline ::testing::Matcher<const Call&> Printed(const std::string& line,
                                               ::testing::Matcher<double> seconds = ::testing::_)
{
    return ::testing::AllOf(Called("qnm_serv_print_verbose_info"),
                            ::testing::Field("text", &Call::text, line),
                            ::testing::ResultOf(
                                "enabled", [](const Call& call) { return call.int32(0); }, 1),
                            ::testing::Field("last byte", &Call::last_byte, ::testing::Optional('\0')),
                            ::testing::ResultOf(
                                "seconds", [](const Call& call) { return call.real(0); }, seconds));
}

/// Begins each test with a fresh core and ends it with all blocks given back, none wrongly.
class RecordedTest : public ::testing::Test {
protected:
    RecordedTest() { core().reset(); }

    void TearDown() override
    {
        EXPECT_EQ(core().live_blocks(), 0U);
        EXPECT_THAT(core().faults(), ::testing::IsEmpty());
    }
};

} // namespace qnm::recording
