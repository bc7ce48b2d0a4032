// Leaving the process: the application's handler, if it set one, else the C library.
#include <cstdlib>

#include "frame/types.hpp"

namespace {

qnm_exit_t custom_exit = nullptr;

} // namespace

extern "C" {

QNM_EXPORT void QNM_SET_EXIT_HANDLER(qnm_exit_t handler)
{
    custom_exit = handler;
    qnm_serv_set_exit_handler(handler);
}

#define QNM_SAME_EXIT_HANDLER [[gnu::alias("QNM_SET_EXIT_HANDLER"), gnu::visibility("default")]]
QNM_SAME_EXIT_HANDLER void QNM_Set_Exit_Handler(qnm_exit_t handler);
QNM_SAME_EXIT_HANDLER void qnm_set_exit_handler(qnm_exit_t handler);
QNM_SAME_EXIT_HANDLER void qnm_set_exit_handler_(qnm_exit_t handler);

QNM_EXPORT void qnm_serv_iface_exit(int status)
{
    if (custom_exit != nullptr)
        return custom_exit(status);
    std::exit(status);
}
}
