#include "unbound.hpp"

namespace qnm::tests {

Unbound::Unbound()
{
    forget();
}

void Unbound::forget()
{
    for (const auto& [name, symbol] : layer().file().locals())
        if (name.ends_with(".kernel") ||
            (name.find("vsl5Named") != std::string::npos && symbol.type == STT_OBJECT &&
             name.find("cell") != std::string::npos))
            *reinterpret_cast<void**>(layer().base() + symbol.value) = nullptr;
    *layer().local<void*>("vml_dll_handle") = nullptr;
}

void Unbound::expect_handed_on(const FunctionCall& call, bool first, std::vector<std::string> expected)
{
    QNM_TRACE_SIGNATURE(call.signature());
    const std::string& callee = call.callee().name;
    core().answers(callee).with(-0x7'0000'004D);
    if (!call.signature().trace.empty())
        expected.emplace_back("qnm_serv_verbose_mode");
    expected.push_back(callee);
    for (const bool bound : {false, true}) {
        core().clear();
        EXPECT_EQ(call.run().int32(), -77);
        EXPECT_EQ(looked_up(), first && !bound ? std::vector{callee} : std::vector<std::string>{});
        std::vector<std::string> told = story();
        std::erase(told, "qnm_serv_load_vml");
        std::erase(told, "dlsym");
        EXPECT_EQ(told, expected);
        call.expect_passed(core().calls(callee).at(0));
    }
}

void Unbound::expect_printed(const std::string& name, const std::string& format, const std::string& line)
{
    const Call made = core().calls("qnm_serv_sprintf_s").back();
    EXPECT_EQ(made.word(1), 256U);
    EXPECT_EQ(made.pointer<const char>(2), format);
    EXPECT_THAT(lines(), ::testing::ElementsAre(line));
    EXPECT_EQ(line.substr(0, line.find('(')), name);
    EXPECT_EQ(core().calls().back().int32(0), 1);
    EXPECT_EQ(core().calls().back().real(0), 2.5);
}

void Unbound::expect_ended(const std::string& kernel, const std::function<void()>& call)
{
    const auto end = [&] {
        forget();
        if (kernel.empty())
            core().answers("qnm_serv_load_vml").with(nullptr);
        else
            core().table(kernel, nullptr);
        core().answers("qnm_serv_print").calling([](Call& told, Answer&) {
            std::fprintf(stderr, "%d %d %s", told.int32(0), told.int32(1),
                         told.int32(2) == 1 ? told.pointer<const char>(3) : "none");
        });
        call();
        std::fputs(" goes on", stderr);
        std::exit(0);
    };
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(2),
                kernel.empty() ? "^1 771 none$" : "^1 772 " + kernel + "$");
}

void Unbound::expect_refused(const FunctionCall& call, const std::string& name, int place, int status)
{
    core().clear();
    EXPECT_EQ(call.run().int32(), status);
    EXPECT_EQ(reports(), (Reports{{name, place}}));
    EXPECT_THAT(story(), ::testing::ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_strnlen_s",
                                                "qnm_serv_xerbla"));
    EXPECT_EQ(core().calls()[1].word(1), 50U);
    EXPECT_EQ(core().calls()[2].int32(2), static_cast<int>(name.size()));
}

} // namespace qnm::tests
