// A room: what a family hands the house. Rooms with a sentence of their own have a class of their own, in
// their folder; all others share the language of rows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lexer.hpp"
#include "signature.hpp"

namespace qnm::catalogue {

class Catalogue;

class Room {
public:
    Room() = default;
    virtual ~Room() = default;
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    /// Reads a statement of one of the room's families; `root` is its first word.
    virtual void read(Catalogue& house, Lexer& lexer, const std::string& root, const Family& family) = 0;
    /// The functions of one table, "blas/level2.tab".
    virtual std::vector<Signature> signatures(const Catalogue& house, const std::string& table) const = 0;
    /// The source of one table: for each function one call of a template.
    virtual std::string source(const Catalogue& house, const std::string& table) const = 0;
    /// What a mark of the room's own stands for in a template; empty: it knows none of these words.
    virtual std::string mark(const Catalogue&, const std::vector<std::string>&) const { return {}; }
};

/// A room with a sentence of its own, by the name of its folder.
struct RoomMaker {
    const char* name;
    std::unique_ptr<Room> (*make)();
};
/// Those of this program; written by the build from the list of rooms.
const std::vector<RoomMaker>& room_makers();

/// The room of families whose sentences are rows.
std::unique_ptr<Room> make_rows_room();

} // namespace qnm::catalogue
