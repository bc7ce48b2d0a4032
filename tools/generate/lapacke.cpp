// The C interface to LAPACK: for each member and width its work level and its high level, each one call of a
// template.
#include <algorithm>
#include <map>
#include <set>

#include "output.hpp"
#include "prototypes.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;
using Role = LapackeArgument::Role;

void append(std::string& list, const std::string& item)
{
    list += (list.empty() ? "" : ", ") + item;
}

/// One member at one width: its letters, names and expressions.
class Member {
public:
    Member(const LapackePlan& plan, const Precision& precision, Width width)
        : plan_(plan), precision_(precision), width_(width), entry_{plan.row, precision, width}
    {
    }

    std::string text()
    {
        std::string text = declaration();
        if (plan_.c->shape == LapackeShape::one_level)
            return text + one_level();
        return text + work() + high() + "\n";
    }

private:
    bool wide() const { return width_ == Width::wide; }
    std::string integer() const { return wide() ? "core_int" : "int"; }
    std::string suffix() const { return wide() ? "_64" : ""; }
    std::string routine() const { return to_lower(Entry{plan_.row, precision_, Width::narrow}.name()); }
    std::string name() const { return lapacke_name(*plan_.row, precision_, width_, true); }
    std::string work_name() const { return lapacke_name(*plan_.row, precision_, width_, false); }
    std::string fortran() const { return "qnm_lapack__" + routine() + suffix() + "_"; }

    std::string type(const std::string& word) const
    {
        return word == "int" || word == "logical" ? integer() : c_type(word, precision_, width_);
    }
    std::string element(const LapackeArgument& a) const { return type(a.argument->type); }
    std::string value_type() const
    {
        return plan_.row->result.kind == ResultKind::value ? type(plan_.row->result.type) : "";
    }
    std::string result() const { return value_type().empty() ? integer() : value_type(); }

    /// The letter of the helpers of an array.
    std::string letter(const LapackeArgument& a) const
    {
        static const std::map<std::string, std::string> letters{
            {"float", "s"}, {"double", "d"}, {"qnm_complex8", "c"}, {"qnm_complex16", "z"}};
        return letters.at(element(a));
    }

    std::string parameter(const LapackeArgument& a) const
    {
        return element(a) + (a.address ? "* " : " ") + a.argument->name;
    }

    std::string parameters(bool high) const
    {
        std::string list = plan_.has_layout() ? "int matrix_layout" : "";
        for (const LapackeArgument& a : plan_.arguments)
            if (!high || !a.hidden)
                append(list, parameter(a));
        if (high)
            for (const Addition& add : plan_.c->additions)
                append(list, type(add.type) + "* " + add.name);
        return list;
    }

    /// An integer expression, formed in 64 bits; of letters alone if `letters`.
    std::string cxx(const Expression& e, bool letters = false) const
    {
        const auto operand = [&](std::size_t i) { return cxx(*e.operands[i], letters && i > 0); };
        switch (e.kind) {
        case EKind::number:
            return "core_int{" + std::to_string(e.value) + "}";
        case EKind::name:
            return name_text(e.text, letters);
        case EKind::letter: {
            const LapackeArgument* a = plan_.find(e.text);
            std::string any;
            for (const char c : e.letters)
                any += (any.empty() ? "" : " || ") + std::string("option(") + (a->address ? "*" : "") +
                       e.text + ", '" + c + "')";
            return "(" + any + ")";
        }
        case EKind::condition:
            return "(" + operand(0) + " ? " + operand(1) + " : " + operand(2) + ")";
        case EKind::negation:
            return (e.text == "-" ? "-" : "!") + operand(0);
        case EKind::call: {
            if (e.text == "nonzero" || e.text == "reached") {
                std::string list;
                for (const ExpressionPtr& o : e.operands)
                    append(list, o->text);
                return e.text + (e.text == "reached" ? "<" + integer() + ">(" : "(") + list + ")";
            }
            if (e.text == "abs" || e.text == "odd")
                return (e.text == "abs" ? "magnitude<core_int>(" : "((1 & ") + operand(0) +
                       (e.text == "abs" ? ")" : ") != 0)");
            std::string text = operand(0);
            for (std::size_t i = 1; i < e.operands.size(); ++i)
                text = (e.text == "max" ? "larger<core_int>(" : "smaller<core_int>(") + text + ", " +
                       operand(i) + ")";
            return text;
        }
        case EKind::binary: {
            const std::string op = e.text == "and" ? "&&" : e.text == "or" ? "||" : e.text;
            return "(" + operand(0) + " " + op + " " + operand(1) + ")";
        }
        }
        return {};
    }

