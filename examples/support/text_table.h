#pragma once

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// The number with a comma between each three digits: 1234567 is "1,234,567".
inline std::string grouped(long long number) {
    std::string text = std::to_string(number);
    const std::size_t first_digit = number < 0 ? 1 : 0;
    for (std::size_t end = text.size(); end > first_digit + 3;) {
        end -= 3;
        text.insert(end, ",");
    }
    return text;
}

/// The number with this many digits behind the point.
inline std::string fixed(double number, int digits) {
    std::string text(64, '\0');
    text.resize(std::snprintf(text.data(), text.size(), "%.*f", digits, number));
    return text;
}

enum class Align { left, right };

struct Column {
    std::string title;
    Align align = Align::left;
};

/// A table of text with aligned columns.
class TextTable {
  public:
    explicit TextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {
        for (const Column& column : m_columns) m_widths.push_back(column.title.size());
    }

    /// Adds a row with one cell per column.
    void add(std::vector<std::string> cells) {
        for (std::size_t i = 0; i < m_widths.size(); ++i) m_widths[i] = std::max(m_widths[i], cells.at(i).size());
        m_rows.push_back(std::move(cells));
    }

    void print(std::ostream& out) const {
        std::vector<std::string> titles;
        for (const Column& column : m_columns) titles.push_back(column.title);
        print_row(out, titles);
        for (const auto& row : m_rows) print_row(out, row);
    }

  private:
    void print_row(std::ostream& out, const std::vector<std::string>& cells) const {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string padding(m_widths[i] - cells[i].size(), ' ');
            line += m_columns[i].align == Align::left ? "  " + cells[i] + padding : "  " + padding + cells[i];
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }

    std::vector<Column> m_columns;
    std::vector<std::size_t> m_widths;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace support
