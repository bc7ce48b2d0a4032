// The library of kernels, which the layer opens through the core and asks by name.
#include "state.hpp"

#include <dlfcn.h>
#include <stdexcept>

namespace qnm::recording {

void Core::table(std::string_view name, const void* address)
{
    static_cast<void>(kernel(name));
    state_->tables[std::string(name)] = address;
}

void* Core::kernel(std::string_view name) const
{
    if (void* const stub = stub_of(qnm_recording_kernels, name))
        return stub;
    throw std::invalid_argument("the layer looks up no " + std::string(name));
}

std::vector<std::string_view> Core::kernels() const
{
    return names_of(qnm_recording_kernels);
}

// The test loads the library as it starts: opening it here yields the handle alone.
void Services::load_kernels(Core&, Call&, Answer& answer)
{
    Dl_info library;
    void* handle = nullptr;
    if (qnm_recording_kernels != nullptr && dladdr(qnm_recording_kernels, &library) != 0)
        handle = dlopen(library.dli_fname, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    answer.returns(handle);
}

// (name, stub): see stub.inc.
void Services::look_up(Core& core, Call& call, Answer& answer)
{
    const auto& tables = state(core).tables;
    const auto table = tables.find(call.pointer<const char>(0));
    answer.returns(table == tables.end() ? call.pointer<const void>(1) : table->second);
}

} // namespace qnm::recording
