// Leaving the process: the application's handler, if it set one, else the C library.
#include <cstdlib>

#include "frame/types.hpp"

namespace {

using exit_handler = void(int status);
exit_handler* custom_exit = nullptr;

} // namespace

extern "C" {

void qnm_serv_set_exit_handler(exit_handler* handler);

QNM_EXPORT void QNM_SET_EXIT_HANDLER(exit_handler* handler)
{
    custom_exit = handler;
    qnm_serv_set_exit_handler(handler);
}

#define QNM_SAME_EXIT_HANDLER [[gnu::alias("QNM_SET_EXIT_HANDLER"), gnu::visibility("default")]]
QNM_SAME_EXIT_HANDLER void QNM_Set_Exit_Handler(exit_handler* handler);
QNM_SAME_EXIT_HANDLER void qnm_set_exit_handler(exit_handler* handler);
QNM_SAME_EXIT_HANDLER void qnm_set_exit_handler_(exit_handler* handler);

QNM_EXPORT void qnm_serv_iface_exit(int status)
{
    if (custom_exit != nullptr)
        return custom_exit(status);
    std::exit(status);
}
}
