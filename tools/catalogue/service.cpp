// Services: their types and their statements.
#include "reader.hpp"

namespace qnm::catalogue {

std::string service_type(const std::string& word)
{
    static const std::map<std::string, std::string> types{{"void", "void"},
                                                          {"int", "int"},
                                                          {"int64", "qnm_int64"},
                                                          {"size", "size_t"},
                                                          {"double", "double"},
                                                          {"float", "float"},
                                                          {"address", "void*"},
                                                          {"text", "const char*"},
                                                          {"buffer", "char*"},
                                                          {"version", "qnm_version_t*"},
                                                          {"integers", "int*"},
                                                          {"code", "const int*"},
                                                          {"mode", "int*"},
                                                          {"clocks", "unsigned long long*"},
                                                          {"handler", "qnm_xerbla_t"},
                                                          {"exit", "qnm_exit_t"},
                                                          {"progress", "qnm_progress_t"},
                                                          {"pivot", "qnm_pardiso_pivot_t"}};
    const auto found = types.find(word);
    return found == types.end() ? std::string{} : found->second;
}

Service read_service(Lexer& lexer, ServiceKind kind)
{
    Service s;
    s.file = lexer.file();
    s.line = lexer.first_line();
    s.kind = kind;
    s.name = lexer.identifier("the service's name");
    const std::string upper = to_upper(s.name);
    const std::string lower = to_lower(s.name);
    s.core = "qnm_serv_" + (lower.rfind("qnm_", 0) == 0 ? lower.substr(4) : lower);
    if (kind == ServiceKind::forward || kind == ServiceKind::service)
        s.spellings = {upper, lower, lower + "_"};
    else if (kind != ServiceKind::core)
        s.spellings = {s.name};
    if (kind == ServiceKind::forward && s.name != upper)
        s.spellings.push_back(s.name);
    if (kind == ServiceKind::core) {
        s.core = s.c_core = s.name;
    } else {
        if (kind == ServiceKind::chain || lexer.peek().text == "also") {
            lexer.accept("also");
            while (is_identifier(lexer.peek().text) && lexer.peek().text != "core")
                s.spellings.push_back(lexer.next().text);
        }
        if (lexer.accept("core"))
            s.core = lexer.identifier("the core's function");
        s.c_core = lexer.accept("but") ? lexer.identifier("the core's function of the C form") : s.core;
    }
    const auto type = [&] {
        if (service_type(lexer.peek().text).empty())
            lexer.fail("a type of the services (int, int64, address, text, buffer, double, ...)");
        return lexer.next().text;
    };
    if (lexer.accept(":"))
        do {
            ServiceArgument a;
            if (lexer.accept("more")) {
                a.type = "more";
                s.arguments.push_back(std::move(a));
                break;
            }
            a.type = type();
            a.name = lexer.identifier("the argument's name");
            a.untouched = lexer.accept("untouched");
            s.arguments.push_back(std::move(a));
        } while (lexer.accept(","));
    if (lexer.accept("->"))
        s.result = type();
    if (!lexer.at_end())
        lexer.fail("'core', 'but', ': arguments', '-> result' or the end of the row");
    return s;
}

} // namespace qnm::catalogue
