#include "entry.hpp"

#include <bit>

namespace qnm::tests {

namespace {

constexpr std::uint64_t junk = 0x5A5A'5A5A'0000'0000;
double memory[8]; // for arrays, of which nothing is read

bool has(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

Stream Stream::good, Stream::deleted{{}};

Unbound::Unbound()
{
    for (const auto& [name, symbol] : layer().file().locals())
        if (name.ends_with(".kernel") ||
            (has(name, "vsl5Named") && symbol.type == STT_OBJECT && has(name, "cell")))
            *reinterpret_cast<void**>(layer().base() + symbol.value) = nullptr;
    *layer().local<void*>("vml_dll_handle") = nullptr;
    core().ignore("qnm_serv_strnlen_s");
}

std::vector<std::string> Unbound::looked_up()
{
    std::vector<std::string> names;
    for (const Call& call : core().calls("dlsym"))
        names.push_back(call.text);
    return names;
}

std::vector<std::string> Unbound::lines()
{
    std::vector<std::string> all;
    for (const Call& call : core().calls("qnm_serv_print_verbose_info"))
        all.push_back(call.text);
    return all;
}

void Unbound::expect_handed_on(const Signature& s, const std::string& kernel, std::vector<std::string> calls)
{
    core().clear();
    core().answers(kernel).with(-77);
    const EntryCall call(s);
    EXPECT_EQ(call.run(), -77);
    EXPECT_EQ(looked_up(), s.form->name == "narrow" ? std::vector{kernel} : std::vector<std::string>{});
    core().clear();
    EXPECT_EQ(call.run(), -77);
    if (is_narrow(s))
        calls.emplace_back("qnm_serv_verbose_mode");
    calls.push_back(kernel);
    EXPECT_EQ(story(), calls);
    call.expect_passed(core().calls(kernel).at(0));
}

void Unbound::expect_refused(const EntryCall& call, const std::string& name, int place, int status)
{
    core().clear();
    EXPECT_EQ(call.run(), status);
    EXPECT_EQ(reports(), (Reports{{name, place}}));
    EXPECT_THAT(story(), ::testing::ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_xerbla"));
}

EntryCall::EntryCall(const Signature& signature)
    : signature_(signature),
      bits_(signature.parameters.size()),
      slots_(signature.parameters.size(), &Stream::good)
{
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        const catalogue::Parameter& p = signature.parameters[i];
        std::string type = p.type;
        if (by_reference(i)) {
            type = type.substr(0, type.rfind('*'));
            type = type.starts_with("const ") ? type.substr(6) : type.substr(0, type.rfind(" const"));
        }
        types_.push_back(type);
        if (type == "void**")
            point(i, &slots_[i]);
        else if (type == "void*")
            point(i, &Stream::good);
        else if (type == "const char*" || type == "char*")
            point(i, "a name, and more");
        else if (is_real(i)) // inside (0, 1), and rising
            set(i, 0.25 + static_cast<double>(i) / 16);
        else if (is_half(i) || p.name == "nskip") // falling, but for an upper bound
            set(i, p.name == "method"     ? 0
                   : p.name == "mstorage" ? 2
                   : p.name == "b"        ? 60
                                          : 40 - static_cast<int>(i));
        else
            point(i, &memory[i]);
    }
}

std::size_t EntryCall::index(const std::string& name) const
{
    for (std::size_t i = 0; i < bits_.size(); ++i)
        if (signature_.parameters[i].name == name)
            return i;
    throw std::out_of_range(signature_.names.front() + " has no " + name);
}

bool EntryCall::is_half(std::size_t i) const
{
    return type(i) == "int" || type(i) == "unsigned" || type(i) == "unsigned long long" ||
           (type(i) == "qnm_int64" && signature_.parameters[i].name != "nskip");
}

EntryCall& EntryCall::set(std::size_t i, double number)
{
    if (!is_real(i)) {
        // Of a wide integer entries of streams look at the lower half alone.
        const bool half = is_half(i) && (type(i) != "qnm_int64" || signature_.family == "vsl_streams");
        const auto value = static_cast<std::int64_t>(number);
        bits_[i] = half ? junk | static_cast<std::uint32_t>(value) : static_cast<std::uint64_t>(value);
    } else if (type(i) == "float") {
        bits_[i] = junk | std::bit_cast<std::uint32_t>(static_cast<float>(number));
    } else {
        bits_[i] = std::bit_cast<std::uint64_t>(number);
    }
    return *this;
}

EntryCall& EntryCall::point(std::size_t i, const void* address)
{
    bits_[i] = reinterpret_cast<std::uint64_t>(address);
    return *this;
}

EntryCall& EntryCall::stream(const std::string& name, Stream* stream)
{
    const std::size_t i = index(name);
    slots_[i] = stream;
    return type(i) == "void**" ? *this : point(i, stream);
}

int EntryCall::run() const
{
    std::vector<support::Word> words;
    std::vector<support::Real> reals;
    for (std::size_t i = 0; i < bits_.size(); ++i)
        if (by_reference(i))
            words.emplace_back(&bits_[i]);
        else if (is_real(i))
            reals.emplace_back(std::bit_cast<double>(bits_[i]));
        else
            words.emplace_back(bits_[i]);
    return support::call_words(layer()[signature_.names.front()], words, reals).int32();
}

void EntryCall::expect_passed(const Call& noted, std::size_t ahead) const
{
    EXPECT_TRUE(noted.aligned());
    std::size_t word = ahead, vector = 0;
    for (const catalogue::Place& place : signature_.callees.front().places) {
        const auto i = static_cast<std::size_t>(std::max(place.parameter, 0));
        const auto low = static_cast<std::uint32_t>(bits_.at(i));
        SCOPED_TRACE(signature_.parameters[i].name);
        if (place.parameter < 0) {
            EXPECT_EQ(noted.int32(word++), std::stoi(place.constant));
        } else if (place.fill == Fill::addressed) { // a seed, in a place of the entry's own
            expect_local(noted, word, "seed");
            EXPECT_EQ(noted.behind<std::uint32_t>(word++), low);
        } else if (type(i) == "float") {
            EXPECT_EQ(ahead == 0 ? noted.real32(vector) : noted.real(vector), std::bit_cast<float>(low));
            ++vector;
        } else if (type(i) == "double") {
            EXPECT_EQ(noted.real(vector++), std::bit_cast<double>(bits_[i]));
        } else if (is_half(i)) {
            EXPECT_EQ(static_cast<std::uint32_t>(noted.word(word++)), low);
        } else {
            EXPECT_EQ(noted.word(word++), bits_[i]);
        }
    }
}

} // namespace qnm::tests
