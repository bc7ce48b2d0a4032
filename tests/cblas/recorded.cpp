// What the recording core noted of calls of the C interface.
#include "c_call.hpp"

namespace qnm::tests {

void CCall::expect_passed(const Call& noted) const
{
    const auto all = places();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string& name = all[i];
        if (layout_ == row_major && member_.conjugates(name))
            continue;
        SCOPED_TRACE(name + " in place " + std::to_string(i + 1));
        if (option_of(name) != nullptr)
            EXPECT_EQ(noted.letter(i), expected_letter(name));
        else if (is_integer(name))
            EXPECT_EQ(noted.behind<std::int64_t>(i), get(name));
        else if (is_small(name))
            EXPECT_EQ(noted.behind<unsigned char>(i), get(name));
        else if (!is_scalar(name) || size(name) > 1)
            EXPECT_EQ(noted.pointer<const char>(i), address(name));
        else if (member_.single() || name[0] == 'f')
            EXPECT_EQ(noted.behind<float>(i), get<float>(name));
        else
            EXPECT_EQ(noted.behind<double>(i), get<double>(name));
    }
}

void CCall::expect_groups(const Call& noted, std::size_t begin, std::size_t end) const
{
    const auto all = places();
    std::size_t problems = 0; // ahead of these groups
    for (std::size_t group = 0; group < begin; ++group)
        problems += get<std::size_t>("group_size", group);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string& name = all[i];
        SCOPED_TRACE(name);
        const char* passed = noted.pointer<const char>(i);
        if (option_of(name) != nullptr) {
            std::string expected;
            for (std::size_t group = begin; group < end; ++group)
                expected += expected_letter(name, group);
            EXPECT_EQ(std::string(passed, end - begin), expected);
        } else if (name == "group_count") {
            EXPECT_EQ(member_.wide ? *noted.pointer<std::int64_t>(i) : *noted.pointer<int>(i),
                      static_cast<std::int64_t>(end - begin));
        } else {
            const std::size_t real = member_.single() ? 4 : 8, integer = member_.wide ? 8 : 4;
            EXPECT_EQ(passed, address(name) + (is_matrix(name)   ? 8 * problems
                                               : is_scalar(name) ? begin * real * (member_.complex() ? 2 : 1)
                                                                 : begin * integer));
        }
    }
    EXPECT_EQ(noted.int32(all.size()), member_.wide ? 0 : 1) << "the width flag";
}

Reports c_reports(const Member& member)
{
    Reports all = reports();
    std::erase_if(all, [&](const auto& report) { return report.first != member.reported(); });
    return all;
}

} // namespace qnm::tests
