#include "frame/trace.hpp"

namespace qnm {

#ifdef __SANITIZE_THREAD__
[[gnu::no_sanitize("thread")]]
#endif
bool tracing(Cell* cell, int found)
{
    if (found == -1)
        *cell = qnm_serv_iface_verbose_mode();
    return **cell != 0;
}

} // namespace qnm
