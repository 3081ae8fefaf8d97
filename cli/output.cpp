// kcm's output: what a call produced, printed as text, as the values alone
// or as one JSON object (RFC 8259; NaN and the infinities, which JSON cannot
// spell as numbers, as the strings "nan", "inf" and "-inf").
#include <cinttypes>
#include <cmath>
#include <cstring>

#include "command.hpp"

namespace kcm::cli {
namespace {

using Item = Output::Item;

// 17 significant digits: every double reads back as itself. NaN is printed
// without the sign the C library may give it.
std::string format_number(double v, bool integral)
{
    if (std::isnan(v)) return "nan";
    if (std::isinf(v)) return v > 0 ? "inf" : "-inf";
    char buffer[32];
    if (integral)
        std::snprintf(buffer, sizeof buffer, "%" PRId64, static_cast<int64_t>(v));
    else
        std::snprintf(buffer, sizeof buffer, "%.17g", v);
    return buffer;
}

std::string json_number(double v, bool integral)
{
    const std::string text = format_number(v, integral);
    return std::isfinite(v) ? text : '"' + text + '"';
}

std::string json_string(const std::string& s)
{
    std::string out = "\"";
    for (const char c : s) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned char>(c));
                out += buffer;
            } else {
                out += c;
            }
        }
    }
    return out + '"';
}

// A number, a list, or a list of matrix rows.
std::string json_item(const Item& item)
{
    const auto list = [&](std::size_t first, std::size_t count) {
        std::string out = "[";
        for (std::size_t i = 0; i < count; ++i)
            out += (i ? ", " : "") + json_number(item.data[first + i], item.integral);
        return out + "]";
    };
    switch (item.shape) {
    case Item::Shape::kScalar: return json_number(item.data[0], item.integral);
    case Item::Shape::kList: return list(0, item.data.size());
    case Item::Shape::kMatrix: break;
    }
    std::string out = "[";
    for (int32_t i = 0; i < item.rows; ++i)
        out += (i ? ", " : "") + list(std::size_t(i) * item.cols, item.cols);
    return out + "]";
}

// The items of one kind (status codes or not) as an object; "" if none.
std::string json_object(const std::vector<Item>& items, bool codes)
{
    std::string out;
    for (const Item& item : items)
        if (item.is_status == codes)
            out += (out.empty() ? "{" : ", ") + json_string(item.label) + ": " + json_item(item);
    return out.empty() ? out : out + "}";
}

// "label = v", "label = v1 v2 ...", or a matrix row by row below its label.
std::string text_item(const Item& item)
{
    std::string out = item.label;
    if (item.shape == Item::Shape::kMatrix) {
        out += " (" + std::to_string(item.rows) + " x " + std::to_string(item.cols) + ") =";
        for (int32_t i = 0; i < item.rows; ++i) {
            out += "\n ";
            for (int32_t j = 0; j < item.cols; ++j)
                out += " " + format_number(item.data[std::size_t(i) * item.cols + j], item.integral);
        }
        return out;
    }
    out += " =";
    for (const double v : item.data) out += " " + format_number(v, item.integral);
    if (!item.comment.empty()) out += " (" + item.comment + ")";
    return out;
}

Item scalar_item(std::string label, double v, bool integral)
{
    Item item;
    item.label = std::move(label);
    item.data = {v};
    item.integral = integral;
    return item;
}

}  // namespace

void Output::result(double v) { result_ = v; }

void Output::number(std::string label, double v)
{
    items_.push_back(scalar_item(std::move(label), v, false));
}

void Output::integer(std::string label, int64_t v)
{
    items_.push_back(scalar_item(std::move(label), static_cast<double>(v), true));
}

void Output::numbers(std::string label, std::vector<double> v)
{
    Item item;
    item.shape = Item::Shape::kList;
    item.label = std::move(label);
    item.data = std::move(v);
    items_.push_back(std::move(item));
}

void Output::integers(std::string label, const std::vector<int32_t>& v)
{
    numbers(std::move(label), std::vector<double>(v.begin(), v.end()));
    items_.back().integral = true;
}

void Output::matrix(std::string label, const double* data, int32_t ld, int32_t rows, int32_t cols)
{
    Item item;
    item.shape = Item::Shape::kMatrix;
    item.label = std::move(label);
    item.rows = rows;
    item.cols = cols;
    for (int32_t i = 0; i < rows; ++i)
        for (int32_t j = 0; j < cols; ++j) item.data.push_back(data[std::size_t(j) * ld + i]);
    items_.push_back(std::move(item));
}

