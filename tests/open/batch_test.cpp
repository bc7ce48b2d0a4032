// Batches of all families through the layer, beside single calls of their problems on the same numbers.
#include "core.hpp"

#include "support/function_call.hpp"

namespace qnm::test {
namespace {

using tests::FunctionCall;
using tests::Signature;

constexpr int problems = 3, room = 80; // elements of an array of one problem

// What a batch is beside: the others are not published.
const Signature* single_of(std::string name)
{
    for (const std::string part : {"_batch", "_BATCH", "_strided", "_STRIDED", "_OOP"})
        name.erase(std::min(name.find(part), name.size()), part.size());
    if (const std::size_t at = name.find("SNP"); at != std::string::npos)
        name.erase(at + 1, 2);
    const auto found = tests::signatures(
        [&](const Signature& s) { return s.names.front() == name || s.names.front() == "QNM_" + name; });
    return found.empty() ? nullptr : found[0];
}

// Calls whose arrays hold those of all problems, one behind the other.
struct Problems : FunctionCall {
    using FunctionCall::FunctionCall;
    const std::string& name(std::size_t i) const { return parameters()[i].name; }
    bool whole(std::size_t i) const { return facts(i)->type == "int"; }
    std::size_t parts(std::size_t i) const { return signature().letter.is_complex() && !whole(i) ? 2 : 1; }
    // Units, by which solutions stay whole; integers are 1 or 2, as pivots may be.
    void draw(std::size_t i, int elements)
    {
        fill(name(i), static_cast<std::size_t>(elements) * parts(i));
        for (std::size_t k = 0; k < size(i); ++k)
            put(name(i), whole(i) ? random_integer(1, 2) : 1 - 2 * random_integer(0, 1), k);
    }
    const char* of(std::size_t i, std::size_t problem) const
    {
        const bool four = whole(i) ? narrow() : signature().letter.real == 's';
        return address(name(i)) + size(i) / problems * problem * (four ? 4 : 8);
    }
    // A letter or an integer that is right beside all the others.
    void choose_any(std::size_t i, std::size_t group)
    {
        const std::string told = facts(i)->letters,
                          letters = told.empty() ? (parts(i) == 2 ? "C" : "T") : told;
        if (name(i) == "diag" || name(i) == "ordering")
            choose(name(i), name(i) == "diag" ? 'U' : by_rows() ? 'R' : 'C');
        else if (!is_integer(i))
            choose(name(i), core::upper_case(pick(letters)));
        else if (name(i).starts_with("inc"))
            set(name(i), group == 0 ? 2 : -1);
        else
            set(name(i),
                name(i) == "lwork" ? room : random_integer(2, 5) + (name(i).starts_with("ld") ? 4 : 0));
    }
};

// Of the groups the first has a problem, and the last but one the others; what they share takes turns.
void expect_single_calls(const Signature& s, const Signature& single, int layout, int some)
{
    QNM_TRACE_SIGNATURE(s);
    FunctionCall batch(s, layout, some);
    Problems before(single, layout), source = before;
    const bool inverts = batch.has("ainv");
    const std::size_t groups = batch.has_groups() ? static_cast<std::size_t>(some) : 1, last = groups - 2;
    std::vector<Problems> shared(groups == 1 ? 1 : 3, before);
    std::vector<std::size_t> arrays;
    const auto in_batch = [&](std::size_t i) {
        const std::string& name = before.name(i);
        return name == "ordering"                          ? "layout"
               : inverts && (name == "a" || name == "lda") ? name + "inv"
                                                           : name;
    };
    for (std::size_t i = 0; i < single.parameters.size(); ++i) {
        const std::string &name = before.name(i), of = in_batch(i);
        const bool number = name == "alpha" || name == "beta";
        if (before.facts(i) == nullptr)
            continue;
        if (before.facts(i)->array || name == "info") {
            arrays.push_back(i);
            before.draw(i, name == "info" ? problems : problems * room);
            for (std::size_t k = 0; k < before.size(i) && !batch.has(of); ++k)
                before.put(name, static_cast<long double>(k % room + 1), k); // pivots that exchange nothing
            continue;
        }
        if (number)
            batch.fill(of, groups * before.parts(i));
        for (std::size_t g = 0; g < shared.size(); ++g)
            if (number)
                shared[g].draw(i, 1), shared[g].put(name, static_cast<long double>(g + 2));
            else
                shared[g].choose_any(i, g);
        const std::size_t each = shared[0].size(i);
        for (std::size_t k = 0; batch.has(of) && k < std::min(batch.size(of), groups * each); ++k)
            batch.put(of, shared[k / each % 3].number(i, k % each), k);
    }
    Problems together = before, alone = before;
    std::map<std::string, std::vector<const char*>> addresses;
    const auto hand_over = [&](const std::string& of, const Problems& memory, std::size_t i) {
        for (std::size_t p = 0; p < problems; ++p)
            addresses[of].push_back(memory.of(i, p));
        const bool one = groups == 1 || of == "info" || of == "work";
        batch.point(of, one ? addresses[of][0] : static_cast<const void*>(addresses[of].data()));
        for (const std::string& stride : {"stride" + of, std::string("stride")})
            if (batch.has(stride))
                batch.set(stride, room);
    };
    for (const std::size_t i : arrays)
        if (batch.has(in_batch(i)))
            hand_over(in_batch(i), together, i);
    if (inverts) {
        source.draw(source.index("a"), problems * room);
        hand_over("a", source, source.index("a"));
        batch.set("lda", 9);
    }
    if (groups == 1)
        batch.set("batch_size", problems);
    else // less than none, where that is not refused
        batch.set("group_size", groups > 4 || batch.is_bounded("group_size") ? 0 : -1)
            .put("group_size", 1)
            .put("group_size", 2, last);
    batch.run();
    for (std::size_t p = 0; p < problems; ++p) {
        Problems call = shared[groups == 1 || p == 0 ? 0 : last % 3];
        for (const std::size_t i : arrays)
            call.point(call.name(i), alone.of(i, p));
        const std::size_t a = call.index(inverts ? "a" : call.name(arrays[0])), parts = call.parts(a);
        const auto n = static_cast<std::size_t>(inverts ? call.integer("n") : 0);
        for (std::size_t j = 0; j < n; ++j)
            for (std::size_t k = 0; k < n * parts; ++k)
                alone.put("a", source.number(a, (p * room + j * 9) * parts + k),
                          (p * room + j * static_cast<std::size_t>(call.integer("lda"))) * parts + k);
        call.run();
    }
    for (const std::size_t i : arrays)
        if (before.name(i) != "work") {
            EXPECT_EQ(together.values(before.name(i)), alone.values(before.name(i))) << before.name(i);
        }
    EXPECT_FALSE(together == before);
}

TEST(Batches, ComeToWhatSingleCallsMake)
{
    int compared = 0;
    for (const Signature* s :
         tests::signatures([](const Signature& x) { return x.root.find("_batch") != std::string::npos; }))
        if (const Signature* single = s->callees.empty() ? nullptr : single_of(s->names.front()))
            for (const int layout : {tests::column_major, tests::row_major})
                if (layout == tests::column_major || FunctionCall(*s).has("layout")) {
                    for (const int groups : {3, 4, 1026}) // letters of codes come in blocks of 1024
                        expect_single_calls(*s, *single, layout, groups);
                    ++compared;
                }
    EXPECT_EQ(compared, 2 * (2 * 26 + 36 + 2 * 20) + 2 * 2 * (2 * 18 + 8));
}

// Which has no single call. A vector with a step below zero begins at its end.
QNM_TYPED(Batches, OfProductsWithADiagonal)
{
    constexpr core_int distance = 40, one = 1;
    for (const char side : {'L', 'r'})
        for (const core_int inc : {2, -1}) {
            const Matrix<T> a(3, 4), x(side == 'L' ? 3 : 4, 1, 0, inc);
            Matrix<T> c(3, 4, 5), expected = c;
            for (core_int at = 0; at < 12; ++at)
                expected(at % 3, at / 3) = x(side == 'L' ? at % 3 : at / 3, 0) * a(at % 3, at / 3);
            blas<T>("?dgmm_batch_strided", side, a.rows, a.columns, a, distance, x.data, inc, distance, c,
                    distance, one);
            EXPECT_EQ(c.data, expected.data);
        }
}

TEST(Batches, NoGroupReadsNoArray)
{
    const std::int32_t none = 0;
    const void* null = nullptr;
    by_value("qnm_blas_dcopy_batch", null, null, null, null, null, &none, null, 1);
}

} // namespace
} // namespace qnm::test
