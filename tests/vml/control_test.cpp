// Control entries: what reaches the kernel, and how results are widened.
#include "unbound.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;

class Control : public Unbound {};

TEST_F(Control, AllNamesHandTheLowHalfOnAndWidenAsTheirResultHasASign)
{
    enum class Type { none, mode, status, address };
    struct Operation {
        const char* name;
        Type argument, result;
    };
    const Operation all[]{
        {"SetMode", Type::mode, Type::mode},
        {"GetMode", Type::none, Type::mode},
        {"SetErrStatus", Type::status, Type::status},
        {"GetErrStatus", Type::none, Type::status},
        {"ClearErrStatus", Type::none, Type::status},
        {"SetErrorCallBack", Type::address, Type::address},
        {"GetErrorCallBack", Type::none, Type::address},
        {"ClearErrorCallBack", Type::none, Type::address},
    };
    const std::int64_t answer = 0x5A5A'5A5A'8000'0001, given = 0x1'0000'0003;
    core().answers("qnm_serv_load_vml").calling([](Call& call, Answer& opened) {
        at_an_edge(0, 3); // a reference is read when its kernel is there
        core().serve(call, opened);
    });
    for (const Operation& each : all)
        for (const char* width : {"", "_64"}) {
            const bool wide = *width != 0;
            const std::string c = std::string("vml") + each.name, lower = catalogue::to_lower(c);
            for (const std::string& name :
                 {c + width, catalogue::to_upper(lower) + width + "_", lower + width + "_"}) {
                SCOPED_TRACE(name);
                const std::string kernel = "qnm_vml_kernel_" + std::string(each.name);
                core().answers(kernel).with(answer);
                forget("vml_dll_handle");
                forget(kernel);
                const bool number = each.argument == Type::mode || each.argument == Type::status;
                const support::Word value = each.argument == Type::address ? support::Word(&all)
                                            : name.ends_with('_')          ? support::Word(at_an_edge(0, 9))
                                                                           : support::Word(given);
                for (const bool fresh : {true, false}) {
                    core().clear();
                    const support::Returned got = support::call_words(layer()[name], {value});
                    if (fresh)
                        EXPECT_THAT(story(), ElementsAre("qnm_serv_load_vml", "dlsym", kernel));
                    else
                        EXPECT_THAT(story(), ElementsAre(kernel));
                    EXPECT_THAT(looked_up(),
                                ::testing::ElementsAreArray(std::vector<std::string>(fresh ? 1 : 0, kernel)));
                    const Call& call = core().calls().back();
                    EXPECT_TRUE(call.aligned());
                    if (number) {
                        EXPECT_EQ(call.int32(0), 3);
                    } else if (each.argument == Type::address) {
                        EXPECT_EQ(call.pointer<const void>(0), &all);
                    }
                    if (each.result == Type::address)
                        EXPECT_EQ(got.int64(), answer);
                    else if (wide)
                        EXPECT_EQ(got.int64(), each.result == Type::mode ? 0x8000'0001L : -0x7FFF'FFFFL);
                    else
                        EXPECT_EQ(got.int32(), -0x7FFF'FFFF);
                }
            }
        }
}

} // namespace
} // namespace qnm::tests