    std::string name_text(const std::string& word, bool letters) const
    {
        if (word == "row_major")
            return "(matrix_layout == row_major)";
        if (const auto exchanged = exchange_.find(word); exchanged != exchange_.end())
            return "core_int{" + exchanged->second + "}";
        if (const LapackeArgument* a = plan_.find(word)) {
            if (high_ && a->facts.given)
                return cxx(*a->facts.given);
            const std::string text = (a->address ? "*" : "") + word;
            return letters || a->argument->type == "char" ? text : "core_int{" + text + "}";
        }
        for (const auto* definitions : {&plan_.c->definitions, &plan_.row->definitions})
            for (const Definition& d : *definitions)
                if (d.name == word)
                    return cxx(*d.value, letters);
        return std::string("'") + static_cast<char>(std::tolower(static_cast<unsigned char>(word[0]))) + "'";
    }

    /// An option of a form as its helpers take it.
    std::string option_text(const Form& form, std::size_t i) const
    {
        const Expression& e = *form.options[i];
        const LapackeArgument* a = e.kind == EKind::name ? plan_.find(e.text) : nullptr;
        if (a != nullptr && !(high_ && a->facts.given))
            return (a->address ? "*" : "") + e.text;
        if (i < form.letters())
            return cxx(e, true);
        return "static_cast<" + integer() + ">(" + cxx(e) + ")";
    }

    std::string condition(const ExpressionPtr& e) const
    {
        return !e ? "true" : e->kind == EKind::name ? e->text + " != 0" : cxx(*e);
    }

    std::string declaration() const
    {
        std::string types;
        for (std::size_t i = 0; i < plan_.arguments.size() + (plan_.has_info ? 1 : 0); ++i)
            append(types, "const void*");
        return "extern \"C\" " + (value_type().empty() ? "void" : value_type()) + " " + fortran() + "(" +
               types + ");\n";
    }

    /// The call of the Fortran entry; `copies` stand in for matrices.
    std::string call(bool copies, const std::string& info) const
    {
        std::string list;
        for (const LapackeArgument& a : plan_.arguments) {
            const std::string& name = a.argument->name;
            const auto exchanged = exchange_.find(name);
            if (const auto other = replaced_.find(name); other != replaced_.end())
                append(list, other->second);
            else if (exchanged != exchange_.end())
                append(list, "&" + exchanged->second);
            else if (copies && a.role == Role::matrix)
                append(list, name + "_t.place");
            else if (copies && a.role == Role::leading)
                append(list, "lent(" + plan_.arguments[static_cast<std::size_t>(a.matrix)].argument->name +
                                 "_t.copy_ld())");
            else
                append(list, (a.address ? "" : "&") + name);
        }
        if (plan_.has_info)
            append(list, info);
        return fortran() + "(" + list + ")";
    }

