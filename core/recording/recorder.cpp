#include "recorder.hpp"
#include "state.hpp"

#include <algorithm>
#include <stdexcept>

// All names that have a stub, closed by a null.
extern "C" const char* const qnm_recording_names[] __attribute__((visibility("hidden")));

extern "C" void qnm_recording_receive(const char* name, qnm::recording::Frame* frame)
{
    qnm::recording::core().receive(name, *frame);
}

namespace qnm::recording {

Core& core()
{
    static Core instance;
    return instance;
}

Core::Core() : state_(std::make_unique<State>())
{
    reset();
}

Core::~Core()
{
    state_->memory.reset();
}

void Core::reset()
{
    clear();
    state_->scripts.clear();
    state_->ignored = {"qnm_serv_lsame"};
    quiet(false);
    state_->memory.reset();
    clock({});
    mode(0);
    forward_reports(false);
    state_->head.store(nullptr, std::memory_order_relaxed);
}

const std::vector<Call>& Core::calls() const
{
    return state_->calls;
}

std::vector<Call> Core::calls(std::string_view name) const
{
    std::vector<Call> found;
    std::copy_if(state_->calls.begin(), state_->calls.end(), std::back_inserter(found),
                 [name](const Call& call) { return call.name == name; });
    return found;
}

void Core::clear()
{
    const std::lock_guard lock(state_->mutex);
    state_->calls.clear();
}

std::vector<std::string_view> Core::names() const
{
    std::vector<std::string_view> all;
    for (const char* const* name = qnm_recording_names; *name != nullptr; ++name)
        all.emplace_back(*name);
    return all;
}

void Core::ignore(std::string_view name)
{
    state_->ignored.emplace(name);
}

void Core::listen(std::string_view name)
{
    if (const auto found = state_->ignored.find(name); found != state_->ignored.end())
        state_->ignored.erase(found);
}

void Core::quiet(bool on)
{
    state_->quiet.store(on, std::memory_order_relaxed);
    state_->memory.quiet(on);
}

Script& Core::answers(std::string_view name)
{
    const auto known = names();
    if (std::find(known.begin(), known.end(), name) == known.end())
        throw std::invalid_argument("the layer imports no " + std::string(name));
    return state_->scripts[std::string(name)];
}

void Core::serve(Call& call, Answer& answer)
{
    if (const auto service = Services::find(call.name))
        service(*this, call, answer);
}

void Core::fail_allocation(std::size_t n)
{
    state_->memory.fail(n);
}

std::size_t Core::live_blocks() const
{
    return state_->memory.live();
}

std::vector<std::string> Core::faults() const
{
    return state_->memory.faults();
}

void Core::clock(std::vector<double> readings)
{
    state_->clock.set(std::move(readings));
}

void Core::mode(int value)
{
    state_->mode = value;
}

int* Core::mode_word()
{
    return &state_->mode;
}

void Core::forward_reports(bool on)
{
    state_->forwards.store(on, std::memory_order_relaxed);
}

Handler Core::head() const
{
    return state_->head.load(std::memory_order_relaxed);
}

void Core::receive(const char* name, Frame& frame)
{
    Call call(name, frame.arguments);
    if (!state_->quiet.load(std::memory_order_relaxed) && !state_->ignored.contains(call.name)) {
        call.capture();
        Services::read_text(call);
        const std::lock_guard lock(state_->mutex);
        state_->calls.push_back(call);
    }
    const auto script = state_->scripts.find(call.name);
    if (script != state_->scripts.end() && script->second.action())
        script->second.action()(call, frame.answer);
    else
        serve(call, frame.answer);
}

static_assert(Core::poison == Memory::poison);

} // namespace qnm::recording
