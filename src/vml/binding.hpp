// The library of kernels, which the core opens at run time: found by name at first use, and kept for good.
// Nothing is locked: each cell goes once from null to its value, and threads that race store the same.
#pragma once

#include "frame/types.hpp"

extern "C" {
void qnm_vml_serv_load_vml_dll();
void* qnm_vml_serv_get_dll_handle();
void* qnm_vml_serv_load_vml_func(const char* name);
QNM_COLD int qnm_vml_serv_cpu_detect(); // once, as a rule: entries look into its cell
int qnm_vml_serv_cpu_detect_legacy();

/// The open library; null before the first call.
extern void* vml_dll_handle [[gnu::visibility("hidden")]];
/// The type of the processor; -1 while it is not known.
extern int vml_cpu_type [[gnu::visibility("hidden")]] asm("qnm_vml_serv_cpu_detect.vml_cpu_type");
}

namespace qnm::vml {

/// Writes a message and ends the process, whatever the application's handler does.
[[noreturn]] QNM_COLD void fail(int message, int inserts, const char* insert);

/// Opens the library if it is not open, and binds a cell.
QNM_COLD void bind(void** cell, const char* name);

/// A kernel by its cell. A bound one proves that the library is open.
template <class F>
QNM_BENIGN_RACE F* bound(F*& cell, const char* name)
{
    if (unlikely(cell == nullptr))
        bind(reinterpret_cast<void**>(&cell), name);
    return cell;
}

QNM_BENIGN_RACE int processor_type()
{
    const int type = vml_cpu_type;
    return unlikely(type == -1) ? qnm_vml_serv_cpu_detect() : type;
}

} // namespace qnm::vml
