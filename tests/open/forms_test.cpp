// Transforms through the layer over the open core: the same bits by values, by addresses, by the places of
// addresses and under Fortran names, from the creation of a descriptor to its end.
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <algorithm>
#include <deque>
#include <gtest/gtest.h>

namespace qnm::tests {
namespace {

using support::Word;
using Integers = std::vector<std::int64_t>;

struct Case {
    const char *forward, *backward; // tags
    std::int64_t domain;
    Integers lengths, settings; // slowest first; codes, each with its value
    Integers strides;           // of the far side
};

enum class Form { values, addresses, places, fortran };

class Program {
public:
    Program(const Case& c, Form form) : case_(c), form_(form)
    {
        const auto rank = static_cast<std::int64_t>(c.lengths.size());
        const Word length = rank == 1 ? number(c.lengths[0]) : array(c.lengths, 0);
        call("CreateDescriptor", rank == 1 ? "create_descriptor_1d" : "create_descriptor_highd",
             {&handle_, number(36), number(c.domain), number(rank), length});
        for (std::size_t i = 0; i < c.settings.size(); i += 2)
            call("SetValue", "set_value_intval",
                 {handle(), number(c.settings[i]), number(c.settings[i + 1])});
        for (double& x : data_)
            x = static_cast<double>((&x - data_) * 37 % 101) / 7;
        transform("Forward", "forward_", c.forward, 13);
        transform("Backward", "backward_", c.backward, 12);
        call("FreeDescriptor", "free_descriptor_external", {&handle_});
    }
    std::vector<double> data() const { return {std::begin(data_), std::end(data_)}; }

private:
    Word handle() { return form_ == Form::values ? Word(handle_) : Word(&handle_); }
    Word number(std::int64_t value)
    {
        return form_ == Form::values ? Word(value) : Word(&numbers_.emplace_back(value));
    }
    // By value with the slowest dimension first, behind an offset.
    Word array(Integers values, int offset)
    {
        if (form_ != Form::values)
            std::reverse(values.begin() + offset, values.end());
        std::vector<int>& narrow = narrow_.emplace_back(values.begin(), values.end());
        return form_ == Form::fortran ? Word(narrow.data()) : Word(wide_.emplace_back(values).data());
    }
    void transform(const std::string& way, const std::string& prefix, const std::string& tag, int side)
    {
        if (!case_.strides.empty()) // what was the far side is the near one of the way back
            call("SetValue", "set_value_intvec", {handle(), number(side), array(case_.strides, 1)});
        call("CommitDescriptor", "commit_descriptor_external", {handle()});
        std::vector<Word> words{handle()};
        for (std::size_t i = 0; i < tag.size(); ++i)
            arrays_[i] =
                data_ + 100 * (way == "Forward" || tag.size() == 1 ? i : (i + tag.size() / 2) % tag.size());
        for (std::size_t i = 0; i < tag.size(); ++i)
            words.push_back(form_ == Form::places ? Word(&arrays_[i]) : Word(arrays_[i]));
        if (form_ != Form::places)
            return call("Compute" + way, "compute_" + prefix + tag, words);
        EXPECT_EQ(support::call_words(layer()["dfti_compute_" + prefix + tag + "_cpu"], words).int32(), 0);
    }
    void call(const std::string& c, const std::string& other, const std::vector<Word>& words)
    {
        const std::string name = form_ == Form::values    ? "Dfti" + c
                                 : form_ == Form::fortran ? "dfti_" + other + "_"
                                                          : "qnm_dft_dfti_" + other;
        EXPECT_EQ(support::call_words(layer()[name], words).int32(), 0) << name;
    }
    static const support::Library& layer()
    {
        static const support::Library opened(QNM_LAYER);
        return opened;
    }

    const Case& case_;
    Form form_;
    void* handle_ = nullptr;
    std::deque<std::int64_t> numbers_;
    std::deque<std::vector<int>> narrow_;
    std::deque<Integers> wide_;
    double data_[400] = {};
    double* arrays_[4] = {};
};

TEST(Transforms, GiveTheSameBitsInEachForm)
{
    for (const Case& c : {Case{"z", "z", 32, {5, 7}, {}, {}},
                          {"zz", "zz", 32, {14}, {11, 44, 7, 2, 14, 14, 15, 20}, {}},
                          {"dd", "dd", 32, {9, 4}, {8, 42}, {}},
                          {"dddd", "dddd", 32, {3, 5, 2}, {8, 42, 11, 44}, {}},
                          {"dz", "zd", 33, {4, 6}, {11, 44, 10, 39}, {3, 4, 1}},
                          {"d", "d", 33, {24}, {21, 56}, {}}}) {
        SCOPED_TRACE(c.forward);
        const auto expected = Program(c, Form::values).data();
        for (const Form form : {Form::addresses, Form::places, Form::fortran})
            EXPECT_EQ(Program(c, form).data(), expected) << static_cast<int>(form);
    }
}

} // namespace
} // namespace qnm::tests
