// Services: exported functions that are jumps to the core.
#pragma once

#include <string>
#include <vector>

namespace qnm::catalogue {

/// How a service stands at the boundary.
enum class ServiceKind {
    service,  // Fortran spellings read their arguments by reference; the C spelling takes them by value
    forward,  // all spellings are one jump to the core
    internal, // one spelling, one jump to the core
    core,     // no spelling: the layer calls the core's function as it is
    chain     // each spelling jumps to the next, the last to the core
};

struct ServiceArgument {
    std::string type; // a word of service_type(), or `more`: arguments that a format tells
    std::string name;
    bool untouched = false; // goes on as it came, in both forms
};

struct Service {
    std::string file;
    int line = 0;
    ServiceKind kind = ServiceKind::forward;
    std::string name; // the C form's spelling, or the only one
    std::string core;
    std::string c_core;                 // where the C form goes
    std::vector<std::string> spellings; // of the Fortran form; of a chain in the order of the walk
    std::vector<ServiceArgument> arguments;
    std::string result = "void";
    std::string where() const { return file + ":" + std::to_string(line); }
};

/// The C type of a service's argument or result; empty for an unknown word.
std::string service_type(const std::string& word);

} // namespace qnm::catalogue