    std::string form_type(const Form& form, bool behind = false) const
    {
        std::string type = form.name;
        type[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(type[0])));
        return type + (behind ? "Behind" : "") + "<" + integer() + ">";
    }

    /// Whether a form's columns are known after the call only.
    bool behind(const Form& form) const
    {
        const LapackeArgument* a = form.name == "ge" && form.options[1]->kind == EKind::name
                                       ? plan_.find(form.options[1]->text)
                                       : nullptr;
        return a != nullptr && a->address;
    }

    std::string form_value(const Form& form) const
    {
        std::string list;
        const bool later = behind(form);
        for (std::size_t i = 0; i < form.options.size(); ++i)
            append(list, later && i == 1 ? form.options[1]->text : option_text(form, i));
        return form_type(form, later) + "{" + list + "}";
    }

    /// A condition of a move, where the copy exists.
    static bool same(const ExpressionPtr& a, const ExpressionPtr& b)
    {
        return (!a && !b) || (a && b && to_text(*a) == to_text(*b));
    }
    std::string moves_when(const std::vector<FormUse>& uses, const LapackeArgument& a) const
    {
        if (uses.empty())
            return "false";
        if (uses.size() > 1 || same(uses[0].when, a.facts.when))
            return "true";
        return condition(uses[0].when);
    }

    std::string matrix(std::size_t index) const
    {
        const LapackeArgument& a = plan_.arguments[index];
        const LapackeArgument* ld = nullptr;
        for (const LapackeArgument& other : plan_.arguments)
            if (other.role == Role::leading && other.matrix == static_cast<int>(index))
                ld = &other;
        const std::string form = form_value(a.form);
        std::string back = form;
        std::string back_type = form_type(a.form);
        if (a.out.size() == 2) {
            back_type = "Either<" + form_type(a.out[0].form) + ", " + form_type(a.out[1].form) + ">";
            back = back_type + "{" + condition(a.out[0].when) + ", " + form_value(a.out[0].form) + ", " +
                   form_value(a.out[1].form) + "}";
        } else if (a.out.size() == 1) {
            back = form_value(a.out[0].form);
            back_type = form_type(a.out[0].form, behind(a.out[0].form));
        }
        std::string leading = "0, 0, 0";
        if (ld != nullptr)
            leading = ld->argument->name + ", " + std::to_string(ld->position) + ", static_cast<" +
                      integer() + ">(" + cxx(*ld->bound) + ")";
        else if (!a.form.is_packed())
            leading = "static_cast<" + integer() + ">(" + cxx(*a.form.columns()) + "), 0, 0";
        return "Matrix<" + element(a) + ", " + integer() + ", " + form_type(a.form) + ", " + back_type +
               ">{" + a.argument->name + ", " + leading + ", " + condition(a.facts.when) + ", " +
               moves_when(a.in, a) + ", " + moves_when(a.out, a) + ", " + form + ", " + back + "}";
    }

    std::string asks() const
    {
        if (plan_.c->asks)
            return cxx(*plan_.c->asks);
        std::string any;
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::size)
                any += (any.empty() ? "" : " || ") + a.argument->name + " == -1";
        return any.empty() ? "false" : any;
    }

    int position_of(const std::string& argument) const { return plan_.find(argument)->position; }

    std::string refused() const
    {
        if (!plan_.c->refused)
            return "0";
        return "(" + cxx(*plan_.c->refused) + " ? " + std::to_string(position_of(plan_.c->refused_as)) +
               " : 0)";
    }

    /// A call inside a lambda; `R` for a function with a value.
    std::string passed(const std::string& inner) const
    {
        const std::string info = plan_.has_info ? "void* info" : "void* /*info*/";
        if (value_type().empty())
            return "passed_on<" + integer() + ">([&](" + info + ") { " + inner + "; })";
        return inner;
    }

    std::string work()
    {
        std::string body;
        const std::string info = plan_.has_info ? "void* info" : "void* /*info*/";
        switch (plan_.c->shape) {
        case LapackeShape::flat:
            body = value_type().empty()
                       ? "plain<" + integer() + ">([&](" + info + ") { " + call(false, "info") + "; })"
                       : call(false, "info");
            break;
        case LapackeShape::options:
            replaced_["trans"] = "told";
            body = "is_layout(matrix_layout) ? by_option<" + integer() +
                   ">(matrix_layout, trans, [&](const char* told, " + info + ") { " + call(false, "info") +
                   "; }) : misused<" + integer() + ">(\"" + work_name() + "\", 1)";
            replaced_.clear();
            break;
        default:
            body = "matrix_layout == column_major ? " + passed(call(false, "info")) +
                   "\n        : matrix_layout == row_major ? " +
                   (plan_.c->shape == LapackeShape::turned ? turned_row() : row()) + "\n        : misused<" +
                   result() + ">(\"" + work_name() + "\", 1)";
        }
        return "extern \"C\" QNM_EXPORT " + result() + " " + work_name() + "(" + parameters(false) +
               ")\n{\n    return " + body + ";\n}\n";
    }

    std::string row() const
    {
        std::string lambda = "[&](";
        lambda += plan_.has_info ? "void* info" : "void* /*info*/";
        std::string matrices;
        for (std::size_t i = 0; i < plan_.arguments.size(); ++i)
            if (plan_.arguments[i].role == Role::matrix) {
                lambda += ", auto& " + plan_.arguments[i].argument->name + "_t";
                matrices += ",\n            " + matrix(i);
            }
        const std::string inner = call(true, "info");
        if (!value_type().empty())
            return "transposed_value<" + integer() + ", " + value_type() + ">(\"" + work_name() + "\", " +
                   lambda + ") { return " + inner + "; }" + matrices + ")";
        return "transposed<" + integer() + ">(\"" + work_name() + "\", " + asks() + ", " + refused() +
               ",\n            " + lambda + ") { " + inner + "; }" + matrices + ")";
    }

    /// The test of leading dimensions alone: the position of the first that is too small, or 0.
    std::string bad_leading() const
    {
        std::string text;
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::leading)
                text += a.argument->name + " < " + cxx(*a.bound) + " ? " + std::to_string(a.position) + " : ";
        return text + "0";
    }

    std::string turned_row()
    {
        const std::string bad = bad_leading();
        for (const auto& [a, b] : plan_.c->exchanged) {
            exchange_[a] = b;
            exchange_[b] = a;
        }
        std::string length = "0";
        std::string work_type = "char";
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::workspace) {
                length = cxx(*a.room);
                work_type = element(a);
                replaced_[a.argument->name] = "own_work";
            }
        const bool norm = plan_.find("norm") != nullptr;
        const bool uplo = plan_.find("uplo") != nullptr;
        if (norm)
            replaced_["norm"] = "other_norm";
        if (uplo)
            replaced_["uplo"] = "other_uplo";
        std::string inner;
        if (value_type().empty()) {
            inner = "return passed_on<" + integer() + ">([&](" +
                    (plan_.has_info ? "void* info" : "void* /*info*/") + ") { " + call(false, "info") +
                    "; })";
        } else {
            inner = "return " + call(false, "info");
        }
        const std::string text = "turned<" + integer() + ", " + result() + ", " + work_type + ">(\"" +
                                 work_name() + "\", " + bad + ", " + (norm ? "norm" : "' '") + ", " +
                                 (uplo ? "uplo" : "' '") + ", " + length + ",\n            [&](const char* " +
                                 (norm ? "other_norm" : "/*norm*/") + ", const char* " +
                                 (uplo ? "other_uplo" : "/*uplo*/") + ", " + work_type + "* " +
                                 (length == "0" ? "/*work*/" : "own_work") + ") { " + inner + "; })";
        exchange_.clear();
        replaced_.clear();
        return text;
    }

    std::string layout() const
    {
        return plan_.c->shape == LapackeShape::options ? "option_layout(matrix_layout, trans)"
                                                       : "matrix_layout";
    }

    std::string nancheck(std::size_t index, const FormUse& use) const
    {
        const LapackeArgument& a = plan_.arguments[index];
        const Form& form = use.form;
        const std::string array =
            (a.address ? "" : "&") + a.argument->name + (use.offset ? " + " + cxx(*use.offset) : "");
        const std::string function = "LAPACKE_" + letter(a) + form.name + "_nancheck" + suffix();
        if (form.is_vector()) {
            const Expression& length = *form.options[0];
            const std::string count = length.kind == EKind::name && plan_.find(length.text) != nullptr
                                          ? length.text
                                          : "static_cast<" + integer() + ">(" + cxx(length) + ")";
            const std::string by =
                use.increment ? "static_cast<" + integer() + ">(" + cxx(*use.increment) + ")" : "1";
            return function + "(" + count + ", " + array + ", " + by + ")";
        }
        std::string list;
        if (!form.is_packed() || form.name == "tp" || form.name == "tf") {
            list = layout();
            for (std::size_t i = 0; i < form.options.size(); ++i)
                append(list, option_text(form, i));
        } else {
            append(list, option_text(form, form.options.size() - 1));
        }
        append(list, array);
        if (!form.is_packed()) {
            const std::size_t next = index + 1;
            const bool ld =
                next < plan_.arguments.size() && plan_.arguments[next].argument->name.rfind("ld", 0) == 0;
            append(list, ld ? plan_.arguments[next].argument->name
                            : "static_cast<" + integer() + ">(" + cxx(*form.columns()) + ")");
        }
        return function + "(" + list + ")";
    }

    /// The chain of NaN checks: the position of the first array that holds one, or 0.
    std::string checks() const
    {
        std::string text;
        if (plan_.c->refused_with_nan)
            text += cxx(*plan_.c->refused) + " ? reported(\"" + name() + "\", " +
                    std::to_string(position_of(plan_.c->refused_as)) + ")\n            : ";
        for (const int i : plan_.checked) {
            const LapackeArgument& a = plan_.arguments[static_cast<std::size_t>(i)];
            for (const FormUse& use : a.checks)
                text += (use.when ? cxx(*use.when) + " && " : "") +
                        nancheck(static_cast<std::size_t>(i), use) + " != 0 ? " + std::to_string(a.position) +
                        "\n            : ";
        }
        return text.empty() ? "" : text + "0";
    }

    /// The workspaces, in the order in which they are taken.
    std::vector<const LapackeArgument*> workspaces() const
    {
        std::vector<const LapackeArgument*> all;
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::workspace)
                all.push_back(&a);
        std::stable_sort(all.begin(), all.end(), [](const LapackeArgument* a, const LapackeArgument* b) {
            return a->argument->name < b->argument->name;
        });
        return all;
    }

    /// The workspace that a size belongs to: the one whose extent it is, or that it is named after.
    std::string workspace_of(const LapackeArgument& size) const
    {
        const std::string& name = size.argument->name;
        for (const LapackeArgument& a : plan_.arguments) {
            if (a.role != Role::workspace)
                continue;
            bool mentioned = name == "l" + a.argument->name || name == "ld" + a.argument->name;
            for (const ExpressionPtr& e : a.argument->extents)
                walk(*e, [&](const Expression& node) { mentioned = mentioned || node.text == name; });
            if (mentioned)
                return a.argument->name;
        }
        throw TableError(plan_.c->where() + ": '" + name + "': expected a workspace of this size");
    }

    std::string call_of_work() const
    {
        std::string list = plan_.has_layout() ? "matrix_layout" : "";
        for (const LapackeArgument& a : plan_.arguments) {
            const std::string& name = a.argument->name;
            if (a.role == Role::workspace)
                append(list, name + "_w.place");
            else if (a.role == Role::size)
                append(list, workspace_of(a) + "_w.size");
            else if (a.role == Role::given)
                append(list, "static_cast<" + integer() + ">(" + cxx(*a.facts.given) + ")");
            else
                append(list, name);
        }
        return work_name() + "(" + list + ")";
    }

    std::string workspace(const LapackeArgument& a) const
    {
        const std::string when = condition(a.facts.room_when);
        if (a.room)
            return "Fixed<" + element(a) + ">{" + cxx(*a.room) + ", " + when + "}";
        if (a.argument->extents.empty() && a.facts.asked)
            return "AskedTable<" + element(a) + ", " + integer() + ">{}";
        return "Asked<" + element(a) + ", " + integer() + ">{" + when + "}";
    }

    /// Values that an addition takes into a workspace or out of it.
    std::string moved(bool in) const
    {
        std::string text;
        for (const Addition& add : plan_.c->additions) {
            const std::string place =
                add.workspace + "_w.place" + (add.offset != 0 ? " + " + std::to_string(add.offset) : "");
            if (in && add.first_goes_in)
                text += "copy_values(" + add.workspace + "_w.place, " + add.name + ", 1); ";
            else if (!in)
                text += "copy_values(" + add.name + ", " + place + ", " +
                        (add.count ? cxx(*add.count) : "1") + "); ";
        }
        return text;
    }

    std::string high()
    {
        high_ = true;
        std::string body = call_of_work();
        const std::vector<const LapackeArgument*> rooms = workspaces();
        if (!rooms.empty()) {
            std::string names;
            std::string values;
            for (const LapackeArgument* a : rooms) {
                append(names, "[[maybe_unused]] auto& " + a->argument->name + "_w");
                values += ",\n                " + workspace(*a);
            }
            const auto step = [&](const std::string& text) {
                return text.empty() ? std::string("nothing") : "[&](" + names + ") { " + text + "}";
            };
            body = "worked<" + result() + ">(\"" + name() + "\", " +
                   (plan_.c->stops ? cxx(*plan_.c->stops) : "false") + ",\n                [&](" + names +
                   ") { return " + body + "; },\n                " + step(moved(true)) + ", " +
                   step(moved(false)) + values + ")";
        }
        const std::string nan = checks();
        const std::string then = "[&] { return " + body + "; }";
        std::string text = body;
        if (plan_.has_layout() && !nan.empty())
            text = "with_layout<" + result() + ">(\"" + name() + "\", matrix_layout,\n        [&] { return " +
                   nan + "; },\n        " + then + ")";
        else if (plan_.has_layout())
            text =
                "is_layout(matrix_layout) ? " + body + " : misused<" + result() + ">(\"" + name() + "\", 1)";
        else if (!nan.empty())
            text = "without_layout<" + result() + ">([&] { return " + nan + "; },\n        " + then + ")";
        high_ = false;
        return "extern \"C\" QNM_EXPORT " + result() + " " + name() + "(" + parameters(true) +
               ")\n{\n    return " + text + ";\n}\n";
    }

    std::string one_level() const
    {
        return "extern \"C\" QNM_EXPORT void " + name() + "(" + parameters(true) + ")\n{\n    " +
               call(false, "info") + ";\n}\n";
    }

    const LapackePlan& plan_;
    const Precision& precision_;
    Width width_;
    Entry entry_;
    bool high_ = false;
    std::map<std::string, std::string> exchange_; // sizes that change places
    std::map<std::string, std::string> replaced_; // arguments for which something else is passed
};

