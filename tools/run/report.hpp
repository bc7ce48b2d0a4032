#pragma once

#include "totals.hpp"

#include <string>
#include <vector>

namespace qnm::run {

/// What is told of a run besides its calls.
struct RunHead {
    std::string program;     ///< its file
    std::string command;     ///< with its arguments
    std::string process;     ///< "process 1 of 3: ", where there are several with a qnm-run each
    std::string began;       ///< date and time
    double seconds = 0;      ///< that it has run
    bool goes_on = false;    ///< and runs on
    std::string passed_by;   ///< what it has from others; empty: nothing, or it runs on
    std::string why_nothing; ///< if nothing was told
};

/// A table as text and page show it: cells are the same in both.
struct Table {
    struct Column {
        std::string name;
        bool is_number = false; ///< stands to the right
    };
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

/// A duration with three significant digits and its unit, such as "12.3ms".
std::string duration_text(double seconds);
/// "12.3%".
std::string share_text(double part, double whole);

/// Longest total time first, then a row of totals; without rows if there was no call.
Table routines_table(const Totals& totals);
/// Refused calls by routine and argument, most first.
Table bad_table(const Totals& totals);
Table plans_table(const Totals& totals);

/// "./longley ran 1.57ms, 50.4us of it (3.2%) inside of the library".
std::string head_line(const Totals& totals, const RunHead& head);
/// The tables that have rows, one below the other.
std::string report_text(const Totals& totals);

} // namespace qnm::run
