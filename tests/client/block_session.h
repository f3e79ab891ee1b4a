#pragma once

#include "tests/oci_session.h"

#include <string>
#include <vector>

/// A session that tells all that a statement brings about, line by line: what went to DBMS_OUTPUT, the rows of a query
/// with commas between the values, the values of the placeholders :b1, :b2 ... of a block, the text of its error.
/// Blanks at the ends of lines do not count.
class BlockSession : public OciSession {
  public:
    explicit BlockSession(const std::string& database) : OciSession(database) {}

    std::string outcome(const std::string& text) const {
        OCIStmt* statement = prepare(text);
        const bool query = attribute<ub2>(statement, OCI_HTYPE_STMT, OCI_ATTR_STMT_TYPE) == OCI_STMT_SELECT;
        std::vector<std::string> values;
        while (text.find(":b" + std::to_string(values.size() + 1)) != std::string::npos) values.emplace_back();
        for (auto& value : values) {
            value.assign(most, '\0');
            bind(statement, static_cast<ub4>(&value - values.data() + 1), value.data(), most, SQLT_STR);
        }
        const int status = execute(statement, query ? 0 : 1);
        const std::string failure = status != OCI_SUCCESS ? error_text() : std::string();
        const std::string rows = query && failure.empty() ? rows_of(statement) : std::string();
        release(statement);
        std::string all = query ? rows : output();
        for (const auto& value : values) {
            if (failure.empty()) all.append(value.c_str()).append("\n");
        }
        return without_blanks(all + failure);
    }

    /// The lines that DBMS_OUTPUT has kept.
    std::string output() const {
        std::string all;
        OCIStmt* statement = prepare("DECLARE l VARCHAR2(32767); s NUMBER; BEGIN DBMS_OUTPUT.GET_LINE(l, s); "
                                     ":line := l; :status := s; END;");
        std::string line(most, '\0');
        char status[40] = "";
        sb2 is_null = 0;
        bind(statement, 1, line.data(), most, SQLT_STR, &is_null);
        bind(statement, 2, status, sizeof status, SQLT_STR);
        while (execute(statement) == OCI_SUCCESS && std::string(status) == "0")
            all.append(is_null != 0 ? "" : line.c_str()).append("\n");
        release(statement);
        return all;
    }

  private:
    static constexpr std::size_t most = 4001;

    /// Neither behind a line nor behind the last one.
    static std::string without_blanks(const std::string& text) {
        std::string all;
        for (const char c : text) {
            while (c == '\n' && all.ends_with(' ')) all.pop_back();
            all += c;
        }
        while (all.ends_with('\n') || all.ends_with(' ')) all.pop_back();
        return all;
    }

    std::string error_text() const {
        std::string text(most, '\0');
        sb4 number = 0;
        OCIErrorGet(error, 1, nullptr, &number, reinterpret_cast<OraText*>(text.data()), most, OCI_HTYPE_ERROR);
        return text.c_str();
    }

    std::string rows_of(OCIStmt* query) const {
        struct Column {
            std::string text = std::string(most, '\0');
            sb2 indicator = 0;
        };
        std::vector<Column> columns(count(query, OCI_ATTR_PARAM_COUNT));
        for (ub4 i = 0; i < columns.size(); ++i)
            define(query, i + 1, columns[i].text.data(), most, SQLT_STR, &columns[i].indicator);
        std::string all;
        int status = OCI_SUCCESS;
        while ((status = fetch(query)) == OCI_SUCCESS) {
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (i > 0) all += ',';
                if (columns[i].indicator != -1) all += columns[i].text.c_str();
            }
            all += '\n';
        }
        return status == OCI_NO_DATA ? all : all + error_text();
    }
};
