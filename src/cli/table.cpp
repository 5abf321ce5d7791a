#include "cli/table.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "cli/console.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/json.h"

namespace morvane::cli {

namespace {

/// A cell is one line and one field, and cannot send commands to the terminal.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            result += "\\n";
        } else if (character == '\t') {
            result += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            std::array<char, 5> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", byte);
            result += code.data();
        } else {
            result += character;
        }
    }
    return result;
}

std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xc0U) != 0x80U;
    }));
}

bool isNumber(const Value& value) {
    return value.as<std::int64_t>() != nullptr || value.as<double>() != nullptr;
}

const Value& cell(const Array& row, std::size_t column) {
    static const Value none;
    return column < row.size() ? row[column] : none;
}

void appendPadded(std::string& line, const std::string& text, std::size_t width, bool toTheRight) {
    const std::string blanks(width - std::min(width, widthOf(text)), ' ');
    line += toTheRight ? blanks + text : text + blanks;
}

std::string withoutBlanksAtTheEnd(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string alignedTable(const Table& table) {
    std::string text;
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        std::size_t width = widthOf(localized(table.columns[column].heading));
        for (const Array& row : table.rows) width = std::max(width, widthOf(cellText(cell(row, column))));
        widths.push_back(width);
    }
    const auto addLine = [&](const auto& textOf, const auto& isRight) {
        std::string line;
        for (std::size_t column = 0; column < table.columns.size(); ++column) {
            if (column > 0) line += "  ";
            appendPadded(line, textOf(column), widths[column], isRight(column));
        }
        text += withoutBlanksAtTheEnd(std::move(line)) + "\n";
    };
    const auto holdsNumbers = [&](std::size_t column) {
        return !table.rows.empty() && isNumber(cell(table.rows.front(), column));
    };
    addLine([&](std::size_t column) { return localized(table.columns[column].heading); }, holdsNumbers);
    for (const Array& row : table.rows) {
        addLine([&](std::size_t column) { return cellText(cell(row, column)); },
                [&](std::size_t column) { return isNumber(cell(row, column)); });
    }
    return text;
}

std::string tabSeparated(const Table& table) {
    std::string text;
    for (const Array& row : table.rows) {
        for (std::size_t column = 0; column < table.columns.size(); ++column) {
            text += (column > 0 ? "\t" : "") + cellText(cell(row, column));
        }
        text += '\n';
    }
    return text;
}

Reader readerOfOutput() {
    return isatty(STDOUT_FILENO) == 1 ? Reader::person : Reader::program;
}

}  // namespace

std::string cellText(const Value& value) {
    if (const auto* text = value.as<std::string>()) return escaped(*text);
    if (const auto* flag = value.as<bool>()) return *flag ? "yes" : "no";
    if (const auto* styled = value.as<StyledText>()) return escaped(styled->text);
    if (const auto* list = value.as<Array>()) {
        std::vector<std::string> pieces;
        for (const Value& element : *list) pieces.push_back(cellText(element));
        return MVString::joined(pieces, ", ");
    }
    if (value.isNull()) return {};
    // Numbers as they are, dates as texts in quotes, the rest as JSON.
    std::string json = jsonText(value);
    if (json.size() > 1 && json.front() == '"') json = json.substr(1, json.size() - 2);
    return json;
}

std::string tableText(const Table& table, Reader reader) {
    return reader == Reader::person ? alignedTable(table) : tabSeparated(table);
}

std::string recordText(const Record& record, Reader reader) {
    std::size_t width = 0;
    for (const Property& property : record)
        width = std::max(width, widthOf(localized(property.name.heading)) + 1);
    std::string text;
    for (const Property& property : record) {
        if (reader == Reader::program) {
            text += property.name.key + "\t" + cellText(property.value) + "\n";
            continue;
        }
        std::string line;
        appendPadded(line, localized(property.name.heading) + ":", width + 1, false);
        text += withoutBlanksAtTheEnd(line + cellText(property.value)) + "\n";
    }
    return text;
}

Value tableJson(const Table& table) {
    Array list;
    for (const Array& row : table.rows) {
        Dictionary object;
        for (std::size_t column = 0; column < table.columns.size(); ++column) {
            object.set(table.columns[column].key, cell(row, column));
        }
        list.emplace_back(std::move(object));
    }
    return list;
}

Value recordJson(const Record& record) {
    Dictionary object;
    for (const Property& property : record) object.set(property.name.key, property.value);
    return object;
}

void printTable(Console& console, const Table& table) {
    if (console.output() == Output::json) return console.print(jsonText(tableJson(table)));
    if (!table.rows.empty()) console.print(tableText(table, readerOfOutput()));
}

void printRecord(Console& console, const Record& record) {
    if (console.output() == Output::json) return console.print(jsonText(recordJson(record)));
    console.print(recordText(record, readerOfOutput()));
}

}  // namespace morvane::cli
