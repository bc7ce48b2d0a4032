// What the recording core noted of calls of the C interface.
#include "c_call.hpp"

namespace qnm::tests {

void CCall::expect_passed(const Call& noted) const
{
    std::vector<std::string> places = names_;
    if (layout_ == row_major || (!member_.has_layout() && !member_.family->rows.empty()))
        places = words(member_.family->rows);
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i].back() == '*' && places[i].find(':') == std::string::npos)
            continue;
        const std::string name = places[i].substr(0, places[i].find(':'));
        SCOPED_TRACE(name + " in place " + std::to_string(i + 1));
        if (option_of(name) != nullptr) {
            EXPECT_EQ(noted.letter(i), expected_letter(name));
        } else if (is_integer(name)) {
            EXPECT_EQ(noted.behind<std::int64_t>(i), values_.at(name));
        } else if (is_small(name)) {
            EXPECT_EQ(noted.behind<unsigned char>(i), values_.at(name));
        } else if (!is_real_scalar(name, member_)) {
            EXPECT_EQ(noted.pointer<const void>(i), address(name));
        } else if (member_.single() || name[0] == 'f') {
            EXPECT_EQ(noted.behind<float>(i), static_cast<float>(scalars_.at(name).first));
        } else {
            EXPECT_EQ(noted.behind<double>(i), scalars_.at(name).first);
        }
    }
}

std::vector<std::string> story()
{
    std::vector<std::string> names;
    for (const Call& call : core().calls())
        names.push_back(call.name);
    return names;
}

Reports reports()
{
    Reports all;
    for (const Call& call : core().calls("qnm_serv_xerbla"))
        all.emplace_back(call.text, call.code());
    return all;
}

Reports c_reports()
{
    Reports all = reports();
    std::erase_if(all, [](const auto& report) { return !report.first.starts_with("cblas_"); });
    return all;
}

} // namespace qnm::tests
