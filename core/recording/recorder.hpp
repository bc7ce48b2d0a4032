// The recording core: a stand-in that answers for every name that the layer imports, without knowing a
// signature.
//
// Each call is noted with its registers and stack words and then answered: as a test scripted it, or, for the
// few services that the layer leans on (letters, formatting, memory, clock, mode word, reports), as the real
// core would, or with zeros. A test reads
//
//     core().answers("qnm_blas_ddot").with(3.5);
//     call(ddot, &n, x, &incx, y, &incy);
//     EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_blas_ddot")));
//     EXPECT_EQ(core().calls()[0].behind(0), 17);     // the widened n, as it stood during the call
//
// Scripting and reading are for the test's own thread. Calls may come from any number of threads.
#pragma once

#include "recording/call.hpp"

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace qnm::recording {

/// What a test wants one name to answer, from now on.
class Script {
public:
    using Action = std::function<void(Call&, Answer&)>;

    /// The same result each time: a double, float, complex of either, integer or pointer.
    template <class T>
    Script& with(T value)
    {
        return calling([value](Call&, Answer& answer) { answer.returns(value); });
    }

    /// Runs the action while the call is under way, so that it can look behind pointers and write outputs.
    Script& calling(Action action)
    {
        action_ = std::move(action);
        return *this;
    }

    const Action& action() const { return action_; }

private:
    Action action_;
};

/// The handler that heads the chain of error reports.
using Handler = void (*)(const char* srname, const int* info, int len);

class QNM_RECORDING_API Core {
public:
    Core();
    ~Core();
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    /// Back to the beginning: no calls, no scripts, no tables, mode 0, clock at its start, memory given back,
    /// faults forgotten, no head of the chain, the usual names ignored, not quiet.
    void reset();

    // Calls
    // -----------------------------------------------------------------------------------------------------
    /// All noted calls in order. Nested calls (a script or a handler that calls on) stand behind their
    /// caller.
    const std::vector<Call>& calls() const;
    /// Those of one name.
    std::vector<Call> calls(std::string_view name) const;
    /// Forgets the calls; everything else stays.
    void clear();
    /// All names that this core serves, as the layer imports them.
    std::vector<std::string_view> names() const;

    /// Whether calls of this name are noted. All are but qnm_serv_lsame, which every check calls often.
    void ignore(std::string_view name);
    void listen(std::string_view name);
    /// Notes nothing while on, so that threads meet no lock of ours (but the memory's) and a race stays
    /// visible.
    void quiet(bool on);

    // Answers
    // ---------------------------------------------------------------------------------------------------
    /// The script of a name; throws std::invalid_argument if the layer neither imports nor looks up such a
    /// name.
    Script& answers(std::string_view name);
    /// Gives the answer that would have come without a script; for scripts that only want to add something.
    void serve(Call& call, Answer& answer);

    // Kernels
    // ---------------------------------------------------------------------------------------------------
    /// All names that the layer looks up in the library that qnm_serv_load_vml answers, as its texts give
    /// them. A look-up is noted as a call "dlsym" with the name as its text, and finds a function, which is
    /// noted and answered like one of the core. Without a library of kernels beside the test there is no
    /// name, and that service answers null.
    std::vector<std::string_view> kernels() const;
    /// From now on a look-up of the name finds this address in place of the function: data of the test, or
    /// null.
    void table(std::string_view name, const void* address);
    /// The function itself, for instance to stand in such a table. Both throw std::invalid_argument if the
    /// layer looks up no such name.
    void* kernel(std::string_view name) const;

    // Services
    // --------------------------------------------------------------------------------------------------
    /// The n-th allocation from now, counted from 1 over all memory services, answers null. 0 calls it off.
    void fail_allocation(std::size_t n);
    std::size_t live_blocks() const;
    /// What went wrong with memory: releases of unknown blocks or by the wrong partner, writes beyond an end.
    std::vector<std::string> faults() const;
    /// What fresh memory is filled with.
    static constexpr unsigned char poison = 0xA5;

    /// The coming readings of qnm_serv_dsecnd. Behind the last, and from the start without a script (1, 2,
    /// ...), each reading is one second later.
    void clock(std::vector<double> readings);

    /// The live mode word: 0 is off. Its address is what qnm_serv_verbose_mode answers.
    void mode(int value);
    int* mode_word();

    /// Whether qnm_serv_xerbla calls the registered head on, as a real core does. Off at the start.
    void forward_reports(bool on);
    /// The last registered head of the chain, or null.
    Handler head() const;

    /// The trampoline's landing.
    void receive(const char* name, Frame& frame);

private:
    struct State;
    friend struct Services;
    std::unique_ptr<State> state_;
};

/// The one recording core of the process. Usable before any constructor has run.
QNM_RECORDING_API Core& core();

} // namespace qnm::recording
