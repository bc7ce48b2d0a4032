#include "entry.hpp"

#include <algorithm>

namespace qnm::tests {

namespace {

constexpr std::uint64_t junk = 0x5A5A'5A5A'0000'0000;

bool is_integer(const std::string& type)
{
    return type.find("int") != std::string::npos || type.find("unsigned") != std::string::npos;
}
bool is_vector(const catalogue::Parameter& p)
{
    return p.travel == catalogue::Travel::address;
}
bool is_single(const std::string& type)
{
    return type.find("float") != std::string::npos;
}
bool is_pair(const std::string& type)
{
    return type.find("complex16") != std::string::npos;
}

const void* tables[2][4];
const float* companions()
{
    static const float all[4]{0, 0, 0, 1.25F};
    return all;
}

} // namespace

std::string typed_root(const Signature& signature)
{
    return signature.report_name.substr(1);
}

std::vector<Signature> entries()
{
    std::vector<Signature> all;
    for (Signature& s : support::tables().signatures())
        if (s.family == "vml")
            all.push_back(std::move(s));
    return all;
}

void Unbound::SetUp()
{
    core().reset();
    core().ignore("qnm_serv_strnlen_s");
    core().answers("qnm_serv_vml_cpu_detect").with(9); // which is told as 5
    core().answers("qnm_vml_kernel_GetTTableIndex").with(index);
    core().answers("qnm_vml_kernel_SetMode").with(saved_mode);
}

void Unbound::unbind(const std::string& root)
{
    for (const std::string& cell :
         {"qnm_vml_kernel_" + root + "_ttab", "qnm_vml_kernel_" + root + "_ctab", root + ".func_adr1",
          std::string("vml_dll_handle"), std::string("qnm_vml_kernel_SetMode"),
          std::string("qnm_vml_kernel_SetErrStatus")})
        *layer().local<void*>(cell) = nullptr;
    *layer().local<int>("vml_cpu_type") = -1;
    const std::string kernel = "qnm_vml_kernel_" + root + "_ttab";
    tables[0][index] = core().kernel(kernel);
    core().table(kernel, tables[0]);
    core().table("qnm_vml_kernel_" + root + "_ctab", companions());
}

EntryCall::EntryCall(const Signature& signature) : signature_(signature), bits_(signature.parameters.size())
{
    static double vectors[16];
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        const catalogue::Parameter& p = signature.parameters[i];
        const double value = 1.5 + static_cast<double>(i);
        if (is_vector(p))
            bits_[i][0] = reinterpret_cast<std::uint64_t>(&vectors[i]);
        else if (is_integer(p.type))
            bits_[i][0] = junk | static_cast<std::uint32_t>(i == 0 ? 7 : -101 - static_cast<int>(i));
        else if (is_single(p.type))
            bits_[i][0] = junk | std::bit_cast<std::uint32_t>(static_cast<float>(value));
        else if (p.type.find("complex8") != std::string::npos)
            bits_[i][0] =
                std::uint64_t{std::bit_cast<std::uint32_t>(static_cast<float>(value))} << 32 | 0x40000000;
        else
            bits_[i] = {std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(-value)};
        if (p.name == "mode")
            mode_ = i;
    }
}

void EntryCall::set(std::size_t parameter, std::int32_t number)
{
    bits_[parameter][0] = junk | static_cast<std::uint32_t>(number);
}

void EntryCall::clear(std::size_t parameter)
{
    bits_[parameter][0] = 0;
}

void EntryCall::operator()() const
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        const catalogue::Parameter& p = signature_.parameters[i];
        if (p.travel == catalogue::Travel::number)
            words.emplace_back(bits_[i].data());
        else if (is_vector(p) || is_integer(p.type))
            words.emplace_back(bits_[i][0]);
        else
            for (std::size_t part = 0; part <= (is_pair(p.type) ? 1U : 0U); ++part)
                reals.emplace_back(std::bit_cast<double>(bits_[i][part]));
    }
    support::call_words(layer()[signature_.names.front()], words, reals);
}

std::vector<std::uint64_t> EntryCall::words() const
{
    std::vector<std::uint64_t> all;
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        const catalogue::Parameter& p = signature_.parameters[i];
        if (i != mode_ || i == 0) {
            if (is_vector(p))
                all.push_back(bits_[i][0]);
            else if (is_integer(p.type))
                all.push_back(static_cast<std::uint64_t>(std::int64_t{number(i)}));
        }
    }
    return all;
}

std::vector<std::uint64_t> EntryCall::reals() const
{
    std::vector<std::uint64_t> all;
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        const catalogue::Parameter& p = signature_.parameters[i];
        if (is_vector(p) || is_integer(p.type))
            continue;
        all.push_back(is_single(p.type) ? static_cast<std::uint32_t>(bits_[i][0]) : bits_[i][0]);
        if (is_pair(p.type))
            all.push_back(bits_[i][1]);
    }
    return all;
}

} // namespace qnm::tests
