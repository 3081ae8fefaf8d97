// The command registry of kcm: one command per export, generated from
// src/exports.table (kcm_commands.inc). A scalar export (numbers in, a double
// out) runs through the scalar template below; every other export has a
// Runner of the same name in namespace run, written by hand in its family's
// file (cli/<family>.cpp), which parses the words, calls the export through
// the public header as a host would and records what it returned in an
// Output. The Output prints it in the mode asked for: text, values alone or
// JSON (output.cpp).
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace kcm::cli {

using Words = std::vector<std::string>;

// A malformed, missing or surplus argument: exit status 64, nothing called.
// Its own type, so that an exception from the library is never taken for one.
struct UsageError : std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

// ---- Output ---------------------------------------------------------------------

enum class Mode {
    kText,   // "label = value" lines, errno and exception as text
    kValue,  // the numbers alone, one per line, in text order; no statuses
    kJson,   // one JSON object per call
};

// What one call produced, in the order the text mode prints it.
class Output {
public:
    // The double the export returned: "NAME = v" in text, "value" in JSON.
    void result(double v);
    // Numbers the export wrote (or that kcm derived from them).
    void number(std::string label, double v);
    void integer(std::string label, int64_t v);
    void numbers(std::string label, std::vector<double> v);
    void integers(std::string label, const std::vector<int32_t>& v);
    // The leading rows x cols block of a column-major array.
    void matrix(std::string label, const double* data, int32_t ld, int32_t rows, int32_t cols);
    // A code the export returned (LAPACK's INFO, a Vector Statistics status,
    // the optimiser's step code): text and JSON only; a code that is not
    // `ok` makes the exit status 1. The comment says what the code means.
    void status(std::string label, int64_t code, bool ok, std::string comment = {});
    // The errno the call left (preset to 0), for the exports that report
    // through it; a nonzero errno makes the exit status 1.
    void set_errno(int err) { errno_ = err; }
    // An exception that escaped the library: exit status 2.
    void set_exception(std::string type, std::string message);
    // One line of a progress trace (the optimiser's iterates), its fields
    // recorded in `row`: text and JSON only.
    void trace(const Output& row) { trace_.push_back(row.items_); }
    // A remark for the reader, e.g. what a void export did: text and JSON.
    void note(std::string text) { notes_.push_back(std::move(text)); }

    // 0 success, 1 errno set or a failure code returned, 2 an exception.
    int exit_status() const;
    // line > 0: the batch line the call came from (JSON "line").
    void print(std::FILE* to, Mode mode, const std::string& name, const Words& args, int line) const;

    struct Item {
        enum class Shape { kScalar, kList, kMatrix } shape = Shape::kScalar;
        std::string label;
        std::vector<double> data;  // a matrix row by row; integers exactly (|v| < 2^53)
        int32_t rows = 1, cols = 1;
        bool integral = false;
        bool is_status = false;
        bool ok = true;
        std::string comment;
    };

private:
    void print_text(std::FILE* to, const std::string& name) const;
    void print_values(std::FILE* to, const std::string& name, int line) const;
    void print_json(std::FILE* to, const std::string& name, const Words& args, int line) const;

    std::optional<double> result_;
    std::vector<Item> items_;
    std::optional<int> errno_;
    std::optional<std::pair<std::string, std::string>> exception_;
    std::vector<std::vector<Item>> trace_;
    std::vector<std::string> notes_;
};

// ---- Commands -------------------------------------------------------------------

// Runs with the words after the export's name; throws UsageError for a
// malformed or missing argument.
using Run = std::function<void(const Words&, Output&)>;

struct Runner {
    std::string usage;  // the command's words, e.g. "upper A"
    Run run;
};

struct Command {
    std::string name;
    std::string usage;
    std::string family;
    std::string signature;  // the C declaration
    std::string errors;     // how the export reports a failure
    Run run;
};

// Every command, in the table's order.
const std::vector<Command>& registry();

// ---- Argument parsing -------------------------------------------------------

double parse_double(const std::string& word);
int32_t parse_int(const std::string& word);
uint32_t parse_uint(const std::string& word);
// A boolean flag: 0 or 1, false or true; anything else is a usage error
// naming the argument (the library would read 256 as 0 through a byte).
bool parse_flag(const std::string& word, const std::string& name);
// "1.5,2,3" -> {1.5, 2, 3}
std::vector<double> parse_doubles(const std::string& word);
void expect_count(const Words& words, std::size_t count);

// An argument of a scalar command: its name, and whether it is a boolean
// flag although its type is a whole int32_t (the Kolmogorov tail flag).
struct Param {
    const char* name;
    bool flag = false;
};
constexpr Param flag(const char* name) { return Param{name, true}; }

template <typename T>
T parse_arg(const std::string& word, const Param& p)
{
    if constexpr (std::is_same_v<T, double>) {
        return parse_double(word);
    } else if constexpr (std::is_same_v<T, unsigned char>) {
        return parse_flag(word, p.name) ? 1 : 0;  // the one-byte tail flag
    } else if constexpr (std::is_same_v<T, int32_t>) {
        return p.flag ? int32_t{parse_flag(word, p.name)} : parse_int(word);
    } else {
        static_assert(std::is_same_v<T, uint32_t>);
        return parse_uint(word);
    }
}

template <typename T>
struct TypeTag {
    using type = T;
};

// Parses each word as its parameter's type; a malformed word is named.
template <typename... A, std::size_t... I>
std::tuple<A...> parse_args(const Words& words, const std::vector<Param>& params,
                            std::index_sequence<I...>)
{
    const auto one = [&](auto tag, std::size_t i) {
        using T = typename decltype(tag)::type;
        try {
            return parse_arg<T>(words[i], params[i]);
        } catch (const UsageError& e) {
            const std::string what = e.what();
            // parse_flag names the argument itself.
            if (params[i].flag || std::is_same_v<T, unsigned char>) throw;
            throw UsageError(std::string(params[i].name) + ": " + what);
        }
    };
    return std::tuple<A...>{one(TypeTag<A>{}, I)...};
}

// A command for an export of scalar arguments returning a double: records
// the value and the errno the call left (preset to 0).
template <typename... A>
Command scalar(std::string name, double (*fn)(A...), std::vector<Param> params, std::string family,
               std::string signature, std::string errors)
{
    std::string usage;
    for (const Param& p : params) usage += (usage.empty() ? "" : " ") + std::string(p.name);
    Run run = [fn, params](const Words& words, Output& out) {
        expect_count(words, sizeof...(A));
        const std::tuple<A...> args =
            parse_args<A...>(words, params, std::index_sequence_for<A...>{});
        errno = 0;
        const double v = std::apply(fn, args);
        out.set_errno(errno);
        out.result(v);
    };
    return Command{std::move(name), std::move(usage), std::move(family), std::move(signature),
                   std::move(errors), std::move(run)};
}

inline Command custom(std::string name, const Runner& runner, std::string family,
                      std::string signature, std::string errors)
{
    return Command{std::move(name), runner.usage, std::move(family), std::move(signature),
                   std::move(errors), runner.run};
}

}  // namespace kcm::cli

#include "kcm_runners.inc"
