#include "support/reference_table.hpp"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kcm::test {

namespace {

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> cells;
    std::stringstream in(line);
    std::string cell;
    while (std::getline(in, cell, ',')) cells.push_back(cell);
    if (!line.empty() && line.back() == ',') cells.emplace_back();
    return cells;
}

}  // namespace

ReferenceTable::ReferenceTable(const std::string& name) : name_(name)
{
    std::ifstream in(std::string(KCM_TEST_DATA_DIR) + "/" + name);
    if (!in) throw std::runtime_error("cannot open reference table " + name);
    std::string line;
    int number = 0;
    bool header = true;
    while (std::getline(in, line)) {
        ++number;
        if (line.empty() || line[0] == '#') continue;
        auto cells = split(line);
        if (header) {
            for (std::size_t i = 0; i < cells.size(); ++i) columns_[cells[i]] = i;
            header = false;
            continue;
        }
        if (cells.size() != columns_.size())
            throw std::runtime_error(name + ":" + std::to_string(number) + ": wrong cell count");
        rows_.push_back(Row{number, std::move(cells), this});
    }
    if (rows_.empty()) throw std::runtime_error("reference table " + name + " has no rows");
}

std::size_t ReferenceTable::column(const std::string& name) const
{
    auto it = columns_.find(name);
    if (it == columns_.end()) throw std::runtime_error(name_ + ": no column " + name);
    return it->second;
}

double ReferenceTable::Row::num(const std::string& column) const
{
    const std::string& text = cells[table->column(column)];
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0')
        throw std::runtime_error(where() + ": not a number in column " + column);
    return v;
}

const std::string& ReferenceTable::Row::str(const std::string& column) const
{
    return cells[table->column(column)];
}

std::string ReferenceTable::Row::where() const
{
    std::string s = table->name_ + ":" + std::to_string(line) + ":";
    for (const auto& c : cells) s += " " + c;
    return s;
}

}  // namespace kcm::test
