// Reading the rows of the C interface. docs/tables.md is the manual.
#include <algorithm>
#include <array>
#include <set>

#include "cblas.hpp"

namespace qnm::catalogue {

namespace {

const std::set<std::string> forms{"level2",  "level3",     "made",  "sized",  "blocks", "groups",
                                  "forward", "regardless", "index", "direct", "jump",   "here"};
const std::set<std::string> conjugations{"general",        "product",  "copies",
                                         "copies_in_step", "triangle", "batch"};

bool contains(const std::vector<std::string>& list, const std::string& name)
{
    return std::find(list.begin(), list.end(), name) != list.end();
}

/// Whether the classes's entries begin with a layout.
bool has_layout(const CRow& row)
{
    static const std::set<std::string> with{"level2", "level3", "made", "blocks", "groups"};
    return with.count(row.form) != 0;
}

std::vector<std::string> read_names(Lexer& lexer)
{
    std::vector<std::string> names;
    do
        names.push_back(lexer.identifier("an argument's name"));
    while (lexer.accept(","));
    return names;
}

/// `exchange m n`, `flip uplo`, `trans as TNN`, `conjugate alpha`, `go_on n`, `call geru`, `code ldb 11`.
void read_rewrite(Lexer& lexer, Rewrite& rewrite)
{
    do {
        if (lexer.accept("exchange")) {
            const std::string a = lexer.identifier("an argument's name");
            const std::string b = lexer.identifier("an argument's name");
            rewrite.exchanged[a] = b;
            rewrite.exchanged[b] = a;
        } else if (lexer.accept("flip")) {
            rewrite.letters[lexer.identifier("an option's name")] = {};
        } else if (lexer.accept("conjugate")) {
            rewrite.conjugated.push_back(lexer.identifier("a scalar's name"));
        } else if (lexer.accept("go_on")) {
            rewrite.goes_on.push_back(lexer.identifier("a tested argument"));
        } else if (lexer.accept("call")) {
            rewrite.callee = lexer.identifier("the root of another routine's name");
        } else if (lexer.accept("code")) {
            const std::string name = lexer.identifier("a tested argument");
            rewrite.codes[name] = lexer.number("the reported code");
        } else {
            const std::string name =
                lexer.identifier("exchange, flip, conjugate, go_on, call, code or an option");
            lexer.expect("as");
            rewrite.letters[name] = lexer.identifier("letters");
        }
    } while (lexer.accept(","));
}

/// A test that differs from the Fortran row's: `transa in NT`, `batch_size >= 0`.
void read_test(Lexer& lexer, Row& fortran)
{
    const std::string name = lexer.identifier("an argument's name");
    const auto a = std::find_if(fortran.arguments.begin(), fortran.arguments.end(),
                                [&](const Argument& argument) { return argument.name == name; });
    if (a == fortran.arguments.end())
        lexer.fail_at(lexer.first_line(), "'" + name + "'", "an argument of the Fortran row");
    if (lexer.accept("in")) {
        a->letters = lexer.identifier("letters");
    } else {
        lexer.expect(">=");
        a->minimum = parse_bound(lexer);
    }
}

CRole role(const Argument& a, const Row& fortran)
{
    switch (a.kind) {
    case Kind::character:
        return CRole::option;
    case Kind::letters:
        return CRole::options;
    case Kind::integer:
        return fortran.groups && a.array ? CRole::integers : CRole::integer;
    case Kind::integers:
        return CRole::integers;
    default:
        break;
    }
    const bool complex = a.type == "C" || a.type == "T";
    return a.array || a.pointers || a.type == "void" || (complex && a.type == "C") ? CRole::address
                                                                                   : CRole::scalar;
}

void add_arguments(CRow& row, const std::string& ahead_of_layout)
{
    const auto add_layout = [&] {
        CArgument layout{CRole::layout, {}};
        layout.as.name = "layout";
        row.arguments.push_back(std::move(layout));
    };
    if (has_layout(row) && ahead_of_layout.empty())
        add_layout();
    for (const Argument& a : row.fortran.arguments) {
        CArgument argument{role(a, row.fortran), a};
        const char element = row.precisions.front().element;
        if (argument.role == CRole::scalar && a.type == "T" && (element == 'c' || element == 'z'))
            argument.role = CRole::address;
        row.arguments.push_back(std::move(argument));
        if (a.name == ahead_of_layout)
            add_layout();
    }
    if (row.fortran.result.kind == ResultKind::hidden) {
        CArgument result{CRole::address, {}};
        result.as.name = "result";
        result.as.type = row.fortran.result.type;
        result.as.direction = Direction::out;
        result.as.array = true;
        row.arguments.push_back(std::move(result));
    }
}

/// The order of testing: what the row tells, and what its class says of the rest.
void add_steps(CRow& row, std::vector<std::string> told)
{
    std::vector<std::string> options;
    std::vector<std::string> signs; // tests of sizes for negative values, which need no layout
    std::vector<std::string> rest;
    for (const CArgument& a : row.arguments) {
        const bool option = a.role == CRole::option;
        if (a.role == CRole::layout || !(option || a.as.tested()) || contains(told, a.as.name))
            continue;
        const bool sign = a.as.minimum && a.as.minimum->kind == Expression::Kind::number;
        (option ? options : sign ? signs : rest).push_back(a.as.name);
    }
    const auto add = [&](const std::vector<std::string>& names) {
        row.steps.insert(row.steps.end(), names.begin(), names.end());
    };
    if (row.form == "level2") {
        row.steps.emplace_back("layout");
        add(options);
        if (!row.stops)
            row.goes_on.insert(row.goes_on.end(), options.begin(), options.end());
        if (told.empty())
            for (const CArgument& a : row.arguments)
                if (contains(signs, a.as.name) || contains(rest, a.as.name))
                    told.push_back(a.as.name);
        add(told);
    } else if (row.form == "level3" || row.form == "made" || row.form == "sized") {
        add(options);
        if (told.empty()) {
            add(signs);
            if (has_layout(row))
                row.steps.emplace_back("layout");
            add(rest);
        }
        add(told);
    } else {
        add(told);
        if (row.form == "regardless")
            row.goes_on = told;
    }
}

void check_row(const Lexer& lexer, const CRow& row)
{
    const auto known = [&](const std::string& name) {
        if (row.find(name) == nullptr)
            lexer.fail_at(row.line, "'" + name + "'", "an argument of the row");
    };
    std::for_each(row.steps.begin(), row.steps.end(), known);
    std::for_each(row.goes_on.begin(), row.goes_on.end(), known);
    std::for_each(row.copied.begin(), row.copied.end(), known);
    for (const std::string& size : row.quick)
        if (size != "scalars")
            known(size);
    for (const Rewrite* rewrite : {&row.columns, &row.rows}) {
        for (const auto& [a, b] : rewrite->exchanged)
            known(a);
        for (const auto& [option, letters] : rewrite->letters) {
            known(option);
            if (row.find(option)->as.letters.empty())
                lexer.fail_at(row.line, "'" + option + "'", "an option");
        }
        std::for_each(rewrite->conjugated.begin(), rewrite->conjugated.end(), known);
        std::for_each(rewrite->goes_on.begin(), rewrite->goes_on.end(), known);
    }
    for (const CArgument& a : row.arguments)
        if (a.role == CRole::option && !row.has(row.steps, a.as.name))
            lexer.fail_at(row.line, "'" + a.as.name + "'", "a place among the tests for each option");
}

std::string reversed(std::string text)
{
    std::reverse(text.begin(), text.end());
    return text;
}

/// A flipped option's letters are those of its codes the other way round.
void settle_letters(CRow& row, Rewrite& rewrite)
{
    for (auto& [option, letters] : rewrite.letters)
        if (const CArgument* a = row.find(option); letters.empty() && a != nullptr)
            letters = reversed(code_group(a->as.letters).letters);
}

} // namespace

std::shared_ptr<CRows> no_c_rows()
{
    return std::make_shared<CRows>();
}

const CodeGroup& code_group(const std::string& letters)
{
    static constexpr std::array<CodeGroup, 6> groups{{{"CBLAS_TRANSPOSE", "NTC", 111},
                                                      {"CBLAS_UPLO", "UL", 121},
                                                      {"CBLAS_DIAG", "NU", 131},
                                                      {"CBLAS_SIDE", "LR", 141},
                                                      {"CBLAS_IDENTIFIER", "AB", 161},
                                                      {"CBLAS_OFFSET", "RCF", 171}}};
    const auto takes = [&](const CodeGroup& group) {
        return std::all_of(letters.begin(), letters.end(), [&](char letter) {
            return letter == 'P' || std::string(group.letters).find(letter) != std::string::npos;
        });
    };
    const auto found = std::find_if(groups.begin(), groups.end(), takes);
    if (found == groups.end())
        throw TableError("cblas:0: '" + letters + "': expected the letters of one set of codes");
    return *found;
}

int option_code(const CodeGroup& group, char letter)
{
    constexpr int packed = 151;
    return letter == 'P' ? packed : group.first + static_cast<int>(std::string(group.letters).find(letter));
}

const std::string& Rewrite::source(const std::string& name) const
{
    const auto found = exchanged.find(name);
    return found == exchanged.end() ? name : found->second;
}

const CArgument* CRow::find(const std::string& name) const
{
    const auto found = std::find_if(arguments.begin(), arguments.end(),
                                    [&](const CArgument& a) { return a.as.name == name; });
    return found == arguments.end() ? nullptr : &*found;
}

int CRow::position(const std::string& name) const
{
    return static_cast<int>(find(name) - arguments.data()) + 1;
}

bool CRow::has(const std::vector<std::string>& list, const std::string& name) const
{
    return contains(list, name);
}

std::vector<CEntry> c_entries(const CRow& row)
{
    std::vector<CEntry> all;
    for (const Width width : {Width::narrow, Width::wide})
        for (const Precision& precision : row.precisions)
            if (width == Width::narrow || !row.narrow_only)
                all.push_back({&row, precision, width});
    return all;
}

void Catalogue::read_c_row(Lexer& lexer, const std::string& root)
{
    CRow row;
    row.line = lexer.first_line();
    row.family = family_;
    row.file = family_->frame + "/" + lexer.file();
    const std::vector<Head> heads = read_heads(
        lexer, root, [](const std::string& word) { return forms.count(word) != 0; },
        "level2, level3, made, sized, blocks, groups, forward, regardless, index, direct, jump, here");
    row.form = lexer.next().text;
    std::vector<std::string> told;
    std::vector<std::pair<std::string, std::string>> types;
    std::string ahead_of_layout;
    std::vector<Lexer> tests; // read again for each Fortran row
    while (!lexer.at_end()) {
        if (lexer.accept("plain")) {
            row.plain = true;
        } else if (lexer.accept("stops")) {
            row.stops = true;
        } else if (lexer.accept("narrow_only")) {
            row.narrow_only = true;
        } else if (lexer.accept("allocated_first")) {
            row.allocated_first = true;
        } else if (lexer.accept("of")) {
            row.fortran_root = lexer.identifier("the root of the Fortran routine's name");
        } else if (lexer.accept("layout_behind")) {
            ahead_of_layout = lexer.identifier("an argument's name");
        } else if (lexer.accept("tested")) {
            told = read_names(lexer);
        } else if (lexer.accept("goes_on")) {
            row.goes_on = read_names(lexer);
        } else if (lexer.accept("quick")) {
            row.quick = read_names(lexer);
        } else if (lexer.accept("conjugated")) {
            if (conjugations.count(lexer.peek().text) == 0)
                lexer.fail("general, product, copies, copies_in_step, triangle or batch");
            row.conjugated = lexer.next().text;
            if (row.conjugated.rfind("copies", 0) == 0)
                row.copied = read_names(lexer);
        } else if (lexer.accept("types")) {
            do {
                const std::string name = lexer.identifier("an argument's name");
                if (!is_type(lexer.peek().text))
                    lexer.fail("a type");
                types.emplace_back(name, lexer.next().text);
            } while (lexer.accept(","));
        } else if (lexer.accept("with")) {
            tests.push_back(lexer); // the Fortran row is not known yet
            Row any;
            do {
                Argument a;
                a.name = lexer.peek().text;
                any.arguments = {a};
                read_test(lexer, any);
            } while (lexer.accept(","));
        } else if (lexer.accept("columns")) {
            read_rewrite(lexer, row.columns);
        } else if (lexer.accept("rows")) {
            read_rewrite(lexer, row.rows);
        } else {
            lexer.fail("a clause of the C interface (plain, stops, narrow_only, allocated_first, of, "
                       "layout_behind, tested, goes_on, quick, conjugated, types, with, columns, rows) "
                       "or the end of the row");
        }
    }
    for (const auto& [name, letters] : heads) {
        std::vector<CRow> split; // one for each Fortran row
        for (const Precision& precision : letters) {
            const std::string fortran_root = row.fortran_root.empty() ? name : row.fortran_root;
            const auto fortran = std::find_if(rows_.begin(), rows_.end(), [&](const Row& r) {
                return r.root == fortran_root && r.family->name == family_->calls &&
                       std::any_of(r.precisions.begin(), r.precisions.end(),
                                   [&](const Precision& p) { return p.prefix == precision.prefix; });
            });
            if (fortran == rows_.end())
                lexer.fail_at(row.line, "'" + fortran_root + "'",
                              "a Fortran row with the letters '" + precision.prefix + "'");
            const auto same = std::find_if(split.begin(), split.end(), [&](const CRow& r) {
                const bool complex = precision.element == 'c' || precision.element == 'z';
                const char element = r.precisions.front().element;
                return r.fortran.where() == fortran->where() && complex == (element == 'c' || element == 'z');
            });
            if (same != split.end()) {
                same->precisions.push_back(precision);
                continue;
            }
            CRow one = row;
            one.root = name;
            one.fortran_root = fortran_root;
            one.precisions = {precision};
            one.fortran = *fortran;
            for (Lexer again : tests)
                do
                    read_test(again, one.fortran);
                while (again.accept(","));
            for (const auto& [argument, type] : types)
                for (Argument& a : one.fortran.arguments)
                    if (a.name == argument)
                        a.type = type;
            add_arguments(one, ahead_of_layout);
            add_steps(one, told);
            settle_letters(one, one.columns);
            settle_letters(one, one.rows);
            check_row(lexer, one);
            split.push_back(std::move(one));
        }
        for (CRow& one : split) {
            c_rows_->rows.push_back(std::move(one));
            for (const CEntry& entry : c_entries(c_rows_->rows.back()))
                claim(entry.name(), lexer.file() + ":" + std::to_string(row.line));
        }
    }
}

} // namespace qnm::catalogue
