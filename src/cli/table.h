// cli/table.h: what commands answer with: aligned columns on a terminal, tab-separated lines in a pipe, JSON
// on request. Texts may be a stranger's: control characters are shown as escapes ("\n", "\x1b").
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

namespace morvane::cli {

class Console;

/// `key` names the column in JSON, `heading`, an English text that is marked for translation, on a terminal.
struct Column {
    std::string key, heading;
};

/// Cells are in the order of the columns; missing ones at the end of a row are empty. Booleans read "yes" and
/// "no", lists their elements with commas between; in JSON they keep their types.
struct Table {
    std::vector<Column> columns;
    std::vector<Array> rows;
};

/// One thing with its properties, in order.
struct Property {
    Column name;
    Value value;
};
using Record = std::vector<Property>;

/// Whether a person reads the output or a program.
enum class Reader { person, program };

/// With a line of headings for a person; numbers stand right in their column.
[[nodiscard]] std::string tableText(const Table& table, Reader reader);
/// "heading: value" for a person, "key<tab>value" for a program.
[[nodiscard]] std::string recordText(const Record& record, Reader reader);
/// A list of objects, and an object.
[[nodiscard]] Value tableJson(const Table& table);
[[nodiscard]] Value recordJson(const Record& record);

/// To standard output, as its kind and `--json` ask for. An empty table prints nothing, or "[]".
void printTable(Console& console, const Table& table);
void printRecord(Console& console, const Record& record);

/// A value as it stands in a cell.
[[nodiscard]] std::string cellText(const Value& value);

}  // namespace morvane::cli
