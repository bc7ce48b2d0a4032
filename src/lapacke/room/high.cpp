// The high level of a plan of the C interface to LAPACK: NaN checks and workspaces around a call of the work
// level.
#include <algorithm>

#include "lapacke/room/text.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using Role = LapackeArgument::Role;

class HighLevel {
public:
    explicit HighLevel(const LapackePlan& plan) : plan_(plan), text_(plan, true) {}

    /// The body, statement by statement.
    std::string body() const
    {
        const std::string nan = checks(), result = result_type(plan_);
        std::string text = with_workspaces();
        // What an entry with a value gives back for a NaN is the code as a real.
        if (!nan.empty())
            text = "nan_checks() && (nan = " + nan + ") != 0 ? static_cast<" + result +
                   ">(-nan)\n        : " + text;
        if (plan_.has_layout())
            text = "is_layout(matrix_layout) ? " + text + "\n        : misused<" + result + ">(entry, 1)";
        return (nan.empty() ? "" : "        int nan = 0;\n") + ("        return " + text) + ";\n";
    }

private:
    // NaN checks.

    /// The chain of NaN checks: the position of the first array that holds one, or 0.
    std::string checks() const
    {
        std::string text;
        const LapackeRow& c = *plan_.c;
        if (c.refused_with_nan)
            text += text_.text(*c.refused) + " ? reported(entry, " +
                    std::to_string(plan_.find(c.refused_as)->position) + ")\n        : ";
        for (const int i : plan_.checked) {
            const LapackeArgument& a = plan_.arguments[static_cast<std::size_t>(i)];
            for (const StorageUse& use : a.checks)
                text += (use.when ? text_.text(*use.when) + " && " : "") + nancheck(a, use) + " != 0 ? " +
                        std::to_string(a.position) + "\n        : ";
        }
        return text.empty() ? "" : text + "0";
    }

    /// The call of an array's helper.
    std::string nancheck(const LapackeArgument& a, const StorageUse& use) const
    {
        const StorageForm& form = use.form;
        const std::string place =
            (a.address ? "" : "&") + a.argument->name + (use.offset ? " + " + text_.text(*use.offset) : "");
        Words list;
        if (form.is_vector()) {
            list = {text_.size(*form.options[0]), place, use.increment ? text_.size(*use.increment) : "1"};
        } else {
            // Of the packed forms only triangles have options and a layout.
            const bool order_alone = form.is_packed() && form.name != "tp" && form.name != "tf";
            if (!order_alone)
                list.push_back(layout());
            const Words options = text_.options(form);
            list.insert(list.end(), order_alone ? options.end() - 1 : options.begin(), options.end());
            list.push_back(place);
            if (!form.is_packed())
                list.push_back(leading_of(a, form));
        }
        return "Exported<" + element(a) + ", I>::" + form.name + (form.is_vector() ? "" : "_") + "nancheck(" +
               joined(list) + ")";
    }

    std::string layout() const
    {
        return plan_.c->shape == LapackeShape::options ? "option_layout(matrix_layout, trans)"
                                                       : "matrix_layout";
    }

    /// The leading dimension behind a matrix, or its columns where it has none.
    std::string leading_of(const LapackeArgument& matrix, const StorageForm& form) const
    {
        const LapackeArgument* next = &matrix + 1;
        const bool leading = next < plan_.arguments.data() + plan_.arguments.size() &&
                             next->argument->name.rfind("ld", 0) == 0;
        return leading ? next->argument->name : text_.size(*form.columns());
    }

    // Workspaces.

    std::string with_workspaces() const
    {
        const std::vector<const LapackeArgument*> rooms = workspaces();
        if (rooms.empty())
            return call_of_work();
        Words names;
        std::string values;
        for (const LapackeArgument* a : rooms) {
            names.push_back("auto& " + a->argument->name + "_w");
            values += ",\n        " + workspace(*a);
        }
        const auto move = [&](bool in) {
            const std::string text = moved(in);
            return text.empty()
                       ? "nothing"
                       : "[&]([[maybe_unused]] " + joined(names, ", [[maybe_unused]] ") + ") { " + text + "}";
        };
        return "worked<" + result_type(plan_) + ">(entry, " +
               (plan_.c->stops ? text_.text(*plan_.c->stops) : "false") + ",\n        [&](" + joined(names) +
               ") { return " + call_of_work() + "; },\n        " + move(true) + ", " + move(false) + values +
               ")";
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

    std::string workspace(const LapackeArgument& a) const
    {
        const std::string when = text_.when(a.facts.room_when);
        if (a.room)
            return "Fixed<" + element(a) + ">{" + text_.text(*a.room) + ", " + when + "}";
        const std::string types = "<" + element(a) + ", I>{";
        return a.argument->extents.empty() && a.facts.asked ? "AskedTable" + types + "}"
                                                            : "Asked" + types + when + "}";
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
        Words list;
        if (plan_.has_layout())
            list.emplace_back("matrix_layout");
        for (const LapackeArgument& a : plan_.arguments) {
            const std::string& name = a.argument->name;
            list.push_back(a.role == Role::workspace ? name + "_w.place"
                           : a.role == Role::size    ? workspace_of(a) + "_w.size"
                           : a.role == Role::given   ? text_.size(*a.facts.given)
                                                     : name);
        }
        return "work_level(" + joined(list) + ")";
    }

    /// Values that an addition takes into a workspace or out of it.
    std::string moved(bool in) const
    {
        std::string text;
        for (const Addition& add : plan_.c->additions) {
            const std::string room = add.workspace + "_w.place";
            const std::string from = room + (add.offset != 0 ? " + " + std::to_string(add.offset) : "");
            if (in && add.first_goes_in)
                text += "copy_values(" + joined({room, add.name, "1"}) + "); ";
            else if (!in)
                text += "copy_values(" + joined({add.name, from, add.count ? text_.text(*add.count) : "1"}) +
                        "); ";
        }
        return text;
    }

    const LapackePlan& plan_;
    LapackeText text_;
};

} // namespace

std::string lapacke_high(const LapackePlan& plan)
{
    return HighLevel(plan).body();
}

} // namespace qnm::generate
