// Verbose tracing: the cell, the decision, the time and the line. Only the snapshot is on the untraced path.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// Where an entry's mode lives: first at a constant -1, then for good at the core's live word.
using Cell = const int*;

QNM_BENIGN_RACE int snapshot(const Cell& cell)
{
    return *cell;
}

/// Binds the cell if it was found unknown and reads the mode as it is now.
QNM_COLD bool tracing(Cell* cell, int found);

/// Time between two readings. A clock that answers zero is not read again.
class Stopwatch {
public:
    void start() { elapsed_ = -qnm_serv_iface_dsecnd(); }
    void stop()
    {
        if (elapsed_ != 0.0)
            elapsed_ += qnm_serv_iface_dsecnd();
    }
    double elapsed() const { return elapsed_; }

private:
    double elapsed_ = 0.0;
};

/// Formats and hands over one line. The last byte ends the text whatever the formatter did.
template <class... Shown>
void print_line(const char* format, double elapsed, Shown... shown)
{
    constexpr int size = 450;
    char line[size];
    qnm_serv_snprintf_s(line, size, size - 1, format, shown...);
    line[size - 1] = '\0';
    qnm_serv_iface_print_verbose_info(1, line, elapsed);
}

} // namespace qnm
