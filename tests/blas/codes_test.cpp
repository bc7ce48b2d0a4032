// Signatures, letters and codes of all members against the table written by hand. What a check really takes
// and reports is found by trying every argument.
#include "checks.hpp"
#include "published.hpp"

namespace qnm::tests {
namespace {

bool is_option(const Argument& a)
{
    return a.kind == Kind::character || a.kind == Kind::letters;
}

std::string letters_found(const Entry& entry)
{
    std::string all;
    for (const Argument& a : entry.row->arguments) {
        if (!is_option(a))
            continue;
        all += all.empty() ? "" : " ";
        for (char c = 'A'; c <= 'Z'; ++c)
            if (SampleCall call(entry); judged(call.choose(a.name, c).settle()) == 0)
                all += c;
    }
    return all;
}

std::string codes_found(const Entry& entry)
{
    std::set<int> found;
    for (const Argument& a : entry.row->arguments) {
        if (is_option(a))
            found.insert(judged(SampleCall(entry).choose(a.name, 'X')));
        for (const int value : {-1'000'000, -1, 0, 1})
            if (a.kind == Kind::integer || a.kind == Kind::integers)
                found.insert(judged(SampleCall(entry).set(a.name, value)));
    }
    found.erase(0);
    std::string text;
    for (const int code : found)
        text += (text.empty() ? "" : " ") + std::to_string(code);
    return text;
}

std::string signature_found(const Entry& entry)
{
    std::string signature;
    for (const Argument& a : entry.row->arguments) {
        if (is_option(a))
            signature += 'c';
        else if (a.kind == Kind::value)
            signature += 'v';
        else
            signature += a.kind == Kind::integer && !entry.row->groups ? 'i' : 'p';
    }
    return signature;
}

class Codes : public BlasTest {};

TEST_F(Codes, AreThoseOfTheTableWrittenByHand)
{
    std::set<std::string> all, checked;
    for (const Published& p : published())
        for (const std::string& member : expand(p.members))
            for (const char* width : {"", "_64"}) {
                const std::string name = member + width;
                if (name.ends_with("_DIRECT_64"))
                    continue; // these have no wide member
                SCOPED_TRACE(name);
                EXPECT_TRUE(all.insert(name).second);
                const Entry& e = entry(name);
                EXPECT_EQ(signature_found(e), p.signature);
                EXPECT_EQ(e.row->entry_class, p.frame);
                if (p.frame != Class::checked)
                    continue;
                checked.insert(name);
                EXPECT_EQ(letters_found(e), p.letters);
                EXPECT_EQ(codes_found(e), p.codes);
            }
    EXPECT_EQ(checked.size(), 420U);
    EXPECT_EQ(checked_entries().size(), 420U);
    for (const Entry& e : entries())
        EXPECT_TRUE(all.contains(e.name())) << e.name();
}

} // namespace
} // namespace qnm::tests
