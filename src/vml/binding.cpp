#include "vml/binding.hpp"

#include <cstdlib>
#include <dlfcn.h>
#include <iterator>
#include <unistd.h>

extern "C" {
void* vml_dll_handle = nullptr;
int vml_cpu_type = -1;
}

namespace qnm::vml {

namespace {

QNM_BENIGN_RACE void keep(void** cell, void* found)
{
    *cell = found;
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/// The type that the environment asks for: one digit, or two of a text of two. -1: none, or one that is
/// refused.
int told_type()
{
    char text[32];
    const int length = qnm_serv_getenv("QNM_VML_DEBUG_CPU_TYPE", text, sizeof text);
    if (!is_digit(text[0]))
        return -1;
    int type = text[0] - '0';
    if (length == 2) {
        if (!is_digit(text[1]))
            return -1;
        type = type * 10 + text[1] - '0';
    }
    return type >= 10 || type == 8 ? -1 : type;
}

/// Keeps the type in a cell: as the environment has it, or what `kind` makes of the one that the core
/// detects.
template <class Kind>
QNM_BENIGN_RACE int detect(int& cell, const Kind& kind)
{
    if (cell != -1)
        return cell;
    const int told = told_type();
    if (told != -1)
        return cell = told;
    const int detected = qnm_serv_vml_cpu_detect();
    return cell = kind(detected);
}

int legacy_type asm("qnm_vml_serv_cpu_detect_legacy.vml_cpu_type") = -1;

} // namespace

void fail(int message, int inserts, const char* insert)
{
    if (inserts == 0)
        qnm_serv_print(1, message, 0);
    else
        qnm_serv_print(1, message, inserts, insert);
    qnm_serv_iface_exit(2);
    _exit(2); // the application's handler came back, and there is nothing to go on with
}

void bind(void** cell, const char* name)
{
    qnm_vml_serv_load_vml_dll();
    keep(cell, qnm_vml_serv_load_vml_func(name));
}

} // namespace qnm::vml

using namespace qnm::vml;

extern "C" {

QNM_EXPORT void qnm_vml_serv_load_vml_dll()
{
    if (vml_dll_handle == nullptr)
        keep(&vml_dll_handle, qnm_serv_load_vml());
}

QNM_EXPORT void* qnm_vml_serv_get_dll_handle()
{
    return vml_dll_handle;
}

QNM_EXPORT void* qnm_vml_serv_load_vml_func(const char* name)
{
    if (vml_dll_handle == nullptr)
        fail(771, 0, nullptr);
    void* const found = dlsym(vml_dll_handle, name);
    const char* const error = dlerror(); // of whatever came before, too
    if (error != nullptr || found == nullptr)
        fail(772, 1, name);
    return found;
}

QNM_EXPORT int qnm_vml_serv_cpu_detect()
{
    return detect(vml_cpu_type, [](int detected) {
        static constexpr int types[]{0, 1, 0, 0, 0, 2, 2, 3, 4, 5};
        return static_cast<unsigned>(detected) < std::size(types) ? types[detected] : detected;
    });
}

QNM_EXPORT int qnm_vml_serv_cpu_detect_legacy()
{
    return detect(legacy_type, [](int detected) { return detected; });
}
}