/// A type as the published header has it. Names with _64 take 64 bits; the others lapack_int, which a program
/// may widen.
std::string published_type(const std::string& word, const Precision& precision, Width width)
{
    static const std::map<std::string, std::string> complex{{"qnm_complex8", "lapack_complex_float"},
                                                            {"qnm_complex16", "lapack_complex_double"}};
    if (word == "int" || word == "logical")
        return width == Width::wide ? "int64_t" : word == "int" ? "lapack_int" : "lapack_logical";
    const std::string type = c_type(word, precision, width);
    const auto found = complex.find(type);
    return found == complex.end() ? type : found->second;
}

std::string published_parameter(const LapackeArgument& a, const Precision& precision, Width width)
{
    const Argument& argument = *a.argument;
    if (a.facts.takes != 0) {
        const std::string letter(1, static_cast<char>(std::toupper(precision.element)));
        return "LAPACK_" + letter + "_SELECT" + std::to_string(a.facts.takes) + " " + argument.name;
    }
    const bool read_only =
        argument.array && (argument.direction == Direction::none || argument.direction == Direction::in);
    return std::string(a.facts.constant || read_only ? "const " : "") +
           published_type(argument.type, precision, width) + (a.address ? "* " : " ") + argument.name;
}

std::string published_prototype(const LapackePlan& plan, const Precision& precision, Width width, bool high)
{
    std::vector<std::string> list;
    if (plan.has_layout())
        list.emplace_back("int matrix_layout");
    for (const LapackeArgument& a : plan.arguments)
        if (!high || !a.hidden)
            list.push_back(published_parameter(a, precision, width));
    if (high)
        for (const Addition& add : plan.c->additions)
            list.push_back(published_type(add.type, precision, width) + "* " + add.name);
    const Result& result = plan.row->result;
    const std::string type = plan.c->shape == LapackeShape::one_level ? "void"
                             : result.kind == ResultKind::value
                                 ? published_type(result.type, precision, width)
                                 : published_type("int", precision, width);
    return prototype(type, lapacke_name(*plan.row, precision, width, high), list);
}

} // namespace

