// The command registry of kcm: one command per export, generated from
// src/exports.table (kcm_commands.inc). A scalar export (numbers in, a double
// out) runs through the scalar template below; every other export has a
// Runner of the same name in namespace run, written by hand in its family's
// file (cli/<family>.cpp), which parses the words, calls the export through
// the public header as a host would and prints what it returned.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace kcm::cli {

using Words = std::vector<std::string>;
// Runs with the words after the export's name; throws std::invalid_argument
// for a malformed or missing argument.
using Run = std::function<void(const Words&)>;

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
// "1.5,2,3" -> {1.5, 2, 3}
std::vector<double> parse_doubles(const std::string& word);

template <typename T>
T parse_arg(const std::string& word);
template <>
inline double parse_arg<double>(const std::string& w) { return parse_double(w); }
template <>
inline int32_t parse_arg<int32_t>(const std::string& w) { return parse_int(w); }
template <>
inline uint32_t parse_arg<uint32_t>(const std::string& w) { return parse_uint(w); }
template <>
inline unsigned char parse_arg<unsigned char>(const std::string& w)
{
    // The tail flag: only the low byte reaches the library.
    return static_cast<unsigned char>(parse_int(w));
}

// ---- Printing -----------------------------------------------------------------

void print_value(const char* label, double v);
void print_errno(int err);

// A command for an export of scalar arguments returning a double: prints the
// value to full precision and the errno the call left (preset to 0).
template <typename... A, std::size_t... I>
std::tuple<A...> parse_args(const Words& words, std::index_sequence<I...>)
{
    return std::tuple<A...>{parse_arg<A>(words[I])...};
}

template <typename... A>
Command scalar(std::string name, double (*fn)(A...), std::string usage, std::string family,
               std::string signature, std::string errors)
{
    Run run = [name, fn](const Words& words) {
        if (words.size() != sizeof...(A))
            throw std::invalid_argument("expected " + std::to_string(sizeof...(A)) + " arguments");
        const std::tuple<A...> args = parse_args<A...>(words, std::index_sequence_for<A...>{});
        errno = 0;
        const double v = std::apply(fn, args);
        const int err = errno;
        print_value(name.c_str(), v);
        print_errno(err);
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
