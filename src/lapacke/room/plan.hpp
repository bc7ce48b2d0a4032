// The C interface to LAPACK, derived from a routine's row: which matrices are transposed for a row-major
// caller, what is looked at for NaN, which workspace is managed. A row of a C table says what no rule can.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/lexer.hpp"
#include "catalogue/row.hpp"
#include "catalogue/signature.hpp"

namespace qnm::catalogue {

class Catalogue;

/// A storage form with what its helpers take: ge(m,n), sy(uplo,n), gb(m,n,kl,ku), tp(uplo,diag,n) ... Options
/// are arguments of the routine, sizes, or a fixed letter. A form without a name is a vector of so many
/// elements.
struct StorageForm {
    std::string name;
    std::vector<ExpressionPtr> options;
    bool is_vector() const { return name.empty(); }
    bool is_packed() const;
    /// How many of the options are letters; they stand first.
    std::size_t letters() const;
    /// Shape of the column-major copy.
    ExpressionPtr rows() const;
    ExpressionPtr columns() const;
};

/// A form under a condition; without one it always holds.
struct StorageUse {
    StorageForm form;
    ExpressionPtr when;
    ExpressionPtr offset;    // of a NaN check that begins behind the first element
    ExpressionPtr increment; // of a vector with a stride
};

/// What a C table says of one argument.
struct LapackeFacts {
    bool has_form = false;
    StorageForm form;
    ExpressionPtr when;  // a copy is made where this holds
    ExpressionPtr bound; // the least leading dimension in row-major
    ExpressionPtr in_when;
    std::vector<StorageUse> outs;
    bool no_in = false;
    bool no_out = false;
    bool also_in = false;
    bool also_out = false;
    std::vector<StorageUse> checks;
    ExpressionPtr checked_when;
    bool unchecked = false;
    ExpressionPtr room;
    ExpressionPtr room_when;
    ExpressionPtr turned; // of a workspace: what a turned routine takes at the work level
    bool asked = false;
    ExpressionPtr given;
    bool kept = false;
    bool by_value = false;
    bool by_address = false;
    bool constant = false; // published as read only
    int takes = 0;         // of a function: how many arguments it takes
};

/// How row-major is told to a routine.
enum class LapackeShape {
    split,    // its matrices are transposed
    flat,     // there is no layout
    options,  // by its TRANS
    turned,   // as the same operation on the transpose, in place
    one_level // there is no work level
};

/// An argument that only the high level has: values that stand in a workspace after the call.
struct Addition {
    std::string type;
    std::string name;
    ExpressionPtr count; // none: one value
    std::string workspace;
    int offset = 0;
    bool first_goes_in = false;
};

/// A row of a C table: some routines and what is odd about their C interface.
struct LapackeRow {
    std::string file;
    int line = 0;
    LapackeShape shape = LapackeShape::split;
    std::vector<Head> heads;
    std::map<std::string, LapackeFacts> facts;
    std::vector<Definition> definitions;
    std::vector<std::string> checked_in_order;
    std::vector<Addition> additions;
    std::vector<std::pair<std::string, std::string>> exchanged; // of a turned routine
    ExpressionPtr asks;                                         // a query, where -1 in a size is not all
    ExpressionPtr stops;           // the high level ends behind the query where this holds
    ExpressionPtr refused;         // an argument test of its own, behind those of leading dimensions
    std::string refused_as;        // the argument that it reports
    bool refused_with_nan = false; // it is made with the NaN checks too
    std::string where() const { return file + ":" + std::to_string(line); }
};

/// How one argument of the routine travels.
struct LapackeArgument {
    enum class Role {
        plain,     // as it is
        matrix,    // copied for a row-major caller
        leading,   // leading dimension of the matrix in front of it
        workspace, // allocated by the high level
        size,      // the size of an asked workspace
        given      // a number that the high level knows
    };
    const Argument* argument = nullptr;
    LapackeFacts facts;
    Role role = Role::plain;
    int position = 0;     // in the C signature, the layout counted
    bool address = false; // the C interface takes an address
    bool hidden = false;  // the high level does not have it
    int matrix = -1;      // of a leading dimension: the index of its matrix
    StorageForm form;     // of a matrix
    ExpressionPtr bound;
    std::vector<StorageUse> in;
    std::vector<StorageUse> out;
    std::vector<StorageUse> checks;
    ExpressionPtr room; // of a workspace: its elements; none if it is asked for
};

/// One member of the C interface, for all its letters of one row.
struct LapackePlan {
    const Family* family = nullptr;
    const Row* row = nullptr;
    const LapackeRow* c = nullptr;
    std::vector<Precision> precisions;
    std::vector<LapackeArgument> arguments; // all but INFO
    std::vector<int> checked;               // indices, in the order of the NaN checks
    bool has_info = false;
    bool has_layout() const;
    const LapackeArgument* find(const std::string& name) const;
};

/// The plan of a routine, its letters left to the caller.
LapackePlan derive_plan(const Row& row, const LapackeRow& c);

/// The forms in which a member exists, and its name in one of them.
std::vector<const Form*> lapacke_forms(const LapackePlan& plan);
const Form* lapacke_form(const LapackePlan& plan, const std::string& level, Width width);
std::string lapacke_name(const LapackePlan& plan, const Precision& letter, const Form& form);

/// The functions of one table.
std::vector<Signature> lapacke_signatures(const std::vector<LapackePlan>& plans, const std::string& table);

LapackeRow read_lapacke_row(Lexer& lexer, const std::string& root);
/// Refuses names that this routine does not have.
void check_lapacke_names(const Lexer& lexer, const LapackeRow& c, const Row& row);

/// Those of a catalogue with a room of the C interface to LAPACK.
const std::vector<LapackePlan>& lapacke_plans(const Catalogue& tables);

} // namespace qnm::catalogue