void Output::status(std::string label, int64_t code, bool ok, std::string comment)
{
    Item item = scalar_item(std::move(label), static_cast<double>(code), true);
    item.is_status = true;
    item.ok = ok;
    item.comment = std::move(comment);
    items_.push_back(std::move(item));
}

void Output::set_exception(std::string type, std::string message)
{
    exception_.emplace(std::move(type), std::move(message));
}

int Output::exit_status() const
{
    if (exception_) return 2;
    if (errno_.value_or(0) != 0) return 1;
    for (const Item& item : items_)
        if (!item.ok) return 1;
    return 0;
}

void Output::print(std::FILE* to, Mode mode, const std::string& name, const Words& args,
                   int line) const
{
    switch (mode) {
    case Mode::kText: print_text(to, name); break;
    case Mode::kValue: print_values(to, name, line); break;
    case Mode::kJson: print_json(to, name, args, line); break;
    }
}

void Output::print_text(std::FILE* to, const std::string& name) const
{
    for (const std::string& n : notes_) std::fprintf(to, "%s\n", n.c_str());
    if (result_) std::fprintf(to, "%s = %s\n", name.c_str(), format_number(*result_, false).c_str());
    for (const auto& row : trace_) {
        std::string line;
        for (const Item& item : row) line += (line.empty() ? "" : "  ") + text_item(item);
        std::fprintf(to, "%s\n", line.c_str());
    }
    for (const Item& item : items_) std::fprintf(to, "%s\n", text_item(item).c_str());
    if (errno_) {
        if (*errno_ == 0)
            std::fprintf(to, "errno = 0\n");
        else
            std::fprintf(to, "errno = %d (%s)\n", *errno_, std::strerror(*errno_));
    }
    if (exception_)
        std::fprintf(to, "exception %s: %s\n", exception_->first.c_str(), exception_->second.c_str());
}

// The numbers alone, one per line: the returned value, then each number,
// list and matrix (row by row) in text order. Status codes and errno are left
// to the exit status; an exception goes to standard error.
void Output::print_values(std::FILE* to, const std::string& name, int line) const
{
    if (result_) std::fprintf(to, "%s\n", format_number(*result_, false).c_str());
    for (const Item& item : items_) {
        if (item.is_status) continue;
        for (const double v : item.data) std::fprintf(to, "%s\n", format_number(v, item.integral).c_str());
    }
    if (exception_) {
        std::fflush(to);
        const std::string where = line > 0 ? "line " + std::to_string(line) + ": " : "";
        std::fprintf(stderr, "kcm: %s%s: exception %s: %s\n", where.c_str(), name.c_str(),
                     exception_->first.c_str(), exception_->second.c_str());
    }
}

void Output::print_json(std::FILE* to, const std::string& name, const Words& args,
                        int line) const
{
    std::string out = "{";
    if (line > 0) out += "\"line\": " + std::to_string(line) + ", ";
    out += "\"export\": " + json_string(name) + ", \"args\": [";
    for (std::size_t i = 0; i < args.size(); ++i) out += (i ? ", " : "") + json_string(args[i]);
    out += "]";
    if (result_) out += ", \"value\": " + json_number(*result_, false);
    const std::string values = json_object(items_, false), codes = json_object(items_, true);
    if (!values.empty()) out += ", \"values\": " + values;
    if (!codes.empty()) out += ", \"codes\": " + codes;
    if (!trace_.empty()) {
        out += ", \"trace\": [";
        for (std::size_t i = 0; i < trace_.size(); ++i)
            out += (i ? ", " : "") + json_object(trace_[i], false);
        out += "]";
    }
    if (!notes_.empty()) {
        out += ", \"notes\": [";
        for (std::size_t i = 0; i < notes_.size(); ++i) out += (i ? ", " : "") + json_string(notes_[i]);
        out += "]";
    }
    if (errno_) out += ", \"errno\": " + std::to_string(*errno_);
    if (exception_)
        out += ", \"exception\": {\"type\": " + json_string(exception_->first) +
               ", \"message\": " + json_string(exception_->second) + "}";
    out += ", \"exit_status\": " + std::to_string(exit_status()) + "}";
    std::fprintf(to, "%s\n", out.c_str());
}

}  // namespace kcm::cli
