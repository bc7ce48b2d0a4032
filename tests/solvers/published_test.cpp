// Solvers and trigonometric transforms as they are published, by hand: argument lists, how many parameters
// there are, the core's names.
#include "support/function_call.hpp"

namespace qnm::tests {
namespace {

/// Arguments of entries, without letters and twins: `ipar` with its length, integers that are widened with
/// `+`.
const std::map<std::string, const char*> lists_of{
    {"init_trig_transform", "n+ tt_type+ ipar15 par stat"},
    {"commit_trig_transform", "f handle ipar15 par stat"},
    {"forward_trig_transform", "f handle ipar15 par stat"},
    {"backward_trig_transform", "f handle ipar15 par stat"},
    {"free_trig_transform", "handle ipar15 stat"},
    {"init_helmholtz_2d", "ax bx ay by nx+ ny+ bctype q ipar128 par stat"},
    {"commit_helmholtz_2d", "f bd_ax bd_bx bd_ay bd_by xhandle ipar128 par stat"},
    {"helmholtz_2d", "f bd_ax bd_bx bd_ay bd_by xhandle ipar128 par stat"},
    {"free_helmholtz_2d", "xhandle ipar128 stat"},
    {"init_helmholtz_3d", "ax bx ay by az bz nx+ ny+ nz+ bctype q ipar128 par stat"},
    {"commit_helmholtz_3d", "f bd_ax bd_bx bd_ay bd_by bd_az bd_bz xhandle yhandle ipar128 par stat"},
    {"helmholtz_3d", "f bd_ax bd_bx bd_ay bd_by bd_az bd_bz xhandle yhandle ipar128 par stat"},
    {"free_helmholtz_3d", "xhandle yhandle ipar128 stat"},
    {"init_sph_p", "ap bp at bt np+ nt+ q ipar128 par stat"},
    {"commit_sph_p", "f handle_s handle_c ipar128 par stat"},
    {"sph_p", "f handle_s handle_c ipar128 par stat"},
    {"free_sph_p", "handle_s handle_c ipar128 stat"},
    {"init_sph_np", "ap bp at bt np+ nt+ q ipar128 par stat"},
    {"commit_sph_np", "f handle ipar128 par stat"},
    {"sph_np", "f handle ipar128 par stat"},
    {"free_sph_np", "handle ipar128 stat"},
};

TEST(Published, ArgumentListsAndNamesOfTheCore)
{
    const auto members =
        signatures([](const Signature& s) { return s.family == "poisson" || s.family == "trigonometric"; });
    EXPECT_EQ(members.size(), 49U);
    for (const Signature* s : members) {
        QNM_TRACE_SIGNATURE(*s);
        std::string told;
        for (const catalogue::Place& place : s->callees.front().places) {
            const Parameter& p = s->parameters.at(static_cast<std::size_t>(place.parameter));
            told += (told.empty() ? "" : " ") + p.name;
            if (place.fill == Fill::copied)
                told += std::to_string(p.argument->extents.at(0)->value);
            else if (place.fill == Fill::widened && p.name != "stat")
                told += '+';
        }
        EXPECT_EQ(s->hidden_lengths, 0); // that of bctype is read by nobody
        std::string root = bare_name(*s);
        const bool twin = root.front() == '_';
        root.erase(0, (twin ? 1U : 0U) + (root.find("free_") == std::string::npos ? 2 : 0));
        if (const auto at = root.find("nonuniform_"); at != std::string::npos) {
            EXPECT_EQ(s->letter.real, 's');
            root.erase(at, 11); // arguments of the siblings
        }
        EXPECT_EQ(told, lists_of.at(root));
        EXPECT_EQ(s->callees.front().name, core_name(*s));
    }
    EXPECT_EQ(signature("_d_init_trig_transform").callees.front().name, "qnm_pdett__d_init_trig_transform");
    EXPECT_EQ(signature("D_SPH_P").callees.front().name, "qnm_pdepl_d_sph_p");
}

} // namespace
} // namespace qnm::tests
