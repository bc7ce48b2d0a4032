#include "checks.hpp"

#include <algorithm>

namespace qnm::tests {

std::vector<const Entry*> checked_entries()
{
    std::vector<const Entry*> found;
    for (const Entry& e : entries())
        if (e.frame() == Class::checked)
            found.push_back(&e);
    return found;
}

std::string reported_name(const Entry& entry)
{
    static const std::set<std::string_view> without_blank{
        "CGEM2VC",
        "ZGEM2VC",
        "DGEM2VU",
        "SGEM2VU",
        "GEMM_BF16BF16F32_PACK",
        "GEMM_E4M3E4M3F32_PACK",
        "GEMM_E5M2E5M2F32_PACK",
        "GEMM_F16F16F32_PACK",
    };
    std::string name = entry.name();
    if (entry.width == Width::wide)
        name.resize(name.size() - 3);
    const std::size_t blank = name.size() == 6 || without_blank.contains(name) ? 0 : 1;
    name.resize(std::max<std::size_t>(name.size() + blank, 6), ' ');
    return name;
}

namespace {

// Plain comparisons: tens of thousands of calls pass through here.
void expect_report(const Call& report, const Entry& entry, int code)
{
    const std::string name = reported_name(entry);
    EXPECT_EQ(report.name, "qnm_serv_xerbla");
    EXPECT_EQ(report.text, name);
    EXPECT_EQ(report.int32(2), static_cast<int>(name.size()));
    EXPECT_EQ(report.code(), code);
    if (entry.width == Width::wide) {
        EXPECT_EQ(report.code64(), code);
    }
}

} // namespace

int judged(const SampleCall& call)
{
    const Entry& e = call.entry();
    const auto& calls = core().calls();
    core().clear();
    const int verdict = call.run_check().int32();
    const int code = calls.empty() ? 0 : calls[0].code();
    EXPECT_EQ(verdict, calls.empty() ? 0 : 1);
    EXPECT_LE(calls.size(), 1U);
    if (!calls.empty())
        expect_report(calls[0], e, code);

    core().clear();
    const support::Returned returned = call.run();
    EXPECT_EQ(calls.size(), 2U);
    if (calls.size() != 2)
        return -1;
    EXPECT_EQ(calls[0].name, "qnm_serv_set_xerbla_interface");
    if (code == 0) {
        EXPECT_EQ(calls[1].name, core_name(e));
        return 0;
    }
    expect_report(calls[1], e, code);
    if (e.row->result.kind == catalogue::ResultKind::value) {
        EXPECT_EQ(returned.int32(), e.name().starts_with("QNM_JIT_CREATE") ? 2 : 0);
    }
    return code;
}

std::vector<const Argument*> testing_order(const Entry& entry)
{
    std::vector<const Argument*> order;
    for (const Argument& a : entry.row->arguments)
        if (a.tested())
            order.push_back(&a);
    const bool strided = entry.name().find("_BATCH_STRIDED") != std::string::npos;
    const auto rank = [&](const Argument* a) {
        if (a->name == "group_count")
            return 0;
        return strided && (a->name.starts_with("stride") || a->name == "batch_size") ? 2 : 1;
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](const Argument* a, const Argument* b) { return rank(a) < rank(b); });
    return order;
}

std::set<std::string> read_up_to(const Entry& entry, const Argument& last)
{
    std::set<std::string> names;
    const auto add = [&](const catalogue::Expression& e) { names.insert(e.text); };
    for (const catalogue::Definition& d : entry.row->definitions)
        if (!entry.row->groups)
            walk(*d.value, add);
    for (const Argument* a : testing_order(entry)) {
        names.insert(a->name);
        if (a->minimum)
            walk(*a->minimum, add);
        if (a == &last)
            break;
    }
    return names;
}

SampleCall& spoil(SampleCall& call, const Argument& argument, int group)
{
    if (!argument.letters.empty())
        return call.choose(argument.name, 'X', group);
    return call.set(argument.name, argument.nonzero ? 0 : call.bound(argument, group) - 1, group);
}

void for_each_letters(const Entry& entry, const std::function<void(const SampleCall&)>& visit)
{
    std::vector<const Argument*> arguments;
    for (const Argument& a : entry.row->arguments)
        if (!a.letters.empty())
            arguments.push_back(&a);
    std::vector<std::size_t> chosen(arguments.size());
    for (std::size_t i = 0; i <= arguments.size();) {
        SampleCall call(entry);
        for (std::size_t j = 0; j < arguments.size(); ++j)
            call.choose(arguments[j]->name, arguments[j]->letters[chosen[j]]);
        visit(call.settle());
        for (i = 0; i < arguments.size() && ++chosen[i] == arguments[i]->letters.size(); ++i)
            chosen[i] = 0;
        if (i == arguments.size())
            return;
    }
}

} // namespace qnm::tests