std::string lapacke_prototypes(const Catalogue& tables, const std::string& file)
{
    std::string text;
    for (const Width width : {Width::narrow, Width::wide})
        for (const bool high : {true, false})
            for (const LapackePlan& plan : tables.lapacke_plans())
                if (plan.c->file == file && (high || plan.c->shape != LapackeShape::one_level))
                    for (const Precision& precision : plan.precisions)
                        text += published_prototype(plan, precision, width, high);
    return text;
}

std::string lapacke_renames(const Catalogue& tables)
{
    std::string text;
    for (const LapackePlan& plan : tables.lapacke_plans())
        for (const Precision& precision : plan.precisions)
            for (const bool high : {true, false})
                if (high || plan.c->shape != LapackeShape::one_level)
                    text += "#define " + lapacke_name(*plan.row, precision, Width::narrow, high) + " " +
                            lapacke_name(*plan.row, precision, Width::wide, high) + "\n";
    return text;
}

namespace {

std::string form_text(const Form& form)
{
    std::string text = form.is_vector() ? "vector" : form.name;
    text += "(";
    for (const ExpressionPtr& option : form.options)
        text += (text.back() == '(' ? "" : ", ") + to_text(*option);
    return text + ")";
}

std::string uses_text(const char* what, const std::vector<FormUse>& uses)
{
    std::string text;
    for (const FormUse& use : uses)
        text += std::string(", ") + what + " as " + form_text(use.form) +
                (use.when ? " when " + to_text(*use.when) : "");
    return text;
}

std::string argument_text(const LapackeArgument& a)
{
    std::string text = "    " + std::to_string(a.position) + ": " + a.argument->name;
    switch (a.role) {
    case Role::matrix:
        text += uses_text("goes in", a.in) + uses_text("comes back", a.out);
        break;
    case Role::leading:
        text += ", in row-major >= " + to_text(*a.bound);
        break;
    case Role::workspace:
        text += a.room ? ", of the high level's own: " + to_text(*a.room) + " elements"
                       : ", asked for by the high level";
        break;
    case Role::size:
        text += ", asked for by the high level";
        break;
    case Role::given:
        text += ", " + to_text(*a.facts.given) + " from the high level";
        break;
    case Role::plain:
        break;
    }
    return text + uses_text("looked at for NaN", a.checks) + "\n";
}

} // namespace

