// The command registry of kcm. Each family registers its exports in a file of
// its own (cli/<family>.cpp) with a static CommandRegistrar, so adding a family
// touches nothing else. A command parses its arguments, calls the export
// through the public header as a host would, and prints the result.
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

struct Command {
    std::string name;
    std::string usage;  // argument names, e.g. "p mean sd upper"
    std::string family;
    // Runs with the words after the export's name; throws std::invalid_argument
    // for a malformed or missing argument.
    std::function<void(const std::vector<std::string>&)> run;
};

std::vector<Command>& registry();

struct CommandRegistrar {
    explicit CommandRegistrar(std::vector<Command> commands);
};

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
template <typename... A>
Command scalar(std::string name, double (*fn)(A...), std::string usage, std::string family)
{
    return Command{name, usage, family, [name, fn](const std::vector<std::string>& words) {
                       if (words.size() != sizeof...(A))
                           throw std::invalid_argument("expected " +
                                                       std::to_string(sizeof...(A)) +
                                                       " arguments");
                       std::size_t i = 0;
                       std::tuple<A...> args{parse_arg<A>(words[i++])...};
                       errno = 0;
                       const double v = std::apply(fn, args);
                       const int err = errno;
                       print_value(name.c_str(), v);
                       print_errno(err);
                   }};
}

}  // namespace kcm::cli
