#pragma once

#include "report.hpp"

#include <string>

namespace qnm::run {

/// The report as one file of HTML, with pictures: no network, no script from elsewhere, and below 2 MB
/// whatever was called.
std::string page_text(const Totals& totals, const RunHead& head);

/// Writes it beside FILE and puts it in its place, so that whoever looks finds a whole one. Throws Refusal
/// with status 125 if that fails.
void write_page(const std::string& file, const std::string& text);

} // namespace qnm::run