std::string lapacke_explanation(const Catalogue& tables, const std::string& name)
{
    for (const LapackePlan& plan : tables.lapacke_plans())
        for (const Precision& precision : plan.precisions)
            for (const Width width : {Width::narrow, Width::wide})
                for (const bool high : {true, false}) {
                    if (name != lapacke_name(*plan.row, precision, width, high))
                        continue;
                    std::string text = name + "\n  row       " + plan.c->where() + ", on " +
                                       plan.row->where() + "\n  template  src/lapacke/" +
                                       (high ? "high" : "work") + ".hpp\n  arguments\n";
                    for (const LapackeArgument& a : plan.arguments)
                        text += argument_text(a);
                    text += "  looked at for NaN in this order:";
                    for (const int i : plan.checked)
                        text += " " + plan.arguments[static_cast<std::size_t>(i)].argument->name;
                    return text + "\n";
                }
    return {};
}

std::string lapacke_routines(const Catalogue& tables, Width width)
{
    std::string text;
    for (const Entry& entry : tables.entries())
        if (entry.row->family->name == "lapack" && entry.width == width) {
            const std::string name = to_lower(Entry{entry.row, entry.precision, Width::narrow}.name());
            text += "#define LAPACK_" + name + " " + to_lower(entry.name()) + "_\n";
        }
    return text;
}

std::string lapacke_text(const Catalogue& tables, const std::string& file)
{
    std::string text = "// Made from " + file +
                       "; the table and the templates of this family are what to read.\n"
                       "#include \"lapacke/entries.hpp\"\n\nnamespace qnm::lapacke {\n\n";
    for (const Width width : {Width::narrow, Width::wide})
        for (const LapackePlan& plan : tables.lapacke_plans())
            if (plan.c->file == file)
                for (const Precision& precision : plan.precisions)
                    text += Member(plan, precision, width).text();
    return text + "} // namespace qnm::lapacke\n";
}

} // namespace qnm::generate
