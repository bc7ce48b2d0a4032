// What an entry does but once, or not at all.
#include "frame/report.hpp"
#include "vml/control.hpp"
#include "vml/root.hpp"

#include <cstring>

namespace qnm::vml {

namespace {

constexpr std::size_t prefix = sizeof "qnm_vml_kernel_" - 1, suffix = sizeof "_ttab" - 1;

template <class T>
QNM_BENIGN_RACE void bind_if_null(T& cell, const char* name)
{
    if (cell == nullptr)
        cell = reinterpret_cast<T>(qnm_vml_serv_load_vml_func(name));
}

} // namespace

void bind_tables(Root& root)
{
    const char* const kernels = root.names();
    qnm_vml_serv_load_vml_dll();
    bind_if_null(root.kernels, kernels);
    bind_if_null(root.companions, kernels + std::strlen(kernels) + 1);
}

void bind_index(Root& root)
{
    bind_if_null(root.index, "qnm_vml_kernel_GetTTableIndex");
}

void bind_root(Root& root)
{
    bind_tables(root);
    bind_index(root);
}

void refuse(const Root& root, int n, bool wide, unsigned codes, const void* first, const void* second)
{
    if (n == 0)
        return;
    const bool vector = n > 0; // told as the narrow entry, whichever it was
    int told = 1;
    if (vector) {
        const unsigned at = first == nullptr ? 0 : second == nullptr ? 1 : 2;
        told = static_cast<int>(codes >> (8 * at) & 0xff);
    }
    char name[64] = "v";
    const char* const symbol = root.names() + prefix;
    const std::size_t length = std::strlen(symbol) - suffix;
    std::memcpy(name + 1, symbol, length);
    if (wide && !vector)
        std::memcpy(name + 1 + length, "_64", 4);
    register_chain();
    report(name, measured(name, 25), told);
    told = vector ? -2 : -1;
    VMLSETERRSTATUS_(&told);
}

} // namespace qnm::vml
