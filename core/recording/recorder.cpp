#include "recorder.hpp"
#include "state.hpp"

#include <algorithm>
#include <stdexcept>

extern "C" QNM_RECORDING_API void qnm_recording_receive(const char* name, qnm::recording::Frame* frame)
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
    state_->tables.clear();
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

std::vector<std::string_view> names_of(const Stub* stubs)
{
    std::vector<std::string_view> names;
    for (; stubs != nullptr && stubs->name != nullptr; ++stubs)
        names.emplace_back(stubs->name);
    return names;
}

void* stub_of(const Stub* stubs, std::string_view name)
{
    for (; stubs != nullptr && stubs->name != nullptr; ++stubs)
        if (stubs->name == name)
            return stubs->function;
    return nullptr;
}

std::vector<std::string_view> Core::names() const
{
    return names_of(qnm_recording_core);
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
    if (stub_of(qnm_recording_core, name) == nullptr && stub_of(qnm_recording_kernels, name) == nullptr)
        throw std::invalid_argument("the layer imports or looks up no " + std::string(name));
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
