// Text in the mdoc language.
#pragma once

#include <string>

namespace qnm::reference {

/// Text for a line of its own or behind a macro: no escape, no request, no quotation mark that ends it.
std::string plain(const std::string& text);
std::string quoted(const std::string& text);
/// Lines of running text, none longer than pages should have.
std::string wrapped(const std::string& text);
/// The same with its first letter large, unless it is a name of one letter, and a full stop.
std::string sentence(std::string text);

} // namespace qnm::reference
