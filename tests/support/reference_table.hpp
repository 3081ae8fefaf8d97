// Reference tables: CSV files under tests/data, written by the scripts in
// tests/gen from an independent oracle (mpmath, R, SciPy). The first line
// names the columns; '#' lines are comments (the source and its precision).
// Numbers are read with strtod, so "inf", "-inf" and "nan" are accepted and
// 17 significant digits round-trip exactly.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kcm::test {

class ReferenceTable {
public:
    // Reads tests/data/<name>; a missing or malformed file fails the test.
    explicit ReferenceTable(const std::string& name);

    struct Row {
        int line;
        std::vector<std::string> cells;
        const ReferenceTable* table;

        double num(const std::string& column) const;
        const std::string& str(const std::string& column) const;
        // "file.csv:line" followed by the row, for SCOPED_TRACE.
        std::string where() const;
    };

    const std::vector<Row>& rows() const { return rows_; }
    std::size_t column(const std::string& name) const;

private:
    std::string name_;
    std::map<std::string, std::size_t> columns_;
    std::vector<Row> rows_;
};

}  // namespace kcm::test
